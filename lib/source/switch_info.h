// SPDX-License-Identifier: Apache-2.0
// The constant whole number's parameter.
#pragma once

#include "../framework/info.h"

namespace lbx::switch_source {

using namespace lbx::info;

inline constexpr VantoroParam kValue = whole("value", 0, {0, 15}, "of every sample");
inline constexpr VantoroSlot kLayout[] = {value(kValue)};

}  // namespace lbx::switch_source
