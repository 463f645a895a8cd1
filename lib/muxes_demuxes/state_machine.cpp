// SPDX-License-Identifier: Apache-2.0
#include "state_machine.h"

#include <algorithm>

#include "../framework/new_block.h"
#include "../framework/params.h"
#include "../kernels/ramp.h"
#include "state_machine_info.h"

using namespace lbx;

BlockAlgo* State_Machine_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    if (nOutputs < 1 && static_cast<long long>(nInputs) - nOutputs != 1) {
        LBX_LOG("wrong input pin number in Muxes_Switch\n");  // the multiplexer's wording: kept
        return nullptr;
    }
    NewBlock blk = new_block(nInputs, nOutputs, block_pro, type);
    auto* core = new_core<StateMachine_Core>(blk);
    const std::ptrdiff_t bounds = 2 * std::max<std::ptrdiff_t>(nOutputs, 0);
    if (!core || !zeros(blk->pParam, bounds))
        return nullptr;
    static_assert(state_machine::kRange[0].initial == state_machine::kRange[1].initial);
    std::fill_n(blk->pParam, bounds, state_machine::kRange[0].initial);
    core->nOutput = nOutputs;
    core->ranges = blk->pParam;
    return blk.release();
}

int State_Machine_param_set(BlockAlgo* /*blk*/, void* /*param*/) { return RT_OK; }

int State_Machine_param_update(BlockAlgo* blk) { return State_Machine_param_set(blk, nullptr); }

int State_Machine_param_invoke(BlockAlgo* blk)
{
    if (blk) {
        LBX_LOG("StateMachine param:\n\n");
        LBX_LOG("\n\n");
    }
    return RT_OK;
}

// Data and outputs are one run each, on purpose: the host lays its pins out one after another.
void State_Machine_Render(StateMachine_Core* core, float* data, float* out, int nBlockSize, float control)
{
    for (std::ptrdiff_t k = 0; k < core->nOutput; ++k) {
        const bool open = core->ranges[2 * k] <= control && core->ranges[2 * k + 1] >= control;
        scale(data + k * nBlockSize, out + k * nBlockSize, open ? 1.0F : 0.0F, nBlockSize);
    }
}

int State_Machine_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    // Without data pins, or outputs, there is nothing to pass.
    if (blk->nInputs > 1 && blk->nOutputs > 0)
        State_Machine_Render(core_of<StateMachine_Core>(blk), data_in[1], data_out[0], blk->block_pro->nBlockSize,
                             data_in[0][0]);
    return RT_OK;
}

int State_Machine_destroy(BlockAlgo* blk) { return free_block(blk); }
