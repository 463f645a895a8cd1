// SPDX-License-Identifier: Apache-2.0
#include "dsp_functions_info.h"

#include "../framework/info_list.h"

namespace {

using namespace lbx::dsp_functions;

static_assert(std::size(kDelayLayout) == kBasicDelayModuleSize);
static_assert(std::size(kGainLayout) == kBasicGainSlewRate && std::size(kGainSlewLayout) == kBasicGainModuleSize);

constexpr VantoroPin kHold[] = {control(0, "hold", "0 follows the signal, anything else holds, sample by sample")};
constexpr VantoroPin kTaps[] = {
    pin(0, 1, 0, -2, 1, "tap", "delay in samples, truncated, 1 to maxDelay, sample by sample; 0 is maxDelay"),
    input(-1, "signal"),
};

constexpr InfoRow kRows[] = {
    LBX_TYPE(BASIC_DSP_HOLD_VALUE, kBasic, "holds the sample at which the hold begins", kControlled).pins(kHold),
    LBX_TYPE(BASIC_DSP_HOLD_ABSMAX, kBasic, "largest magnitude since the hold began", kControlled).pins(kHold),
    LBX_TYPE(BASIC_DSP_HOLD_MAX, kBasic, "largest sample since the hold began, never below -16", kControlled)
        .pins(kHold),
    LBX_TYPE(BASIC_DSP_HOLD_MIN, kBasic, "smallest sample since the hold began, never above 16", kControlled)
        .pins(kHold),
    LBX_TYPE(BASIC_DSP_DELAY, kBasic, "delay", kSame)
        .params(kDelayLayout, VANTORO_KEEPS)
        .delays(-1)
        .linear(delay_model),
    LBX_TYPE(BASIC_DSP_VOL_DELAY, kBasic, "one signal delayed by every tap's control", kControlled)
        .pins(kTaps)
        .params(kVolDelayLayout, VANTORO_KEEPS)
        .delays(-1),
    LBX_TYPE(BASIC_GAIN, kBasic, "gain; silent until its parameters are set", kSame)
        .params(kGainLayout, VANTORO_KEEPS)
        .linear(gain_model),
    LBX_TYPE(BASIC_GAIN_SLEW, kBasic, "gain that glides to its value, at first from silence", kSame)
        .params(kGainSlewLayout, VANTORO_GLIDES)
        .linear(gain_slew_model),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kDspFunctionsInfo = kRows;
