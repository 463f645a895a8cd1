// SPDX-License-Identifier: Apache-2.0
#include "../common/category.h"
#include "../common/dispatch.h"

namespace {
constexpr std::array<lbx::BlockOps, 0> kDP = {};
}

LBX_CATEGORY(DP, kDP, "wrong input type in DP\n", 1)
