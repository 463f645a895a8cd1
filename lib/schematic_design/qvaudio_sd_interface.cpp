// SPDX-License-Identifier: Apache-2.0
#include "../common/category.h"
#include "../common/dispatch.h"

namespace {
constexpr std::array<lbx::BlockOps, 0> kNLP = {};
}

LBX_CATEGORY(NLP, kNLP, "wrong input type in NLP\n", 1)
