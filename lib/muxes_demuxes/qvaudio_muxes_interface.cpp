// SPDX-License-Identifier: Apache-2.0
#include "../common/category.h"
#include "../common/dispatch.h"

namespace {
constexpr std::array<lbx::BlockOps, 0> kMUXES = {};
}

LBX_CATEGORY(MUXES, kMUXES, "wrong input type in MUXES\n", 1)
