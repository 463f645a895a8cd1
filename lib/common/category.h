// SPDX-License-Identifier: Apache-2.0
// The category interfaces: what BlockAlgo_* of vantoro_preprocess.h route to. Each takes the type codes of one
// category, hands the call to the module that serves the type, and returns what the module returns. A type the category
// does not serve is logged; init then gives null and the others 1 (sources: -1; basic and mixers as described in their
// headers).
#ifndef VANTORO_COMMON_CATEGORY_H
#define VANTORO_COMMON_CATEGORY_H

#include "block_types.h"

// clang-format off
#define LBX_DECLARE_CATEGORY(prefix)                                                                       \
    BlockAlgo* BlockAlgo_##prefix##_init(int nInputs, int nOutputs, BlockPro* block_pro, int type);        \
    int BlockAlgo_##prefix##_param_reset(BlockAlgo* blk, float* param);                                    \
    int BlockAlgo_##prefix##_param_update(BlockAlgo* blk);                                                 \
    int BlockAlgo_##prefix##_param_invoke(BlockAlgo* blk);                                                 \
    int BlockAlgo_##prefix##_process(BlockAlgo* blk, float** data_in, float** data_out);                   \
    int BlockAlgo_##prefix##_clear(BlockAlgo* blk);                                                        \
    int BlockAlgo_##prefix##_destroy(BlockAlgo* blk);
// clang-format on

LBX_BEGIN_C
LBX_DECLARE_CATEGORY(LD)
LBX_DECLARE_CATEGORY(Basic)
LBX_DECLARE_CATEGORY(DP)
LBX_DECLARE_CATEGORY(FILTER)
LBX_DECLARE_CATEGORY(DETECTOR)
LBX_DECLARE_CATEGORY(Mixers)
LBX_DECLARE_CATEGORY(MUXES)
LBX_DECLARE_CATEGORY(NLP)
LBX_DECLARE_CATEGORY(SOURCE)
LBX_DECLARE_CATEGORY(VC)
LBX_DECLARE_CATEGORY(QVALGO)
LBX_END_C

#endif
