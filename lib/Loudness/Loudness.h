// SPDX-License-Identifier: Apache-2.0
// Loudness compensation: a bass and a treble part, stronger the lower the volume, are added to the dry signal, and the
// sum is scaled by half the volume.
//
//   EN_LOUDNESS_LH      n in,     n out   volume in dB from the vector
//   EN_LOUDNESS_LH_EXT  n + 1 in, n out   pin 0: volume as a factor, 0.001 to 1, read once per block; then the signals
//
// Vantoro_block_info has the defaults. An output may share its own signal's buffer.
#ifndef VANTORO_LOUDNESS_LOUDNESS_H
#define VANTORO_LOUDNESS_LOUDNESS_H

#include "../common/block_types.h"
#include "../filters/first_order.h"

LBX_BEGIN_C

enum LoudnessParam {
    kLoudnessBassFreq,                      // Hz
    kLoudnessBassGain,                      // percent
    kLoudnessTrebleFreq,                    // Hz
    kLoudnessTrebleGain,                    // percent
    kLoudnessFilterType,                    // stored and printed only
    kLoudnessSlewRate,                      // EN_LOUDNESS_LH_EXT: each step doubles the time of the volume's slew
    kLoudnessPostGain = kLoudnessSlewRate,  // EN_LOUDNESS_LH: volume, dB. The two share the entry on purpose
    kLoudnessModuleSize
};

typedef struct Loudness_Core {
    FirstOrder_Core LP_Core;  // bass; one state word per channel
    FirstOrder_Core HP_Core;  // treble
    float attack_gain;        // slew factor of the volume; EN_LOUDNESS_LH: 0
    float LP_gain;            // factor of the bass, EN_LOUDNESS_LH_EXT
    float HP_gain;            // factor of the treble, EN_LOUDNESS_LH_EXT
    float post_gain;          // target volume, factor
    float pre_gain;           // volume reached, from 0
    float pre_div;            // 1 / (block size + 1)
} Loudness_Core;

BlockAlgo* Loudness_init(int nInputs, int nOutputs, BlockPro* block_pro, int type);  // null: no memory
int Loudness_param_set(BlockAlgo* blk, float* param);  // six entries; null derives again. Filters and volume go on. 0
int Loudness_param_update(BlockAlgo* blk);             // nothing to do: 0
int Loudness_param_invoke(BlockAlgo* blk);             // logs the entries. 0
int Loudness_process(BlockAlgo* blk, float** data_in, float** data_out);  // 1: processed
int Loudness_destroy(BlockAlgo* blk);                                     // null is ignored. 0

// `n` samples of channel `ch`. The volume is one for all: every channel's call moves it on.
void Loudness_Render(Loudness_Core* core, const float* in, float* out, int n, int ch);
void Loudness_Ext_Render(BlockAlgo* blk, Loudness_Core* core, const float* in, const float* volume, float* out, int n,
                         int ch);

LBX_END_C

#endif
