// SPDX-License-Identifier: Apache-2.0
// Compressor: a static gain curve between break points, one level reading per block, a straight gain ramp across it.
//
//   EN_DP_COMPRESSOR_RMS, _PEAK          n in,     n out   each channel measures itself
//   EN_DP_COMPRESSOR_EXT_RMS, _EXT_PEAK  n + 1 in, n out   pin 0 is the sidechain of all channels
//
// Levels are dB re full scale 1.0. No parameter is clamped; the output is, to [-1, 1]. Levels at or below the curve get
// the gain of its first point, levels at or above its last point in use get unity gain. Once set, the mean square of
// the _RMS types grows without end where rmstc exceeds 4.77 times the blocks per second: at 48 kHz its default does
// with blocks above 1145 samples. Vantoro_block_info has the defaults. An output may share its own input's buffer.
#ifndef VANTORO_DYNAMICS_PROCESSORS_QVAUDIO_COMPRESSOR_H
#define VANTORO_DYNAMICS_PROCESSORS_QVAUDIO_COMPRESSOR_H

#include "../common/block_types.h"

LBX_BEGIN_C

enum CompressorParam {
    kCompressorRmstc,       // _RMS types: about the fall of the mean square in silence, dB/s; larger follows faster
    kCompressorHoldTime,    // ms, before a level may fall; one counter for all channels
    kCompressorDecayTime,   // fall of the level in silence, 2.5 (_RMS) or 5 (_PEAK) dB/s each; delays a falling gain
    kCompressorSoftKnee,    // stored and printed only
    kCompressorPostGain,    // dB, make-up as a power: 6 dB is a factor of 3.98
    kCompressorTableLen,    // points of the curve n, 0 to 10; with 0 or 1 there is no curve: unity gain
    kCompressorParamOffset  // n input levels in dB, ascending, then n output levels
};

typedef struct Compressor_Core {
    float rmstc_coeff;   // weight of a new block's mean square
    float decay_coeff;   // weight of a new block in a falling level; what a falling gain leaves of its way per block
    float* smooth_rms;   // per output: smoothed mean square, or the held and decaying peak
    float max_rms;       // 0
    float* tarck_env;    // per output: held and decaying smooth_rms; _RMS types
    float pre_div;       // 1 / block size
    float* smooth_gain;  // per output: gain in force, from 1.0
    float post_gain;     // factor
    float bit_norm;      // 30, 38 or 46 for 16, 20 or more bits; nothing reads it
    int break_point;     // segments in use: a point at 0 dB or a repeated level ends the curve
    int hold_time;       // samples
    int hold_count;      // samples left, shared by all channels
    float* delta_x;      // per segment: dB between entries of agc_table
    int* inter_num;      // per point: its entry in agc_table
    float* agc_table;    // 101 gains along the curve
    int table_len;       // points of the curve in force
} Compressor_Core;

BlockAlgo* Compressor_init(int nInputs, int nOutputs, BlockPro* block_pro, int type);  // null: wrong pins, no memory
// Takes 6 + 2n entries; null derives again from the stored ones. A length above 10 is logged and leaves curve, levels
// and coefficients as they were. Levels and gains of the channels go on. Always 0.
int Compressor_param_set(BlockAlgo* blk, float* param);
int Compressor_param_update(BlockAlgo* blk);                                // nothing to do: 0
int Compressor_param_invoke(BlockAlgo* blk);                                // logs the first six entries. 0
int Compressor_process(BlockAlgo* blk, float** data_in, float** data_out);  // 1: processed
int Compressor_destroy(BlockAlgo* blk);                                     // null is ignored. 0

// `n` samples of all channels. `side` is what every channel measures (the input pins then start at 1); null: each its
// own input.
void Com_Rms_Render(BlockAlgo* blk, Compressor_Core* core, float** data_in, float* side, float** data_out, int n);
void Com_Peak_Render(BlockAlgo* blk, Compressor_Core* core, float** data_in, float* side, float** data_out, int n);

LBX_END_C

#endif
