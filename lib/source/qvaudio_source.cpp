// SPDX-License-Identifier: Apache-2.0
#include "../common/category.h"
#include "../common/dispatch.h"

namespace {
constexpr std::array<lbx::BlockOps, 0> kSOURCE = {};
}

LBX_CATEGORY(SOURCE, kSOURCE, "This case is not supported. Please check your spelling\n", -1)
