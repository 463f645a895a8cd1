// SPDX-License-Identifier: Apache-2.0
// Gaussian white noise: EN_SOURCE_WHITENOISE, 0 in, n out. A sum of twelve uniform numbers stands in for a Gaussian
// one, so the noise stays within 6 deviations. Each sample is seeded from the C library's rand(): srand() fixes the
// sequence, and blocks share it.
#ifndef VANTORO_SOURCE_WHITE_NOISE_H
#define VANTORO_SOURCE_WHITE_NOISE_H

#include "source_types.h"

LBX_BEGIN_C

enum WhiteNoiseParam {
    kWhiteNoiseSwitch,
    kWhiteNoiseMeanNeed,
    kWhiteNoiseSigmaNeed,  // the variance, 0 or more
    kWhiteNoiseModuleSize
};

typedef struct WhiteNoise_Core_S {
    float MeanNeed;
    float SigmaNeed;
    int Switch;
    int Out_NumChannel;
} WhiteNoise_Core_S;

BlockAlgo* WhiteNoiseSource_Init(int Input_pin, int Output_pin, BlockPro* block_pro, int type);
spx_int32_t WhiteNoiseSource_ResetParam(BlockAlgo* blk, void* param);
spx_int32_t WhiteNoiseSource_Update(BlockAlgo* blk);
spx_int32_t WhiteNoiseSource_Invoke(BlockAlgo* blk);
spx_int32_t WhiteNoiseSource_ProcessAudioSample(BlockAlgo* blk, float** data_in, float** data_out);
spx_int32_t WhiteNoiseSource_Destroy(BlockAlgo* blk);

LBX_END_C

#endif
