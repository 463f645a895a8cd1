// SPDX-License-Identifier: Apache-2.0
// The adjustable gains' parameters and linear model.
#pragma once

#include "../framework/info.h"

namespace lbx::adjustable_gain {

using namespace lbx::info;

inline constexpr VantoroParam kSlewRate = slew_rate(12).clamped(kSlewRates);
inline constexpr VantoroParam kVolume = gain_db("volumeDb", 0, {-80, 12}, "of all channels");
inline constexpr VantoroParam kChannel[] = {gain_db("volumeDb", 0, {-80, 12}, "of the channel")};
inline constexpr VantoroTable kVolumes = rows_per(VANTORO_PER_OUTPUT, "volumes", kChannel, "of each channel");

inline constexpr VantoroSlot kSingle[] = {value(kVolume)};
inline constexpr VantoroSlot kMulti[] = {rows(kVolumes)};
inline constexpr VantoroSlot kSingleSlew[] = {value(kSlewRate), value(kVolume)};
inline constexpr VantoroSlot kMultiSlew[] = {value(kSlewRate), rows(kVolumes)};
inline constexpr VantoroSlot kByPin[] = {value(kSlewRate)};

void linear_model(const BlockAlgo* blk, const Paths& paths);

}  // namespace lbx::adjustable_gain
