// SPDX-License-Identifier: Apache-2.0
// The reverb's parameters.
#pragma once

#include "../framework/info.h"

namespace lbx::reverb {

using namespace lbx::info;

inline constexpr VantoroParam kOn = flag("enable", 0, "0 writes nothing");
inline constexpr VantoroParam kDryLevel = real("dryLevel", "%", 80, {0, 100}, "share of the input");
inline constexpr VantoroParam kWetLevel = real("wetLevel", "%", 40, {0, 100}, "share of the reverberation");
inline constexpr VantoroParam kRoomSize = real("roomSize", "", 0.95F, {0, 1}, "length of the decay").valid_in({0, 1});
inline constexpr VantoroParam kDamp = real("damp", "", 0.2F, {0, 1}, "loss of treble").valid_in({0, 1});
inline constexpr VantoroParam kWidth = real("width", "%", 100, {0, 100}, "stereo width; of two channels only");

inline constexpr VantoroSlot kLayout[] = {value(kOn),       value(kDryLevel), value(kWetLevel),
                                          value(kRoomSize), value(kDamp),     value(kWidth)};

}  // namespace lbx::reverb
