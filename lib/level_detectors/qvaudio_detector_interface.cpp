// SPDX-License-Identifier: Apache-2.0
#include "../common/category.h"
#include "../common/dispatch.h"

namespace {
constexpr std::array<lbx::BlockOps, 0> kDETECTOR = {};
}

LBX_CATEGORY(DETECTOR, kDETECTOR, "wrong input type in DETECTOR\n", 1)
