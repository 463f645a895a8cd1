// SPDX-License-Identifier: Apache-2.0
// The limiter's parameters.
#pragma once

#include "../framework/info.h"

namespace lbx::limiter {

using namespace lbx::info;

inline constexpr VantoroParam kRmstc =
    real("rmstc", "ms", 200, {1, 2000}, "time constant of the mean square; larger follows faster").logarithmic();
inline constexpr VantoroParam kDecayTime =
    real("decayTime", "ms", 200, {0, 5000}, "return of the gain; 0 follows at once").in_steps(1);
inline constexpr VantoroParam kThreshold =
    gain_db("thresholdDb", -3, {-60, 0}, "level of the mean square that is not passed");

inline constexpr VantoroSlot kLayout[] = {value(kRmstc), value(kDecayTime), value(kThreshold)};

}  // namespace lbx::limiter
