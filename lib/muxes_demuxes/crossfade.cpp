// SPDX-License-Identifier: Apache-2.0
#include "crossfade.h"

#include <algorithm>

#include "../framework/new_block.h"
#include "../framework/params.h"
#include "../kernels/each_index.h"
#include "../kernels/fast_inline.h"
#include "../kernels/ramp.h"

namespace {

constexpr float kDefaultSlewRate = 12.0F;

CrossFade_Core* core_of(const BlockAlgo* blk) { return lbx::core_of<CrossFade_Core>(blk); }

// A control that is no number chooses 1.
int choice_of(float control) { return control >= 1.0F || control != control ? 1 : 0; }

void fade(const float* from, const float* to, const float* gains, float* y, int n)
{
    lbx::each_index(n, [=](int i) { y[i] = from[i] * gains[i] + (1.0F - gains[i]) * to[i]; });
}

}  // namespace

BlockAlgo* CrossFade_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    if (nInputs < 3 || nOutputs < 1 || (nInputs - 1) / nOutputs != 2) {
        LBX_LOG("wrong input pin number in Crossfade\n");
        return nullptr;
    }
    lbx::NewBlock blk = lbx::new_block(nInputs, nOutputs, block_pro, type, CrossFade_destroy);
    auto* core = lbx::new_core<CrossFade_Core>(blk);
    if (!core || !lbx::zeros(blk->pParam, kCrossfadeModuleSize))
        return nullptr;
    blk->pParam[kCrossfadeSlewRate] = kDefaultSlewRate;
    core->pre_div = 1.0F / (static_cast<float>(block_pro->nBlockSize) + 1.0F);
    CrossFade_param_set(blk.get(), nullptr);
    return blk.release();
}

int CrossFade_param_set(BlockAlgo* blk, float* param)
{
    const BlockPro* pro = blk->block_pro;
    lbx::copy_params(blk->pParam, param, kCrossfadeModuleSize);
    core_of(blk)->slew_rate = lbx::slew_alpha(blk->pParam[kCrossfadeSlewRate], static_cast<float>(pro->nSamplingRate),
                                              static_cast<float>(pro->nBlockSize));
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
    const lbx::Glide g = lbx::glide(core->gain_now, 0.0F, core->slew_rate, core->pre_div);
    float gain = g.from;
    alignas(32) float rows[lbx::rows_for(1) * lbx::kTile];
    for (int start = 0; start < nBlockSize; start += lbx::kTile) {
        const int n = std::min(lbx::kTile, nBlockSize - start);
        lbx::lines(&gain, &g.step, 1, 1, rows, n);
        for (std::ptrdiff_t j = 0; j < nPins; ++j)
            fade(data_in[1 + 2 * j + core->idx_pre] + start, data_in[1 + 2 * j + core->idx_now] + start, rows,
                 data_out[j] + start, n);
    }
    core->gain_now = g.to;
    if (lbx::still(g.step)) {
        core->idx_pre = core->idx_now;
        core->change_flag = 0;
    }
}

void CrossFade_Render_noslew(CrossFade_Core* core, float** data_in, float** data_out, int nBlockSize, int nPins)
{
    core->idx_pre = core->idx_now;
    for (std::ptrdiff_t j = 0; j < nPins; ++j)
        lbx::copy(data_in[1 + 2 * j + core->idx_now], data_out[j], nBlockSize);
}

int CrossFade_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    CrossFade_Core* core = core_of(blk);
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

int CrossFade_destroy(BlockAlgo* blk) { return lbx::free_block(blk); }
