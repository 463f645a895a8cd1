// SPDX-License-Identifier: Apache-2.0
#include "VCO.h"

#include <cmath>

#include "../framework/clear_state.h"
#include "source.h"

using namespace lbx;

namespace {

// NaN counts as 0: a phase that is not a number would never recover.
float limited(float control)
{
    if (!(control > 0.0F))
        return 0.0F;
    return control >= 1.0F ? 0.99F : control;
}

void render(float& phi_rad, double step, float* out, int n)
{
    float phi = phi_rad;
    for (int i = 0; i < n; ++i) {
        out[i] = static_cast<float>(std::sin(static_cast<double>(phi)));
        phi = step_phase(phi, step);
    }
    phi_rad = phi;
}

}  // namespace

BlockAlgo* VCOSource_Init(int Input_pin, int Output_pin, BlockPro* block_pro, int type)
{
    NewBlock blk = new_block(Input_pin, Output_pin, block_pro, type);
    auto* core = new_core<VCO_Core_S>(blk);
    if (!core || !zeros(blk->pState, Output_pin))
        return nullptr;
    core->phi = blk->pState;
    core->delta_time = 1.0F / rate_of(block_pro);
    core->frequency_limited = rate_of(block_pro) / 2.0F;
    core->Out_NumChannel = Output_pin;
    return blk.release();
}

spx_int32_t VCOSource_ResetParam(BlockAlgo*, void*) { return RT_OK; }

spx_int32_t VCOSource_Update(BlockAlgo*) { return RT_OK; }

spx_int32_t VCOSource_Invoke(BlockAlgo*) { return RT_OK; }

spx_int32_t VCOSource_ProcessAudioSample(BlockAlgo* blk, float** data_in, float** data_out)
{
    const auto* core = core_of<VCO_Core_S>(blk);
    const int n = blk->block_pro->nBlockSize;
    for (int c = 0; c < core->Out_NumChannel && n > 0; ++c) {
        const float control = c < blk->nInputs ? limited(data_in[c][0]) : 0.0F;
        const float hz = control * core->frequency_limited;
        render(core->phi[c], static_cast<double>(hz) * kTwoPi * static_cast<double>(core->delta_time), data_out[c], n);
    }
    return RT_OK;
}

void clear_state::vco(BlockAlgo* blk) { std::fill_n(blk->pState, blk->nOutputs, 0.0F); }

spx_int32_t VCOSource_Destroy(BlockAlgo* blk) { return free_block(blk); }
