// SPDX-License-Identifier: Apache-2.0
// The limiter's parameters.
#pragma once

#include "dynamics_info.h"

namespace lbx::limiter {

using namespace lbx::info;

inline constexpr VantoroParam kDecayTime =
    dynamics::decay_time("how late the gain follows; a sample or two over the whole range");
inline constexpr VantoroParam kThreshold =
    gain_db("thresholdDb", -3, {-60, 0}, "level of the mean square that is not exceeded");

inline constexpr VantoroSlot kLayout[] = {value(dynamics::kRmstc), value(kDecayTime), value(kThreshold)};

}  // namespace lbx::limiter
