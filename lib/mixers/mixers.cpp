// SPDX-License-Identifier: Apache-2.0
#include "../common/category.h"
#include "../common/dispatch.h"

namespace {
constexpr std::array<lbx::BlockOps, 0> kMixers = {};
}

LBX_CATEGORY(Mixers, kMixers, "to come\n", 1)
