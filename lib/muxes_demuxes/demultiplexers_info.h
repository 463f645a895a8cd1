// SPDX-License-Identifier: Apache-2.0
// The demultiplexers' pins and linear model.
#pragma once

#include "selector_info.h"

namespace lbx::demultiplexers {

using namespace lbx::selector;

inline constexpr VantoroPinRule kSwitchPins = rule("n -> k n, k above 1", pins(VANTORO_N), pins(VANTORO_KN), 1, 2, 2);
inline constexpr VantoroPinRule kIndexPins = rule("n + 1 -> k n", pins(VANTORO_N, 1, 1), pins(VANTORO_KN), 2, 2);

void linear_model(const BlockAlgo* blk, const Paths& paths);

}  // namespace lbx::demultiplexers
