// SPDX-License-Identifier: Apache-2.0
// Parameters that the dynamics processors share. `rmstc` and `decayTime` are called times; what the laws of follower.h
// make of them is a speed, so each says in its help what the number does.
#pragma once

#include "../framework/info.h"

namespace lbx::dynamics {

using namespace lbx::info;

constexpr ParamWords rmstc(const char* help)
{
    return real("rmstc", "dB/s", 200, {1, 2000}, help).logarithmic().valid_in({0, kInfinity});
}
constexpr ParamWords hold_time(const char* help)
{
    return real("holdTime", "ms", 0, {0, 2000}, help).in_steps(1).valid_in({0, kInfinity});
}
constexpr ParamWords decay_time(const char* help)
{
    return real("decayTime", "", 200, {0, 2000}, help).in_steps(1).valid_in({0, kInfinity});
}

inline constexpr VantoroParam kRmstc =
    rmstc("how fast the mean square falls in silence; at 200 a step takes 48 ms from 10 % to 90 %, up or down");

}  // namespace lbx::dynamics
