// SPDX-License-Identifier: Apache-2.0
// The parameters that multiplexers and demultiplexers share.
#pragma once

#include "../framework/info.h"

namespace lbx::selector {

using namespace lbx::info;

inline constexpr VantoroRange kGroups = {0, kInfinity};
inline constexpr VantoroParam kIndex =
    whole("index", 0, {0, 15}, "the group selected").clamped(kGroups).valid_in(kGroups).below_count(VANTORO_PER_GROUP);
inline constexpr VantoroParam kSlew = flag("slew", 1, "0 changes at once").flagged(VANTORO_GLIDE);
inline constexpr VantoroParam kSlewRate = slew_rate(12);

// The group by the index, and by a pin.
inline constexpr VantoroSlot kSwitchLayout[] = {value(kIndex), value(kSlew), value(kSlewRate)};
inline constexpr VantoroSlot kIndexLayout[] = {value(kSlew), value(kSlewRate)};

inline constexpr VantoroPin kGroup[] = {
    control(0, "group", "truncated, and limited to the groups there are; its first sample, once a block")};

}  // namespace lbx::selector
