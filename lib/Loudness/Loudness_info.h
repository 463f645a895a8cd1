// SPDX-License-Identifier: Apache-2.0
// The loudness blocks' parameters, and the linear model of the one without a volume pin.
#pragma once

#include "../framework/info.h"

namespace lbx::loudness {

using namespace lbx::info;

inline constexpr VantoroParam kBassFreq = corner_hz("bassFreq", 60, "corner of the bass part", {20, 500});
inline constexpr VantoroParam kBassGain = real("bassGain", "%", 0.9F, {0, 100}, "how much of the bass compensation");
inline constexpr VantoroParam kTrebleFreq = corner_hz("trebleFreq", 7000, "corner of the treble part", {1000, 20000});
inline constexpr VantoroParam kTrebleGain =
    real("trebleGain", "%", 0.9F, {0, 100}, "how much of the treble compensation");
// With a volume pin each part is at -1 dB at the most, which it reaches without any compensation: only amounts below
// 0 change it.
inline constexpr VantoroParam kBassGainByPin =
    real("bassGain", "%", 0.9F, {-100, 100}, "no difference from 0 up; below, less bass at high volumes");
inline constexpr VantoroParam kTrebleGainByPin =
    real("trebleGain", "%", 0.9F, {-100, 100}, "no difference from 0 up; below, less treble at high volumes");
inline constexpr VantoroParam kFilterType = whole("filterType", 0, {0, 1}, "kept, not used").flagged(VANTORO_UNUSED);
inline constexpr VantoroParam kPostGain =
    gain_db("postGainDb", -30, {-80, 0}, "the volume; the lower, the more compensation");
inline constexpr VantoroParam kSlewRate = slew_rate(12);

inline constexpr VantoroSlot kLayout[] = {value(kBassFreq),   value(kBassGain),   value(kTrebleFreq),
                                          value(kTrebleGain), value(kFilterType), value(kPostGain)};
inline constexpr VantoroSlot kPinLayout[] = {value(kBassFreq),        value(kBassGainByPin), value(kTrebleFreq),
                                             value(kTrebleGainByPin), value(kFilterType),    value(kSlewRate)};

void linear_model(const BlockAlgo* blk, const Paths& paths);

}  // namespace lbx::loudness
