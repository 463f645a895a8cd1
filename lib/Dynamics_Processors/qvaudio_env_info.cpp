// SPDX-License-Identifier: Apache-2.0
#include "qvaudio_env_info.h"

#include "../framework/info_list.h"
#include "qvaudio_env.h"

namespace {

using namespace lbx::env;

static_assert(std::size(kPeakLayout) == kEnvDecayTime + 1);
static_assert(std::size(kPinLayout) == kEnvHoldTime + 1);
static_assert(std::size(kRmsLayout) == kEnvModuleSize);

constexpr VantoroPin kDecayPins[] = {
    control(0, "decayTime", "read at every sample: fall in silence, 4 dB/s each, so 200 is 800 dB/s; 0 never falls"),
    input(1, "signal"),
};

constexpr InfoRow kRows[] = {
    LBX_TYPE(DP_ENV, kDynamics, "peak envelope, 1 at most", kOneOne)
        .params(kPeakLayout, VANTORO_KEEPS)
        .traits(VANTORO_DENORMALS | VANTORO_CLIPS),
    LBX_TYPE(DP_ENV_EXT_DECAY, kDynamics, "peak envelope, 1 at most, decay from a pin", kDecayAndSignal)
        .pins(kDecayPins)
        .params(kPinLayout, VANTORO_KEEPS)
        .traits(VANTORO_DENORMALS | VANTORO_CLIPS),
    LBX_TYPE(DP_ENV_RMS, kDynamics, "mean square envelope", kOneOne)
        .params(kRmsLayout, VANTORO_KEEPS)
        .traits(VANTORO_DENORMALS),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kEnvInfo = kRows;
