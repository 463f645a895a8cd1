// SPDX-License-Identifier: Apache-2.0
#include "qvaudio_lim.h"

#include <algorithm>
#include <cmath>

#include "../framework/clear_state.h"
#include "../framework/log.h"
#include "../framework/new_block.h"
#include "../kernels/follower.h"
#include "../kernels/recursion.h"
#include "qvaudio_lim_info.h"

using namespace lbx;

namespace {

void derive(BlockAlgo* blk)
{
    auto* core = core_of<Limiter_Core>(blk);
    const float* param = blk->pParam;
    const float rate_hz = rate_of(blk->block_pro);
    core->rmstc_coeff = growing_weight(param[kLimiterRmstc], 1.0F, rate_hz);
    // The weight of the old gain, and near 0: the gain follows its target almost at once. Kept.
    core->decay_coeff = 1.0F - decay_factor(param[kLimiterDecayTime], 1.0F, rate_hz, 8.0F);
    // 10^(dB / 10): log2(10) / 10 is 0.33219.
    core->threshold = rounded::pow(2.0F, static_cast<float>(static_cast<double>(param[kLimiterThreshold]) * 0.33219));
    core->process_state = 0.0F;
}

// The gain that puts a mean square on the threshold.
template <class V>
LBX_INLINE V target_gain(V mean_square, V threshold)
{
    if constexpr (std::is_class_v<V>) {
        return join(target_gain(lower(mean_square), lower(threshold)),
                    target_gain(upper(mean_square), upper(threshold)));
    } else {
        const V gain = fast_sqrt(threshold / mean_square);
        return mean_square > threshold ? gain : every<V>(1.0F);
    }
}

// A block's coefficients, the same in all lanes.
template <class V>
struct Law {
    V weight, keep_level, keep_gain, fresh_gain, threshold;

    explicit Law(const Limiter_Core* core)
        : weight(every<V>(core->rmstc_coeff)), keep_level(every<V>(1.0F - core->rmstc_coeff)),
          keep_gain(every<V>(core->decay_coeff)), fresh_gain(every<V>(1.0F - core->decay_coeff)),
          threshold(every<V>(core->threshold))
    {}
};

template <class V>
LBX_INLINE V limit(const Law<V>& law, V& level, V& gain, V x)
{
    level = mul_add(law.keep_level, level, law.weight * (x * x));
    gain = mul_add(law.keep_gain, gain, law.fresh_gain * target_gain(level, law.threshold));
    return gain * x;
}

// One channel, eight samples at a time. Only the two one-pole chains go from sample to sample.
void limit_one(const Law<float>& law, float& level, float& gain, const float* in, float* out, int n)
{
    float chain[8];
    const auto link = [&chain](int k) { return chain[k]; };
    float l = level;
    float g = gain;
    int i = 0;
    for (; i + 8 <= n; i += 8) {
        const f8 x = load<f8>(in + i);
        each_lane(every<f8>(law.weight) * (x * x),
                  [&](int k, float square) { chain[k] = l = std::fma(law.keep_level, l, square); });
        const f8 target = target_gain(lanes_of<f8>(link), every<f8>(law.threshold));
        each_lane(every<f8>(law.fresh_gain) * target,
                  [&](int k, float part) { chain[k] = g = std::fma(law.keep_gain, g, part); });
        store(out + i, lanes_of<f8>(link) * x);
    }
    level = l;
    gain = g;
    for (; i < n; ++i)
        out[i] = limit(law, level, gain, in[i]);
}

}  // namespace

BlockAlgo* Limiter_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    if (!info::pins_agree(info::kSame, nInputs, nOutputs)) {
        LBX_LOG("wrong input pin number in Limiter\n");
        return nullptr;
    }
    NewBlock blk = new_block(nInputs, nOutputs, block_pro, type, Limiter_destroy);
    auto* core = new_core<Limiter_Core>(blk);
    if (!core || !zeros(blk->pParam, kLimiterModuleSize) || !zeros(core->smooth_rms, nInputs) ||
        !zeros(core->smooth_gain, nInputs))
        return nullptr;
    copy_params(blk->pParam, kInitial<limiter::kLayout>.data(), kLimiterModuleSize);
    clear_state::limiter(blk.get());
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
    if (channels <= 2) {
        for (int ch = 0; ch < channels; ++ch)
            limit_one(Law<float>(core), core->smooth_rms[ch], core->smooth_gain[ch], data_in[ch], data_out[ch], n);
    } else {
        each_recursion({core->smooth_rms, core->smooth_gain}, 1, data_in, data_out, channels, n, [=](auto lanes) {
            using V = decltype(lanes);
            return [law = Law<V>(core)](V* word, V x, int) { return limit(law, word[0], word[1], x); };
        });
    }
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

void clear_state::limiter(BlockAlgo* blk)
{
    auto* core = core_of<Limiter_Core>(blk);
    std::fill_n(core->smooth_rms, blk->nInputs, 0.0F);
    std::fill_n(core->smooth_gain, blk->nInputs, 1.0F);
    core->process_state = 0.0F;
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
