// SPDX-License-Identifier: Apache-2.0
#include "qvaudio_compressor_info.h"

#include "../framework/info_list.h"
#include "qvaudio_compressor.h"

namespace {

using namespace lbx::compressor;

static_assert(std::size(kRmsLayout) == kCompressorParamOffset + 1 && std::size(kPeakLayout) == std::size(kRmsLayout));

constexpr VantoroPin kSidechain[] = {input(0, "sidechain", "measured for every channel")};
constexpr unsigned kTraits = VANTORO_DENORMALS | VANTORO_CLIPS;

constexpr InfoRow kRows[] = {
    LBX_TYPE(DP_COMPRESSOR_RMS, kDynamics, "compressor, mean square", kSame)
        .params(kRmsLayout, VANTORO_KEEPS)
        .traits(kTraits),
    LBX_TYPE(DP_COMPRESSOR_PEAK, kDynamics, "compressor, peak", kSame)
        .params(kPeakLayout, VANTORO_KEEPS)
        .traits(kTraits),
    LBX_TYPE(DP_COMPRESSOR_EXT_RMS, kDynamics, "compressor, mean square of a sidechain", kControlled)
        .pins(kSidechain)
        .params(kRmsLayout, VANTORO_KEEPS)
        .traits(kTraits),
    LBX_TYPE(DP_COMPRESSOR_EXT_PEAK, kDynamics, "compressor, peak of a sidechain", kControlled)
        .pins(kSidechain)
        .params(kPeakLayout, VANTORO_KEEPS)
        .traits(kTraits),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kCompressorInfo = kRows;
