// SPDX-License-Identifier: Apache-2.0
#include "../common/category.h"
#include "../common/dispatch.h"

namespace {
constexpr std::array<lbx::BlockOps, 0> kQVALGO = {};
}

LBX_CATEGORY(QVALGO, kQVALGO, "wrong input type in QVALGO\n", 1)
