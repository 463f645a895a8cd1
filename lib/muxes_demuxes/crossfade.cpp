// SPDX-License-Identifier: Apache-2.0
#include "crossfade.h"

#include <algorithm>

#include "../framework/clear_state.h"
#include "../framework/new_block.h"
#include "../framework/params.h"
#include "../kernels/each_index.h"
#include "../kernels/fast_inline.h"
#include "../kernels/ramp.h"
#include "crossfade_info.h"

using namespace lbx;

namespace {

// A control that is no number chooses 1.
int choice_of(float control) { return control >= 1.0F || control != control ? 1 : 0; }

void fade(const float* from, const float* to, const float* gains, float* y, int n)
{
    each_index(n, [=](int i) { y[i] = from[i] * gains[i] + (1.0F - gains[i]) * to[i]; });
}

}  // namespace

[[gnu::cold]] void lbx::crossfade::linear_model(const BlockAlgo* blk, const Paths& paths)
{
    for (int pin = 0; pin < blk->nOutputs; ++pin)
        paths.path(1 + 2 * pin + core_of<CrossFade_Core>(blk)->idx_now, pin);
}

BlockAlgo* CrossFade_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    if (nInputs < 3 || nOutputs < 1 || (nInputs - 1) / nOutputs != 2) {
        LBX_LOG("wrong input pin number in Crossfade\n");
        return nullptr;
    }
    NewBlock blk = new_block(nInputs, nOutputs, block_pro, type);
    auto* core = new_core<CrossFade_Core>(blk);
    if (!core || !zeros(blk->pParam, kCrossfadeModuleSize))
        return nullptr;
    blk->pParam[kCrossfadeSlewRate] = crossfade::kSlewRate.initial;
    core->pre_div = sample_share(block_pro);
    CrossFade_param_set(blk.get(), nullptr);
    return blk.release();
}

int CrossFade_param_set(BlockAlgo* blk, float* param)
{
    copy_params(blk->pParam, param, kCrossfadeModuleSize);
    core_of<CrossFade_Core>(blk)->slew_rate = slew_alpha(blk->pParam[kCrossfadeSlewRate], blk->block_pro);
    return RT_OK;
}

int CrossFade_param_update(BlockAlgo* blk) { return CrossFade_param_set(blk, nullptr); }

int CrossFade_param_invoke(BlockAlgo* blk)
{
    if (blk)
        LBX_LOG("Crossfade param is %f\n", static_cast<double>(blk->pParam[kCrossfadeSlewRate]));
    return RT_OK;
}

void CrossFade_Render_slew(CrossFade_Core* core, float** data_in, float** data_out, int nBlockSize, int nPins)
{
    const Glide g = glide(core->gain_now, 0.0F, core->slew_rate, core->pre_div);
    float gain = g.from;
    alignas(32) float rows[rows_for(1) * kTile];
    for (int start = 0; start < nBlockSize; start += kTile) {
        const int n = std::min(kTile, nBlockSize - start);
        lines(&gain, &g.step, 1, 1, rows, n);
        for (std::ptrdiff_t j = 0; j < nPins; ++j)
            fade(data_in[1 + 2 * j + core->idx_pre] + start, data_in[1 + 2 * j + core->idx_now] + start, rows,
                 data_out[j] + start, n);
    }
    core->gain_now = g.to;
    if (still(g.step)) {
        core->idx_pre = core->idx_now;
        core->change_flag = 0;
    }
}

void CrossFade_Render_noslew(CrossFade_Core* core, float** data_in, float** data_out, int nBlockSize, int nPins)
{
    core->idx_pre = core->idx_now;
    for (std::ptrdiff_t j = 0; j < nPins; ++j)
        copy(data_in[1 + 2 * j + core->idx_now], data_out[j], nBlockSize);
}

int CrossFade_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    auto* core = core_of<CrossFade_Core>(blk);
    core->idx_now = choice_of(data_in[0][0]);
    const bool fading = core->idx_now != core->idx_pre;
    // A return to the old choice jumps there and keeps flag and weight: a later change goes on from that weight. Kept.
    if (fading && core->change_flag == 0) {
        core->change_flag = 1;
        core->gain_now = 1.0F;
    }
    const auto render = fading ? CrossFade_Render_slew : CrossFade_Render_noslew;
    render(core, data_in, data_out, blk->block_pro->nBlockSize, blk->nOutputs);
    return RT_OK;
}

void clear_state::crossfade(BlockAlgo* blk)
{
    auto* core = core_of<CrossFade_Core>(blk);
    core->idx_pre = core->idx_now = core->change_flag = 0;
    core->gain_now = 0.0F;
}

int CrossFade_destroy(BlockAlgo* blk) { return free_block(blk); }
