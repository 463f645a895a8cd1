// SPDX-License-Identifier: Apache-2.0
#include "../common/category.h"
#include "../framework/dispatch.h"
#include "qvaudio_compressor.h"
#include "qvaudio_env.h"
#include "qvaudio_lim.h"

namespace {
constexpr lbx::BlockOps kDP[] = {
    {{EN_DP_ENV, EN_DP_ENV_RMS}, LBX_OPS(Env), lbx::clear_state::env},
    {EN_DP_LIMITER, LBX_OPS(Limiter), lbx::clear_state::limiter},
    {{EN_DP_COMPRESSOR_RMS, EN_DP_COMPRESSOR_EXT_PEAK}, LBX_OPS(Compressor), lbx::clear_state::compressor},
};
}  // namespace

LBX_CATEGORY(DP, kDP, "wrong input type in DP\n", 1)
