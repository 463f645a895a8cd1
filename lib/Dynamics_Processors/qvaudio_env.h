// SPDX-License-Identifier: Apache-2.0
// Envelope followers: one signal in, its level out, with a hold and a decay.
//
//   EN_DP_ENV            1 in,          1 out   peak, at most 1
//   EN_DP_ENV_EXT_DECAY  2 or more in,  1 out   peak, at most 1; pin 0: decay per sample, 4 dB/s each; pin 1: signal
//   EN_DP_ENV_RMS        1 in,          1 out   mean square, not limited to 1
//
// Parameters are used as they come; Vantoro_block_info has their defaults. Output and signal may share a buffer.
#ifndef VANTORO_DYNAMICS_PROCESSORS_QVAUDIO_ENV_H
#define VANTORO_DYNAMICS_PROCESSORS_QVAUDIO_ENV_H

#include "../common/block_types.h"

LBX_BEGIN_C

enum EnvParam {
    kEnvHoldTime,   // ms, before the envelope may fall
    kEnvDecayTime,  // EN_DP_ENV: fall in silence, 5 dB/s each. EN_DP_ENV_RMS: the larger, the later it falls
    kEnvRmstc,      // EN_DP_ENV_RMS: dB/s, fall of the mean square in silence; larger follows faster both ways
    kEnvModuleSize
};

typedef struct Envelope_Core {
    float rmstc_coeff;  // weight of the new square
    float decay_coeff;  // weight of the old envelope; in EN_DP_ENV_RMS that of the new mean square
    float tarck_env;    // the envelope: the last output
    float smooth_rms;   // running mean square, EN_DP_ENV_RMS
    int hold_time;      // samples
    int hold_count;     // samples left
} Envelope_Core;

BlockAlgo* Env_init(int nInputs, int nOutputs, BlockPro* block_pro, int type);  // null: wrong pins or type, no memory
// Takes as many entries as the type uses: EN_DP_ENV two, EN_DP_ENV_EXT_DECAY one, EN_DP_ENV_RMS three. Null derives
// again from the stored ones. The envelope goes on; a hold under way ends. 0.
int Env_param_set(BlockAlgo* blk, float* param);
int Env_param_update(BlockAlgo* blk);                                // nothing to do: 0
int Env_param_invoke(BlockAlgo* blk);                                // logs three entries; null is ignored. 0
int Env_process(BlockAlgo* blk, float** data_in, float** data_out);  // 1: processed
int Env_destroy(BlockAlgo* blk);                                     // null is ignored. 0

// `n` samples of each kind of follower.
void Env_Render(Envelope_Core* core, const float* in, float* out, int n);
void Env_Ext_Render(Envelope_Core* core, const float* in, const float* decay_ms, float* out, int n, int sampleRate);
void Env_Rms_Render(Envelope_Core* core, const float* in, float* out, int n);

LBX_END_C

#endif
