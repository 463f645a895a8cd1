// SPDX-License-Identifier: Apache-2.0
// The logic blocks' parameters: one number each.
#pragma once

#include "../framework/info.h"
#include "logic.h"

namespace lbx::logic {

using namespace lbx::info;

inline constexpr VantoroChoice kComparisons[] = {LBX_CHOICE(COMPARE_GT), LBX_CHOICE(COMPARE_LT), LBX_CHOICE(COMPARE_GE),
                                                 LBX_CHOICE(COMPARE_LE), LBX_CHOICE(COMPARE_EQ)};
inline constexpr VantoroParam kComparison = choice("type", kComparisons, COMPARE_GT, "comparison of a with b");

inline constexpr VantoroParam kGateBit = whole("bit", 0, {0, 31}, "the output is 2 to this power").valid_in({0, 31});
inline constexpr VantoroParam kAtZero =
    real("value", "", 0, {-1, 1}, "the output where the input is exactly 0").in_steps(0.01F);

inline constexpr VantoroChoice kOperations[] = {LBX_CHOICE(LOGIC_AND), LBX_CHOICE(LOGIC_NAND), LBX_CHOICE(LOGIC_OR),
                                                LBX_CHOICE(LOGIC_NOR), LBX_CHOICE(LOGIC_XOR)};
inline constexpr VantoroParam kOperation =
    choice("type", kOperations, LOGIC_AND, "operation; a sample without a result is left unwritten");

inline constexpr VantoroRange kBits = {0, 30};
inline constexpr VantoroParam kPulseBit =
    whole("bit", 0, kBits, "pulse of 2, 4, 16, 256, 65536 for 0 to 4; 1 from 5 on").clamped(kBits).valid_in(kBits);

}  // namespace lbx::logic
