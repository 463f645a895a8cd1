// SPDX-License-Identifier: Apache-2.0
// The sweep's parameters.
#pragma once

#include <numbers>

#include "source_info.h"

namespace lbx::sweep {

using namespace lbx::info;

// The sweep follows the ratio of the two frequencies, so neither may be 0. The last one is reached for a moment only,
// so it may be half the sampling rate.
inline constexpr VantoroRange kAboveZero = {std::numeric_limits<float>::min(), kInfinity};
inline constexpr VantoroParam kStartFreq = source::tone_hz("startFreq", 20, "first frequency").valid_in(kAboveZero);
inline constexpr VantoroParam kEndFreq =
    real("endFreq", "Hz", 24000, {20, 24000}, "last frequency; what lies above half the sampling rate folds back")
        .logarithmic()
        .valid_in(kAboveZero);
inline constexpr VantoroParam kRepeatCounter =
    real("repeatCounter", "", 2, {0, 100}, "sweeps to play, then silence; 0 is silent").in_steps(1);
inline constexpr VantoroParam kSweepTime =
    real("sweepTime", "s", 5, {0.01F, 60}, "length of a sweep, every octave alike")
        .logarithmic()
        .valid_in({0, kInfinity});
inline constexpr VantoroParam kPhaseInc =
    real("phaseInc", "rad", 0, {0, 2 * std::numbers::pi_v<float>}, "phase at the start of each sweep").in_steps(0.01F);
inline constexpr VantoroParam kRepeatTime =
    real("repeatTime", "s", 5, {0, 60}, "from sweep to sweep, at least sweepTime; the end frequency fills the rest")
        .in_steps(0.1F)
        .valid_in({0, kInfinity});
inline constexpr VantoroParam kPeak = real("peak", "", 1, {0, 1}, "amplitude; 1 is full scale");
inline constexpr VantoroParam kSwitch = source::on_off();

inline constexpr VantoroSlot kLayout[] = {value(kStartFreq), value(kEndFreq),  value(kRepeatCounter),
                                          value(kSweepTime), value(kPhaseInc), value(kRepeatTime),
                                          value(kPeak),      value(kSwitch)};

}  // namespace lbx::sweep
