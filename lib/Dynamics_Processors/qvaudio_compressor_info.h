// SPDX-License-Identifier: Apache-2.0
// The compressor's parameters.
#pragma once

#include "dynamics_info.h"

namespace lbx::compressor {

using namespace lbx::info;

// Taken once per block: what follower.h says of samples holds of blocks.
inline constexpr VantoroParam kRmstc =
    dynamics::rmstc("about the fall of the mean square in silence; at 200 a step takes some 45 ms from 10 % to 90 %. "
                    "Unstable above 4.77 times the blocks per second")
        .flagged(VANTORO_BELOW_BLOCK_RATE);
inline constexpr VantoroParam kNoRmstc = dynamics::rmstc("kept, not used").flagged(VANTORO_UNUSED);
inline constexpr VantoroParam kHoldTime =
    dynamics::hold_time("before a level may fall; all channels count one counter down");
inline constexpr VantoroParam kRmsFall = dynamics::decay_time(
    "fall of the level in silence, 2.5 dB/s each: 200 is 500 dB/s. A larger one lets the gain go down later");
inline constexpr VantoroParam kPeakFall = dynamics::decay_time(
    "fall of the level in silence, 5 dB/s each: 200 is 1000 dB/s. A larger one lets the gain go down later");
inline constexpr VantoroParam kSoftKnee = real("softKnee", "", 0, {0, 1}, "kept, not used").flagged(VANTORO_UNUSED);
inline constexpr VantoroParam kPostGain =
    real("postGainDb", "dB", 0, {-12, 12}, "make-up as a power ratio: 6 dB is a factor of 3.98, so twice the dB")
        .decibel()
        .valid_in({-kInfinity, kMostGainDb / 2});

inline constexpr VantoroParam kPoint[] = {
    real("in", "dB", 0, {-100, 0}, "input level, ascending; a point at 0 dB or a repeated level ends the curve")
        .decibel()
        .flagged(VANTORO_ASCENDING),
    real("out", "dB", 0, {-100, 0}, "output level; the gain is -60 dB at the least").decibel(),
};
inline constexpr float kIdentity[] = {-80, -80, -60, -60, -40, -40, -20, -20, 0, 0};
inline constexpr VantoroTable kCurve =
    list("curve", kPoint, 0, 10, kIdentity,
         "points of the static curve; below the first its gain, above the last unity; unity throughout with 0 or 1")
        .by_column();

inline constexpr VantoroSlot kRmsLayout[] = {value(kRmstc),    value(kHoldTime), value(kRmsFall), value(kSoftKnee),
                                             value(kPostGain), count(kCurve),    rows(kCurve)};
inline constexpr VantoroSlot kPeakLayout[] = {value(kNoRmstc),  value(kHoldTime), value(kPeakFall), value(kSoftKnee),
                                              value(kPostGain), count(kCurve),    rows(kCurve)};

}  // namespace lbx::compressor
