// SPDX-License-Identifier: Apache-2.0
#include "new_block.h"

void* lbx::zeroed(std::ptrdiff_t n, std::size_t size)
{
    return n > 0 ? std::calloc(static_cast<std::size_t>(n), size) : nullptr;
}

lbx::NewBlock lbx::new_block(int nInputs, int nOutputs, BlockPro* pro, int type, int (*destroy)(BlockAlgo*))
{
    BlockAlgo* blk = nullptr;
    if (zeros(blk, 1)) {
        blk->nInputs = nInputs;
        blk->nOutputs = nOutputs;
        blk->block_pro = pro;
        blk->method_type = type;
    }
    return {blk, destroy};
}

int lbx::free_block(BlockAlgo* blk)
{
    if (blk) {
        std::free(blk->AlgoCore);
        std::free(blk->pParam);
        std::free(blk->pState);
        std::free(blk->pStateB);
        std::free(blk->pStateC);
        std::free(blk);
    }
    return RT_OK;
}
