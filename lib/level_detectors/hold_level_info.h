// SPDX-License-Identifier: Apache-2.0
// Parameters of everything that measures by hold_level().
#pragma once

#include "../framework/info.h"

namespace lbx::hold {

using namespace lbx::info;

inline constexpr VantoroParam kRmstc =
    real("rmstc", "ms", 200, {1, 5000}, "a step of the mean square takes this long from 10 % to 90 %, up or down")
        .logarithmic()
        .valid_in({0, kInfinity});
inline constexpr VantoroParam kHoldTime =
    real("holdTime", "ms", 0, {0, 5000}, "hold before a level may fall: each rise adds a block to it, up to this")
        .in_steps(1)
        .valid_in({0, kInfinity});
inline constexpr VantoroParam kDecayTime =
    real("decayTime", "ms", 200, {0, 5000}, "kept, not used").in_steps(1).flagged(VANTORO_UNUSED);

}  // namespace lbx::hold
