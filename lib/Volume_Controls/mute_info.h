// SPDX-License-Identifier: Apache-2.0
// The mute's parameters and linear model.
#pragma once

#include "../framework/info.h"

namespace lbx::mute {

using namespace lbx::info;

inline constexpr VantoroParam kSwitch = flag("switch", 0, "1 mutes");
inline constexpr VantoroParam kSlew =
    flag("slew", 1, "1 moves the gain by 2 % of its way per block, 0 at once").flagged(VANTORO_GLIDE);

inline constexpr VantoroSlot kLayout[] = {value(kSwitch), value(kSlew)};

void linear_model(const BlockAlgo* blk, const Paths& paths);

}  // namespace lbx::mute
