// SPDX-License-Identifier: Apache-2.0
// The breakpoint tone's parameters.
#pragma once

#include "clime_frequency.h"
#include "source_info.h"

namespace lbx::clime {

using namespace lbx::info;

inline constexpr VantoroParam kPoint[] = {
    real("time", "ms", 0, {0, 10000}, "0 in the first point, then ascending")
        .in_steps(1)
        .valid_in({0, kInfinity})
        .flagged(VANTORO_ASCENDING),
    source::tone_hz("frequency", 1000, "of the tone at this time"),
    gain_db("gainDb", 0, {-60, 0}, "level at this time; 0 is full scale"),
};
inline constexpr float kUpAndDown[] = {0, 100, 0, 200, 2000, 0, 400, 8000, 0, 800, 5000, 0, 1004, 500, 0};
inline constexpr VantoroTable kPoints =
    list("points", kPoint, 0, kClimeCapacity, kUpAndDown, "frequency and dB move on lines between them; none is silent")
        .by_column();
inline constexpr VantoroParam kMaxTime =
    real("maxTime", "ms", 1004, {0, 10000}, "from here on the tone of the last point")
        .in_steps(1)
        .valid_in({0, kInfinity});
inline constexpr VantoroParam kSwitch = source::on_off();

inline constexpr VantoroSlot kLayout[] = {count(kPoints),       value(kMaxTime),      first_of(kPoints, 0),
                                          first_of(kPoints, 1), first_of(kPoints, 2), value(kSwitch),
                                          rows(kPoints)};

}  // namespace lbx::clime
