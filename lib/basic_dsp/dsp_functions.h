// SPDX-License-Identifier: Apache-2.0
// Blocks that keep values over time: sample and hold, delays, gains.
//
//   EN_BASIC_DSP_HOLD_VALUE, _ABSMAX, _MAX, _MIN  n + 1 in, n out  pin 0 holds while it is not exactly 0
//   EN_BASIC_DSP_DELAY                            n in, n out
//   EN_BASIC_DSP_VOL_DELAY                        n + 1 in, n out  pins 0 .. n - 1: tap delays; pin n: the signal
//   EN_BASIC_GAIN, EN_BASIC_GAIN_SLEW             n in, n out
//
// Inits take a record that has pins, context and type, and add their state to it: RT_ERR_MALLOC, and nothing added,
// when memory is short. Sets take the host's vector; null applies the stored values again. Destroys free the state, not
// the record. Every function returns RT_OK, RT_ERR_NULL_PTR for a record without its state, or what it says. An output
// may be written over the input of its own index. Defaults and ranges: Vantoro_block_info.
#ifndef VANTORO_BASIC_DSP_DSP_FUNCTIONS_H
#define VANTORO_BASIC_DSP_DSP_FUNCTIONS_H

#include "../common/common.h"

LBX_BEGIN_C

// Hold. While the control is 0 the outputs follow the signals; after that VALUE keeps the first held sample, and the
// others keep the extreme since the hold began, never below -16 (ABSMAX, MAX) or above 16 (MIN). A control that was
// never 0 holds the extreme from 0 on; VALUE takes its first sample.
typedef struct HoldSt {
    float* holdVal;  // per signal, owned; nInputs entries each
    float* lastVal;  // the control's previous sample, per signal
    float* tmpY;     // the outputs of one sample
} HoldSt;

int Basic_DSP_HoldInit(BlockAlgo* blk);
int Basic_DSP_HoldProcess(BlockAlgo* blk, float** xn, float** yn);  // any output over any input
int Basic_DSP_HoldDestroy(BlockAlgo* blk);                          // RT_ERR_NO_BUFFER without state

// Delay, in whole samples: fractions are cut off. 0 delays by the whole line, maxDelay. The vector is kept as clamped,
// in the unit it came in.
enum BasicDelayParam {
    kBasicDelayMaxDelay,  // clamped: length of the lines; a change keeps the newest samples
    kBasicDelayDelay,     // 0 .. maxDelay, clamped
    kBasicDelayType,      // exactly 1.0: both in ms; anything else: samples
    kBasicDelayModuleSize
};

typedef struct DelaySt {
    int delay;        // in samples
    int maxDelay;     // length of every ring in samples, at least 1
    RingBufSt* rbuf;  // owned; one per input pin, or the only one of the multi-tap delay
} DelaySt;

int Basic_DSP_DelayInit(BlockAlgo* blk);
int Basic_DSP_DelaySetParam(BlockAlgo* blk, float* param);  // RT_ERR_MALLOC leaves the old delay in force
int Basic_DSP_DelayProcess(BlockAlgo* blk, float** xn, float** yn);
int Basic_DSP_DelayDestroy(BlockAlgo* blk);

// Multi-tap delay: one parameter, kBasicDelayMaxDelay in samples. Output j is the signal delayed by control j in
// samples, truncated and clamped to 0 .. maxDelay, with a report for every sample out of range; 0 is maxDelay.
int Basic_DSP_VolDelaySetParam(BlockAlgo* blk, float* param);
int Basic_DSP_VolDelayProcess(BlockAlgo* blk, float** xn, float** yn);

enum BasicGainParam {
    kBasicGainGain,      // dB (LBX_DB2Gain, up to 0.35 dB off) or factor (exact)
    kBasicGainType,      // flag: the gain is a factor
    kBasicGainSlewRate,  // EN_BASIC_GAIN_SLEW only; clamped: each step doubles the time
    kBasicGainModuleSize
};

// Gain. AlgoCore is not a pointer here: its first bytes are the factor itself, a float, 0 until parameters are set. The
// host's vector has the first two entries only.
int Basic_Gain_Init(BlockAlgo* blk);
int Basic_Gain_SetParam(BlockAlgo* blk, float* param);
int Basic_Gain_Process(BlockAlgo* blk, float** xn, float** yn);
int Basic_Gain_Destroy(BlockAlgo* blk);

// Gain that glides to its target: one smoothing step per block, in a straight line within the block.
typedef struct GainSlewSt {
    float attack_gain;  // the step's pole, SlewAlphaGet
    float pre_div;      // 1 / (nBlockSize + 1)
    float old_gain;     // the factor reached; 0 at first
    float set_gain;     // the target; 1 at first
} GainSlewSt;

int Basic_GainSlew_Init(BlockAlgo* blk);
int Basic_GainSlew_SetParam(BlockAlgo* blk, float* param);
int Basic_GainSlew_Process(BlockAlgo* blk, float** xn, float** yn);
int Basic_GainSlew_Destroy(BlockAlgo* blk);

LBX_END_C

#endif
