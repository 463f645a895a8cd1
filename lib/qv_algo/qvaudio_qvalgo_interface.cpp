// SPDX-License-Identifier: Apache-2.0
#include "../common/category.h"
#include "../framework/dispatch.h"
#include "reverb.h"

namespace {
constexpr lbx::BlockOps kQvAlgo[] = {
    {EN_QVALGO_REVERB, LBX_OPS(Reverb), lbx::clear_state::reverb},
};
}  // namespace

LBX_CATEGORY(QVALGO, kQvAlgo, "wrong input type in QVALGO\n", 1)
