// SPDX-License-Identifier: Apache-2.0
#include "../common/category.h"
#include "../common/dispatch.h"

namespace {
constexpr std::array<lbx::BlockOps, 0> kVC = {};
}

LBX_CATEGORY(VC, kVC, "wrong input type in VC\n", 1)
