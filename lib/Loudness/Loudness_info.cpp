// SPDX-License-Identifier: Apache-2.0
#include "Loudness_info.h"

#include "../framework/info_list.h"
#include "Loudness.h"

namespace {

using namespace lbx::loudness;

static_assert(std::size(kLayout) == kLoudnessModuleSize && std::size(kPinLayout) == kLoudnessModuleSize);

constexpr VantoroPin kVolume[] = {
    control(0, "volume", "factor from 0.001 to 1, beyond that its ends; read once a block")};

constexpr InfoRow kRows[] = {
    LBX_TYPE(LOUDNESS_LH, kLoudness, "volume with bass and treble compensation", kSame)
        .params(kLayout, VANTORO_KEEPS)
        .traits(VANTORO_DENORMALS)
        .linear(linear_model),
    LBX_TYPE(LOUDNESS_LH_EXT, kLoudness, "the same, volume from a pin", kControlled)
        .pins(kVolume)
        .params(kPinLayout, VANTORO_KEEPS)
        .traits(VANTORO_DENORMALS),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kLoudnessInfo = kRows;
