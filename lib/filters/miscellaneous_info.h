// SPDX-License-Identifier: Apache-2.0
// The DC blocker, and the parameters of the state-variable filters.
#pragma once

#include "miscellaneous.h"
#include "section_info.h"

namespace lbx::miscellaneous {

using namespace lbx::info;

// The suggested values are stable together, at 44.1 kHz and above.
inline constexpr VantoroParam kFc =
    corner_hz("fc", 73, "corner and centre; stable while f * f + 2 f / q < 4, f being 2 sin(pi fc / rate)", {20, 5000});
inline constexpr VantoroParam kQ = real("q", "", 0.707F, {0.5F, 16}, kQuality.help).logarithmic().valid_in(kAboveZero);

inline constexpr VantoroSlot kStateVariableLayout[] = {value(kFc), value(kQ)};
inline constexpr VantoroSlot kStateVariableQLayout[] = {value(kFc)};

inline constexpr VantoroPinRule kOneThree = rule("1 -> 3", pins(1), pins(3), 1, 3);
inline constexpr VantoroPinRule kTwoThree = rule("2 -> 3", pins(2), pins(3), 2, 3);

void dc_section(const BlockAlgo* blk, const Paths& paths);
void dc_linear_model(const BlockAlgo* blk, const Paths& paths);

inline constexpr int kOutputs = 3;  // low, high, band
void state_variable_section(const BlockAlgo* blk, int output, const Paths& paths);
void state_variable_linear_model(const BlockAlgo* blk, const Paths& paths);

}  // namespace lbx::miscellaneous
