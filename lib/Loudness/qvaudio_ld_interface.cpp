// SPDX-License-Identifier: Apache-2.0
#include "../common/category.h"
#include "../common/dispatch.h"

namespace {
constexpr std::array<lbx::BlockOps, 0> kLD = {};
}

LBX_CATEGORY(LD, kLD, "wrong input type in LD\n", 1)
