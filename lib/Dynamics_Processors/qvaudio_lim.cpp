// SPDX-License-Identifier: Apache-2.0
#include "qvaudio_lim.h"

#include <algorithm>
#include <cmath>

#include "../common/log.h"
#include "../common/new_block.h"
#include "../math/follower.h"

using namespace lbx;

namespace {

constexpr float kDefaults[kLimiterModuleSize] = {200.0F, 200.0F, -3.0F};

void derive(BlockAlgo* blk)
{
    auto* core = core_of<Limiter_Core>(blk);
    const float* param = blk->pParam;
    const float rate_hz = rate_of(blk->block_pro);
    core->rmstc_coeff = growing_weight(param[kLimiterRmstc], 1.0F, rate_hz);
    // Weighs the old gain although it is near 0, so the gain follows its target almost at once. Kept.
    core->decay_coeff = 1.0F - decay_factor(param[kLimiterDecayTime], 1.0F, rate_hz, 8.0F);
    // 10^(dB / 10), for log2(10) / 10 is 0.33219.
    core->threshold = std::pow(2.0F, static_cast<float>(static_cast<double>(param[kLimiterThreshold]) * 0.33219));
    core->process_state = 0.0F;
}

// The gain that puts a mean square on the threshold. Both ways are computed, so that a loop of these has no branch.
inline float target_gain(float mean_square, float threshold)
{
    const float gain = fast_sqrt(threshold / mean_square);
    return mean_square > threshold ? gain : 1.0F;
}

// One channel, at most kTile samples. Only the two one-pole chains run sample by sample; squares, gains and products
// are loops over independent samples.
constexpr int kTile = 64;
void limit_tile(const Limiter_Core& law, float& level, float& gain, const float* in, float* out, int n)
{
    float tile[kTile];
    const float weight = law.rmstc_coeff;
    const float threshold = law.threshold;
    const float keep = law.decay_coeff;
    for (int i = 0; i < n; ++i)
        tile[i] = weight * (in[i] * in[i]);
    for (int i = 0; i < n; ++i)
        tile[i] = level = std::fma(1.0F - weight, level, tile[i]);
    for (int i = 0; i < n; ++i)
        tile[i] = (1.0F - keep) * target_gain(tile[i], threshold);
    for (int i = 0; i < n; ++i)
        tile[i] = gain = std::fma(keep, gain, tile[i]);
    for (int i = 0; i < n; ++i)
        out[i] = tile[i] * in[i];
}

}  // namespace

BlockAlgo* Limiter_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    if (nInputs != nOutputs) {
        LBX_LOG("wrong input pin number in Limiter\n");
        return nullptr;
    }
    NewBlock blk = new_block(nInputs, nOutputs, block_pro, type, Limiter_destroy);
    auto* core = new_core<Limiter_Core>(blk);
    if (!core || !zeros(blk->pParam, kLimiterModuleSize) || !zeros(core->smooth_rms, nInputs) ||
        !zeros(core->smooth_gain, nInputs))
        return nullptr;
    copy_params(blk->pParam, kDefaults, kLimiterModuleSize);
    std::fill_n(core->smooth_gain, nInputs, 1.0F);
    core->pre_div = 1.0F / static_cast<float>(block_pro->nBlockSize);
    derive(blk.get());
    return blk.release();
}

int Limiter_param_set(BlockAlgo* blk, float* param)
{
    copy_params(blk->pParam, param, kLimiterModuleSize);
    derive(blk);
    return 0;
}

int Limiter_param_update(BlockAlgo*) { return 0; }

int Limiter_param_invoke(BlockAlgo* blk)
{
    if (blk)
        LBX_LOG("Limiter param is %f,%f,%f\n", static_cast<double>(blk->pParam[kLimiterRmstc]),
                static_cast<double>(blk->pParam[kLimiterDecayTime]),
                static_cast<double>(blk->pParam[kLimiterThreshold]));
    return 0;
}

void Limiter_Render(BlockAlgo* blk, Limiter_Core* core, float** data_in, float** data_out, int n)
{
    const int channels = blk->nInputs;
    for (int ch = 0; ch < channels; ++ch)
        for (int i = 0; i < n; i += kTile)
            limit_tile(*core, core->smooth_rms[ch], core->smooth_gain[ch], data_in[ch] + i, data_out[ch] + i,
                       std::min(n - i, kTile));
    core->process_state = 0.0F;
    if (channels > 0 && n > 0) {
        const float target = target_gain(core->smooth_rms[channels - 1], core->threshold);
        core->process_state = std::fabs(static_cast<double>(target) - 1.0) < 1e-7 ? 0.0F : 1.0F;
    }
}

int Limiter_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    auto* core = core_of<Limiter_Core>(blk);
    Limiter_Render(blk, core, data_in, data_out, blk->block_pro->nBlockSize);
    return to_int(core->process_state);
}

int Limiter_destroy(BlockAlgo* blk)
{
    if (blk && blk->AlgoCore) {
        auto* core = core_of<Limiter_Core>(blk);
        std::free(core->smooth_rms);
        std::free(core->smooth_gain);
    }
    return free_block(blk);
}
