// SPDX-License-Identifier: Apache-2.0
// Limiter: keeps every channel's mean square under a threshold by a smoothed gain.
//
//   EN_DP_LIMITER  n in, n out   each channel measures and turns down itself
//
// Parameters are used as they come; Vantoro_block_info has their defaults. An output may share its own input's buffer.
#ifndef VANTORO_DYNAMICS_PROCESSORS_QVAUDIO_LIM_H
#define VANTORO_DYNAMICS_PROCESSORS_QVAUDIO_LIM_H

#include "../common/block_types.h"

LBX_BEGIN_C

enum LimiterParam {
    kLimiterRmstc,      // dB/s, fall of the mean square in silence; larger follows faster both ways
    kLimiterDecayTime,  // the larger, the later the gain follows; 0: at once
    kLimiterThreshold,  // dB re full scale, of the mean square
    kLimiterModuleSize
};

typedef struct Limiter_Core {
    float rmstc_coeff;    // weight of the new square
    float decay_coeff;    // weight of the old gain
    float threshold;      // power ratio
    float* smooth_rms;    // running mean square per channel
    float* smooth_gain;   // gain per channel, from 1.0
    float pre_div;        // 1 / block size; for the host, nothing reads it
    float process_state;  // 1 when the last channel ended the last block above the threshold, else 0
} Limiter_Core;

BlockAlgo* Limiter_init(int nInputs, int nOutputs, BlockPro* block_pro, int type);  // null: pins differ, no memory
int Limiter_param_set(BlockAlgo* blk, float* param);  // three entries; null derives again. Levels and gains go on. 0
int Limiter_param_update(BlockAlgo* blk);             // nothing to do: 0
int Limiter_param_invoke(BlockAlgo* blk);             // logs the entries; null is ignored. 0
int Limiter_process(BlockAlgo* blk, float** data_in, float** data_out);  // 1: limiting, 0: not; both are success
int Limiter_destroy(BlockAlgo* blk);                                     // null is ignored. 0

void Limiter_Render(BlockAlgo* blk, Limiter_Core* core, float** data_in, float** data_out, int n);

LBX_END_C

#endif
