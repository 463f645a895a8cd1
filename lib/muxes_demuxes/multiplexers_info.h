// SPDX-License-Identifier: Apache-2.0
// The multiplexers' pins and linear model.
#pragma once

#include "selector_info.h"

namespace lbx::multiplexers {

using namespace lbx::selector;

inline constexpr VantoroPinRule kSwitchPins = rule("k n -> n, k above 1", pins(VANTORO_KN), pins(VANTORO_N), 2, 1, 2);
inline constexpr VantoroPinRule kIndexPins = rule("k n + 1 -> n", pins(VANTORO_KN, 1, 1), pins(VANTORO_N), 3, 1);

void linear_model(const BlockAlgo* blk, const Paths& paths);

}  // namespace lbx::multiplexers
