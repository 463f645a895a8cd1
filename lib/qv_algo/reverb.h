// SPDX-License-Identifier: Apache-2.0
// Reverb: per channel eight damped combs in parallel, then four allpasses in series.
//
//   EN_QVALGO_REVERB   n in, n out; one or two inputs take any number of outputs
//
// Two channels share the sum of both inputs and are crossed by the width; with any other count each channel is alone.
// Output c belongs to input c: outputs beyond the inputs are never written. Works in place.
//
// It runs in groups of four samples: the last nBlockSize mod 4 samples of every block are not written, nor any above
// 32764. Neither is anything while the reverb is disabled; it starts disabled. Tails go on over every parameter change,
// being switched off included. Delay lengths are fixed at init: whole groups of four, at least one. From the fourth
// channel on all channels have the same lengths.
#ifndef VANTORO_QV_ALGO_REVERB_H
#define VANTORO_QV_ALGO_REVERB_H

#include "../common/allpass.h"
#include "../common/block_types.h"
#include "../common/comb.h"

LBX_BEGIN_C

// Nothing is clamped. Vantoro_block_info has the defaults.
enum ReverbParam {
    kReverbEnable,    // flag
    kReverbDryLevel,  // %, share of the input
    kReverbWetLevel,  // %, share of the reverberation
    kReverbRoomSize,  // 0 to 1, decay length: comb feedback 0.7 to 0.98
    kReverbDamp,      // 0 to 1, high-frequency loss in the combs
    kReverbWidth,     // %, stereo width
    kReverbModuleSize
};

typedef struct Reverb_Core {
    int num_channel;  // nInputs
    int enbale_flag;
    float dry_level, wet_level;
    float wet1, wet2;  // own channel, other channel
    float gain;        // 0.1; not used
    float room_size, damp, width;
    qv_comb** combs;        // [num_channel][8]
    qv_allpass** allpasss;  // [num_channel][4]
    short frame_size;       // nBlockSize
    float* scratch;         // private: three blocks
} Reverb_Core;

BlockAlgo* Reverb_init(int nInputs, int nOutputs, BlockPro* block_pro, int type);  // null: wrong pins, no memory
int Reverb_param_set(BlockAlgo* blk, float* param);  // null applies the stored vector again
int Reverb_param_update(BlockAlgo* blk);             // Reverb_param_set without a vector
int Reverb_param_invoke(BlockAlgo* blk);
int Reverb_process(BlockAlgo* blk, float** data_in, float** data_out);  // 0
int Reverb_destroy(BlockAlgo* blk);                                     // null is ignored

LBX_END_C

#endif
