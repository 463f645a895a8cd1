// SPDX-License-Identifier: Apache-2.0
// The first-order filter's parameters and linear model.
#pragma once

#include "first_order.h"
#include "section_info.h"

namespace lbx::first_order {

using namespace lbx::info;

inline constexpr VantoroReading kNoBoost[] = {not_read(kFilter1stBoostDB)};
inline constexpr VantoroChoice kResponses[] = {LBX_CHOICE(LP1st, kNoBoost), LBX_CHOICE(HP1st, kNoBoost),
                                               LBX_CHOICE(AP1st, kNoBoost), LBX_CHOICE(LS1st), LBX_CHOICE(HS1st)};
inline constexpr VantoroParam kType = choice("type", kResponses, LP1st, "response");
inline constexpr VantoroParam kFc = corner_hz("fc", 1000, "corner");

inline constexpr VantoroSlot kLayout[] = {value(kEnable),        value(kPolarity), value(kType),
                                          value(kSectionGainDb), value(kFc),       value(kSectionBoostDb)};

// The section that a block holds, whatever its flags.
void section(const BlockAlgo* blk, const Paths& paths);

void linear_model(const BlockAlgo* blk, const Paths& paths);

}  // namespace lbx::first_order
