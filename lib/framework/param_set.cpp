// SPDX-License-Identifier: Apache-2.0
// Parameter vectors for any type. Apart from the check, which drags no block into a static product.
#include <algorithm>

#include "../common/block_info.h"
#include "../vantoro_preprocess.h"

int Vantoro_param_apply(BlockAlgo* blk, const float* vector, int length)
{
    const VantoroBlockInfo* info = Vantoro_block_info(blk->method_type);
    if (info && (info->traits & VANTORO_PARAMS_IN_PLACE) != 0) {
        std::copy_n(vector, length, blk->pParam);
        return RT_OK;
    }
    if (length == 0)
        return RT_OK;
    const int result = BlockAlgo_param_reset(blk, const_cast<float*>(vector));
    return result < 0 ? result : std::min(BlockAlgo_param_update(blk), 0);
}

int Vantoro_param_set(BlockAlgo* blk, const float* vector, int length, char* why, size_t n)
{
    const int result = Vantoro_param_check(blk->method_type, blk->nInputs, blk->nOutputs, vector, length, why, n);
    return result == RT_OK ? Vantoro_param_apply(blk, vector, length) : result;
}
