// SPDX-License-Identifier: Apache-2.0
// The gain envelope's parameters.
#pragma once

#include "../framework/info.h"

namespace lbx::gain_envelope {

using namespace lbx::info;

inline constexpr VantoroParam kLoop = flag("loop", 0, "1 repeats the curve").valid_in({0, 1});
inline constexpr VantoroParam kTime = real("time", "ms", 0, {0, 10000}, "of the point, ascending")
                                          .in_steps(1)
                                          .valid_in({0, kInfinity})
                                          .flagged(VANTORO_ASCENDING);
inline constexpr VantoroParam kGainDb = real("gainDb", "dB", 0, {-120, 24}, "at the point; whole dB are used")
                                            .decibel(1)
                                            .clamped({-120, kInfinity})
                                            .valid_in({-kInfinity, 25});

inline constexpr VantoroParam kPoint[] = {kTime, kGainDb};
inline constexpr float kBursts[] = {0, -100, 2, 0, 502, -100, 504, 0, 1004, -70, 1104, 0};
inline constexpr VantoroTable kPoints =
    list("points", kPoint, 0, kManyRows, kBursts, "lines in dB from point to point; unity gain without any")
        .by_column();

inline constexpr VantoroSlot kLayout[] = {value(kLoop), count(kPoints), rows(kPoints)};

}  // namespace lbx::gain_envelope
