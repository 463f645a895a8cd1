// SPDX-License-Identifier: Apache-2.0
// The mixers' and splitters' parameters and linear model.
#pragma once

#include "../framework/info.h"

namespace lbx::mixers {

using namespace lbx::info;

constexpr VantoroParam gain(const char* help) { return coarse_gain_db("gainDb", 0, {-60, 12}, help); }
inline constexpr VantoroParam kOneGain = gain("of every path; a coarse conversion: 0 dB is -0.256 dB");
inline constexpr VantoroParam kGain = gain("a coarse conversion: 0 dB is -0.256 dB");
inline constexpr VantoroParam kSlewRate = slew_rate(15).clamped(kSlewRates);

void linear_model(const BlockAlgo* blk, const Paths& paths);

}  // namespace lbx::mixers
