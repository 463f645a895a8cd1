// SPDX-License-Identifier: Apache-2.0
// Gain envelope: a gain that follows break points in time, once or in a loop.
//
//   EN_VC_GAINENVELOPE   n + 1 in, n out   output k: input k + 1 times the gain; pin 0 is not read
//
// Between two points the level moves by a constant number of dB per sample, between their whole dB. It is evaluated at
// the first and the last sample of a block; inside, the gain is a straight line. A curve that runs once holds the last
// point's gain from the first sample of the block in which it ends; one in a loop repeats after the last point's time.
// Without points the gain is 1. Points out of order are safe, but what they sound like is not defined. Gains above 25
// dB are 25 dB on the way. Vantoro_block_info has the defaults. Output k may share its buffer with input k + 1.
#ifndef VANTORO_VOLUME_CONTROLS_GAIN_ENVELOPE_H
#define VANTORO_VOLUME_CONTROLS_GAIN_ENVELOPE_H

#include "../common/block_types.h"

LBX_BEGIN_C

// The vector: 2 + 2 n floats.
enum GainEnvelopeParam {
    kGainEnvelopeLoopFlag,    // 1: loop
    kGainEnvelopeNumPoints,   // n; below 0 is 0
    kGainEnvelopeParamOffset  // from here n times in ms, then n gains in dB (below -120: raised to it, written back)
};

extern float time_example[6];     // the default times, ms
extern float gainsdB_example[6];  // the default gains, dB

typedef struct GainEnvelope_Core {
    int loopFlag;
    int numControl;            // points
    float* Gains_dB;           // [points]
    float* Points;             // [points] times in whole samples, then Gains_dB; the record's pState
    float* gains_table;        // [146] 10^((i - 120) / 20); the record's pStateC
    float gain_s;              // gain without points
    float gain_e;              // gain of the last point
    int maxPoint;              // time of the last point in samples
    int gear;                  // the segment under way
    int gain_dB_s, gain_dB_e;  // its ends in whole dB
    int point_s, point_e;      // its ends in samples
    float rate;                // its dB per sample
    int counter;               // position on the curve in samples, from 1
} GainEnvelope_Core;

BlockAlgo* GainEnvelope_init(int nInputs, int nOutputs, BlockPro* block_pro, int type);  // null: wrong pins, no memory
// Restarts the curve; null restarts the stored one. 0, or RT_ERR_MALLOC with the old curve going on.
int GainEnvelope_param_set(BlockAlgo* blk, float* param);
int GainEnvelope_param_update(BlockAlgo* blk);  // does nothing. 0
int GainEnvelope_param_invoke(BlockAlgo* blk);
int GainEnvelope_process(BlockAlgo* blk, float** data_in, float** data_out);  // 0
int GainEnvelope_destroy(BlockAlgo* blk);

// Every output: input ch + 1 under a line that begins at gain_first and would reach gain_last after the block.
void GainEnvelope_Render(float** data_in, float** data_out, int nOutputs, int nBlockSize, float gain_first,
                         float gain_last);

// The gain of a level by linear interpolation between the table's whole dB; levels outside -120 .. 25 take its ends.
float GainTableFindNeast(float* table, float dB);

LBX_END_C

#endif
