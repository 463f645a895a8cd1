// SPDX-License-Identifier: Apache-2.0
// The constant's parameter.
#pragma once

#include "../framework/info.h"

namespace lbx::dc {

using namespace lbx::info;

inline constexpr VantoroParam kValue = real("value", "", 1, {-1, 1}, "of every sample").in_steps(0.01F);
inline constexpr VantoroSlot kLayout[] = {value(kValue)};

}  // namespace lbx::dc
