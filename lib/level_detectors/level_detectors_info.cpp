// SPDX-License-Identifier: Apache-2.0
#include "level_detectors_info.h"

#include "../framework/info_list.h"

namespace {

using namespace lbx::level_detectors;

static_assert(std::size(kLayout) == kLevelDetectorsModuleSize);
static_assert(std::size(kBand) == kMultiLevelDetectorsFilterParamSize);
static_assert(std::size(kMultiLayout) == kMultiLevelDetectorsParamOffset + 1);

constexpr InfoRow kRows[] = {
    LBX_TYPE(DETECTORS_SINGLE_BAND, kDetectors, "level meter", kOneOne)
        .params(kLayout, VANTORO_KEEPS)
        .traits(VANTORO_DENORMALS | VANTORO_METER)
        .linear(linear_model),
    LBX_TYPE(DETECTORS_SEVEN_BAND, kDetectors, "level meter in seven bands, 100 Hz to 10 kHz", kOneOne)
        .params(kLayout, VANTORO_KEEPS)
        .traits(VANTORO_DENORMALS | VANTORO_METER)
        .linear(linear_model),
    LBX_TYPE(DETECTORS_MULTI_BAND, kDetectors, "level meter in bands of choice", kOneOne)
        .params(kMultiLayout, VANTORO_KEEPS)
        .traits(VANTORO_DENORMALS | VANTORO_METER)
        .linear(linear_model),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kLevelDetectorsInfo = kRows;
