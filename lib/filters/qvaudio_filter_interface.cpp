// SPDX-License-Identifier: Apache-2.0
#include "../common/category.h"
#include "../common/dispatch.h"

namespace {
constexpr std::array<lbx::BlockOps, 0> kFILTER = {};
}

LBX_CATEGORY(FILTER, kFILTER, "wrong input type in FILTER\n", 1)
