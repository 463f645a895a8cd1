// SPDX-License-Identifier: Apache-2.0
// Crossfade: each output is one of two inputs, and changes between them by a fade.
//
//   EN_MUXES_CROSSFADE   2n + 1 in, n out   pin 0: choice; output j: pin 1 + 2j for choice 0, pin 2 + 2j for choice 1
//
// The choice is the first sample of pin 0, read once per block: 1 from 1.0 upwards, else 0. The weight of the choice
// being left decays geometrically from block to block. An input pin without a partner is not read. Output j may share
// its buffer with either pin of its pair.
#ifndef VANTORO_MUXES_DEMUXES_CROSSFADE_H
#define VANTORO_MUXES_DEMUXES_CROSSFADE_H

#include "../common/block_types.h"

LBX_BEGIN_C

enum CrossfadeParam {
    kCrossfadeSlewRate,  // [12]  see SlewAlphaGet; not limited
    kCrossfadeModuleSize
};

typedef struct CrossFade_Core {
    int idx_pre;      // the choice being left, or the settled one
    int idx_now;      // the choice of this block
    int change_flag;  // 1: a fade is under way
    float pre_div;    // 1 / (nBlockSize + 1)
    float slew_rate;  // smoothing factor per block
    float gain_now;   // weight of the choice being left
} CrossFade_Core;

BlockAlgo* CrossFade_init(int nInputs, int nOutputs, BlockPro* block_pro, int type);  // null: wrong pins, no memory
int CrossFade_param_set(BlockAlgo* blk, float* param);  // null applies the stored rate again. RT_OK
int CrossFade_param_update(BlockAlgo* blk);
int CrossFade_param_invoke(BlockAlgo* blk);                                // a null block prints nothing
int CrossFade_process(BlockAlgo* blk, float** data_in, float** data_out);  // RT_OK
void CrossFade_Render_slew(CrossFade_Core* core, float** data_in, float** data_out, int nBlockSize, int nPins);
void CrossFade_Render_noslew(CrossFade_Core* core, float** data_in, float** data_out, int nBlockSize, int nPins);
int CrossFade_destroy(BlockAlgo* blk);  // null is ignored. RT_OK

LBX_END_C

#endif
