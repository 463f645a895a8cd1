// SPDX-License-Identifier: Apache-2.0
// Crossovers: every input split into two or three bands for the ways of a loudspeaker.
//
//   EN_FILTER_CROSSOVER_2WAY   n in, 2n out         of input c: 2c low, 2c + 1 high
//   EN_FILTER_CROSSOVER_3WAY   n in, 3n..4n-1 out   of input c: 3c low, 3c + 1 high, 3c + 2 mid; only 3n are written
//
// The bands' corners are independent, so bands may overlap or leave gaps. The high band has no polarity, on purpose:
// the others are inverted against it. Outputs may share buffers with inputs in any way.
//
// The pairs LR12 and LR24 (LR for Linkwitz-Riley: S. Linkwitz, "Active Crossover Networks for Noncoincident Drivers"),
// LR36 and LR48 sum flat when both bands have one corner; LR12 and LR36 with one of them inverted.
#ifndef VANTORO_FILTERS_CROSSOVER_H
#define VANTORO_FILTERS_CROSSOVER_H

#include "../common/block_types.h"

LBX_BEGIN_C

enum CROSSOVER_FILTER_TYPE {  // slope in dB per octave
    LR12,                     // 1 section
    Butter12,                 // 1
    Bessel12,                 // 1
    Butter18,                 // 2
    Bessel18,                 // 2
    LR24,                     // 2, Butter12 twice
    Butter24,                 // 2
    Bessel24,                 // 2
    LR36,                     // 4, Butter18 twice
    LR48                      // 4, Butter24 twice
};

// Writes the low-pass or high-pass of `type` with the linear `gain` into `coeff`, 5 floats per section. Types that are
// a filter twice carry the gain twice. `ba` is scratch, 17 floats. An unknown type writes nothing.
void calculateLP(float* coeff, float* ba, float sampleRate, int type, float Fc, float gain);
void calculateHP(float* coeff, float* ba, float sampleRate, int type, float Fc, float gain);

// A host may change polarities and coefficients between two calls: the next one runs with them. The numbers of sections
// are the vector's.
typedef struct Crossover2Way_Core {
    int invert1;        // not 0: the low output is negated
    float* coeffArray;  // 5 floats per section: low, high
    int sos_low, sos_high;
    float* stateArray;   // 2 floats per section and channel; in a channel: low, high
    float* inputBuffer;  // the last sample of every input
} Crossover2Way_Core;

typedef struct Crossover3Way_Core {
    int invert1, invert2;  // not 0: the low, the mid output is negated
    float* coeffArray;     // low, high, low-pass of mid, high-pass of mid
    int sos_low, sos_high, sos_med_lp, sos_med_hp;
    float* stateArray;
    float* inputBuffer;
} Crossover3Way_Core;

// Types are CROSSOVER_FILTER_TYPE, corners in Hz and not clamped, gains in dB -50..50 and clamped: the vector then
// holds what is used. An unknown type keeps whatever sections are there, silent when they are new.
enum Crossover2WayParam {
    kCrossover2WayLowType,
    kCrossover2WayLowFc,
    kCrossover2WayLowGainDB,
    kCrossover2WayHighType,
    kCrossover2WayHighFc,
    kCrossover2WayHighGainDB,
    kCrossover2WayPolarity,  // flag, low
    kCrossover2WayModuleSize
};

enum Crossover3WayParam {
    kCrossover3WayLowType,
    kCrossover3WayLowFc,
    kCrossover3WayLowGainDB,
    kCrossover3WayHighType,
    kCrossover3WayHighFc,
    kCrossover3WayHighGainDB,
    kCrossover3WayMedLpType,
    kCrossover3WayMedLpFc,
    kCrossover3WayMedHpType,
    kCrossover3WayMedHpFc,
    kCrossover3WayMedGainDB,
    kCrossover3WayPolarity1,  // flag, low
    kCrossover3WayPolarity2,  // flag, mid
    kCrossover3WayModuleSize
};

BlockAlgo* Crossover2Way_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type);  // null: pins, no memory
// Null applies the stored vector again. The state goes on: words that are kept keep their values, also where a new
// number of sections gives them another meaning; new ones are silent. RT_OK, or RT_ERR_MALLOC and nothing changed.
int Crossover2Way_param_set(BlockAlgo* blk, float* param);
int Crossover2Way_param_update(BlockAlgo* blk);  // set without a vector
int Crossover2Way_param_invoke(BlockAlgo* blk);  // logs the vector; null is ignored
int Crossover2Way_process(BlockAlgo* blk, float** data_in, float** data_out);
int Crossover2Way_destroy(BlockAlgo* blk);  // null is ignored

BlockAlgo* Crossover3Way_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type);
int Crossover3Way_param_set(BlockAlgo* blk, float* param);
int Crossover3Way_param_update(BlockAlgo* blk);
int Crossover3Way_param_invoke(BlockAlgo* blk);
int Crossover3Way_process(BlockAlgo* blk, float** data_in, float** data_out);
int Crossover3Way_destroy(BlockAlgo* blk);

LBX_END_C

#endif
