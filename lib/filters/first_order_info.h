// SPDX-License-Identifier: Apache-2.0
// The first-order filter's parameters and linear model.
#pragma once

#include "../framework/info.h"
#include "../kernels/section_design.h"
#include "first_order.h"

namespace lbx::first_order {

using namespace lbx::info;

inline constexpr VantoroReading kNoBoost[] = {not_read(kFilter1stBoostDB)};
inline constexpr VantoroChoice kResponses[] = {LBX_CHOICE(LP1st, kNoBoost), LBX_CHOICE(HP1st, kNoBoost),
                                               LBX_CHOICE(AP1st, kNoBoost), LBX_CHOICE(LS1st), LBX_CHOICE(HS1st)};
inline constexpr VantoroParam kType = choice("type", kResponses, LP1st, "response");
inline constexpr VantoroParam kGainDb = gain_db("gainDb", 0, {-50, 24}, "gain of the whole").clamped(kLevelRange);
inline constexpr VantoroParam kFc = corner_hz("fc", 1000, "corner");
inline constexpr VantoroParam kBoostDb = gain_db("boostDb", 0, {-24, 24}, "of the shelves").clamped(kLevelRange);

inline constexpr VantoroSlot kLayout[] = {value(kEnable), value(kPolarity), value(kType),
                                          value(kGainDb), value(kFc),       value(kBoostDb)};

void linear_model(const BlockAlgo* blk, const Paths& paths);

}  // namespace lbx::first_order
