// SPDX-License-Identifier: Apache-2.0
#include "adjustable_gain_info.h"

#include "../framework/info_list.h"
#include "adjustable_gain.h"

namespace {

using namespace lbx::adjustable_gain;

static_assert(std::size(kSingleSlew) == kAdjustableGainVolume + 1);

constexpr VantoroPin kGain[] = {control(0, "gain", "factor, not limited; read once a block")};

constexpr InfoRow kRows[] = {
    LBX_TYPE(VC_SIG_CONTROL, lbx::info::kVolume, "one volume for all channels", kSame)
        .params(kSingle, VANTORO_KEEPS)
        .linear(linear_model),
    LBX_TYPE(VC_MULTI_CONTROL, lbx::info::kVolume, "a volume for each channel", kSame)
        .params(kMulti, VANTORO_KEEPS)
        .linear(linear_model),
    LBX_TYPE(VC_SIG_CONTROL_SLEW, lbx::info::kVolume, "one gliding volume for all channels", kSame)
        .params(kSingleSlew, VANTORO_GLIDES)
        .linear(linear_model),
    LBX_TYPE(VC_MULTI_CONTROL_SLEW, lbx::info::kVolume, "a gliding volume for each channel", kSame)
        .params(kMultiSlew, VANTORO_GLIDES)
        .linear(linear_model),
    LBX_TYPE(VC_SIG_EXT_CONTROL_SLEW, lbx::info::kVolume, "gliding volume from a pin", kControlled)
        .pins(kGain)
        .params(kByPin, VANTORO_KEEPS)
        .traits(VANTORO_DENORMALS)
        .linear(linear_model),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kAdjustableGainInfo = kRows;
