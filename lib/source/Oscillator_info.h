// SPDX-License-Identifier: Apache-2.0
// The oscillators' parameters.
#pragma once

#include "source_info.h"

namespace lbx::oscillator {

using namespace lbx::info;

inline constexpr VantoroParam kSwitch = source::on_off();
inline constexpr VantoroParam kFrequency =
    source::tone_hz("frequency", 500, "of the waveform; 0 keeps its first sample");
inline constexpr VantoroSlot kLayout[] = {value(kSwitch), value(kFrequency)};

}  // namespace lbx::oscillator
