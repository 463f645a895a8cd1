// SPDX-License-Identifier: Apache-2.0
#include "White_Noise.h"

#include <cstdint>
#include <cstdlib>

#include "../kernels/fast_inline.h"
#include "White_Noise_info.h"
#include "source.h"

using namespace lbx;

namespace {

void apply(WhiteNoise_Core_S& core, float* param, const BlockPro&)
{
    core.Switch = to_int(param[kWhiteNoiseSwitch]);
    core.MeanNeed = param[kWhiteNoiseMeanNeed];
    core.SigmaNeed = param[kWhiteNoiseSigmaNeed];
}

constexpr Generator<WhiteNoise_Core_S> kSource = {kInitial<white_noise::kLayout>, apply};

// s -> 2045 s + 1 modulo 2^20, applied 1 .. 12 times in one step each: factor * s + offset. The seed is not negative,
// so only its low 20 bits count and 32-bit products may wrap.
constexpr int kDraws = 12;
constexpr std::uint32_t kModulus = 1U << 20U;
struct Jumps {
    std::uint32_t factor[kDraws], offset[kDraws];
};
constexpr Jumps kJumps = [] {
    Jumps jumps = {};
    std::uint32_t factor = 1, offset = 0;
    for (int i = 0; i < kDraws; ++i) {
        jumps.factor[i] = factor = factor * 2045 % kModulus;
        jumps.offset[i] = offset = (offset * 2045 + 1) % kModulus;
    }
    return jumps;
}();

// Twelve uniform numbers from one seed, summed, less their mean: variance 1. A fresh seed for every sample and so small
// a modulus make a poor generator. Kept: hosts expect this noise. Whole numbers keep the sum exact.
float unit_gauss(std::uint32_t seed)
{
    std::uint32_t sum = 0;
    for (int i = 0; i < kDraws; ++i)
        sum += (kJumps.factor[i] * seed + kJumps.offset[i]) % kModulus;
    return static_cast<float>(sum) / static_cast<float>(kModulus) - 6.0F;
}

}  // namespace

BlockAlgo* WhiteNoiseSource_Init(int Input_pin, int Output_pin, BlockPro* block_pro, int type)
{
    return source_init(kSource, Input_pin, Output_pin, block_pro, type);
}

spx_int32_t WhiteNoiseSource_ResetParam(BlockAlgo* blk, void* param) { return source_reset(kSource, blk, param); }

spx_int32_t WhiteNoiseSource_Update(BlockAlgo* blk) { return source_reset(kSource, blk, nullptr); }

spx_int32_t WhiteNoiseSource_Invoke(BlockAlgo* blk)
{
    if (blk) {
        LBX_LOG("WhiteNoise param is %f, %f\n\n", static_cast<double>(blk->pParam[kWhiteNoiseMeanNeed]),
                static_cast<double>(blk->pParam[kWhiteNoiseSigmaNeed]));
    }
    return RT_OK;
}

spx_int32_t WhiteNoiseSource_ProcessAudioSample(BlockAlgo* blk, float**, float** data_out)
{
    const auto* core = core_of<WhiteNoise_Core_S>(blk);
    if (core->Switch == SOURCE_SWITCH_OFF)
        return fill_pins(blk, core->Out_NumChannel, data_out, 0.0F);
    const float deviation = fast_sqrt(core->SigmaNeed);
    return fill_pins(blk, core->Out_NumChannel, data_out, [mean = core->MeanNeed, deviation] {
        return mean + deviation * unit_gauss(static_cast<std::uint32_t>(std::rand()));
    });
}

spx_int32_t WhiteNoiseSource_Destroy(BlockAlgo* blk) { return free_block(blk); }
