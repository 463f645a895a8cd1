// SPDX-License-Identifier: Apache-2.0
// The envelope followers' parameters.
#pragma once

#include "dynamics_info.h"

namespace lbx::env {

using namespace lbx::info;

inline constexpr VantoroParam kLatch =
    dynamics::hold_time("above 0 the envelope keeps its highest peak until the parameters are set again");
inline constexpr VantoroParam kHoldTime = dynamics::hold_time("before the envelope may fall");
inline constexpr VantoroParam kFall =
    dynamics::decay_time("fall in silence, 5 dB/s each: 200 is 1000 dB/s; 0 never falls");
inline constexpr VantoroParam kCatchUp =
    dynamics::decay_time("how late the envelope falls to the mean square; a sample or two over the whole range");

inline constexpr VantoroSlot kPeakLayout[] = {value(kLatch), value(kFall)};
inline constexpr VantoroSlot kPinLayout[] = {value(kHoldTime)};
inline constexpr VantoroSlot kRmsLayout[] = {value(kHoldTime), value(kCatchUp), value(dynamics::kRmstc)};

inline constexpr VantoroPinRule kDecayAndSignal = rule("n + 1 -> 1", pins(VANTORO_N, 1, 1), pins(1), 2, 1);

}  // namespace lbx::env
