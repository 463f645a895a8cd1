// SPDX-License-Identifier: Apache-2.0
// The state machine's parameters.
#pragma once

#include "../framework/info.h"

namespace lbx::state_machine {

using namespace lbx::info;

inline constexpr VantoroParam kRange[] = {real("low", "", 1, {0, 10}, "lower bound, included"),
                                          real("high", "", 1, {0, 10}, "upper bound, included")};

}  // namespace lbx::state_machine
