// SPDX-License-Identifier: Apache-2.0
#include "../common/category.h"
#include "../framework/dispatch.h"
#include "Loudness.h"

namespace {
constexpr lbx::BlockOps kLD[] = {
    {{EN_LOUDNESS_LH, EN_LOUDNESS_LH_EXT}, LBX_OPS(Loudness), lbx::clear_state::loudness},
};
}  // namespace

LBX_CATEGORY(LD, kLD, "wrong input type in LD\n", 1)
