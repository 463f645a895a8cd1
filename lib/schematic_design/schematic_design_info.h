// SPDX-License-Identifier: Apache-2.0
// The clippers' and the channel copy's pins and parameters.
#pragma once

#include "../framework/info.h"

namespace lbx::schematic_design {

using namespace lbx::info;

inline constexpr VantoroPinRule kLimited = rule("n + 2 -> n", pins(VANTORO_N, 1, 2), pins(VANTORO_N), 3, 1);

inline constexpr VantoroParam kAlpha =
    real("alpha", "", 0.5F, {0, 2}, "input level from which on the output is flat, at 0.667 of it; 0 silences")
        .valid_in({0, kInfinity});
inline constexpr VantoroSlot kSoftLayout[] = {value(kAlpha)};

void copy_model(const BlockAlgo* blk, const Paths& paths);

}  // namespace lbx::schematic_design
