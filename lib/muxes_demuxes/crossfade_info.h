// SPDX-License-Identifier: Apache-2.0
// The crossfade's parameter and linear model.
#pragma once

#include "../framework/info.h"

namespace lbx::crossfade {

using namespace lbx::info;

inline constexpr VantoroParam kSlewRate = slew_rate(12);
inline constexpr VantoroSlot kLayout[] = {value(kSlewRate)};

void linear_model(const BlockAlgo* blk, const Paths& paths);

}  // namespace lbx::crossfade
