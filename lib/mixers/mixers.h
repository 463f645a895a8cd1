// SPDX-License-Identifier: Apache-2.0
// Mixers and splitters: every path from an input to an output has a gain.
//
//   EN_MIXERS_MERGE                n in,  1 out   no gains: the mean of the inputs
//   EN_MIXERS_SINGLE, _SLEW        n in,  1 out   one gain: of the sum
//   EN_MIXERS_MULTI, _SLEW         n in,  1 out   one gain per input
//   EN_MIXERS_STEREO, _SLEW        2k in, 2 out   one gain per pair (left, right); an odd last input is unused
//   EN_MIXERS_CROSS, _SLEW         n in,  m out   n x m gains: from input i to output j is gain i * m + j
//   EN_SPLIT_SINGLE, _SLEW         1 in,  m out   one gain
//   EN_SPLIT_MULTI, _SLEW          1 in,  m out   one gain per output
//   EN_SPLIT_T_CONNECT             1 in,  m out   no gains: copies
//
// Vectors: plain types, the gains in dB; slewed types, the slew rate (see SlewAlphaGet; logged and written back when
// clamped) and then the gains in dB. Gains are not clamped; they go through LBX_DB2Gain, so 0 dB is 0.97100782 once
// set. Before any set a gain is 1.
//
// Plain gains change at once. Slewed gains glide: once per block a one-pole step toward the target, inside the block a
// straight line; they start from silence and end exactly on the target.
//
// Any number of pins is accepted; fewer than the table's fixed ones write nothing. Any output may share its buffer with
// any input.
#ifndef VANTORO_MIXERS_MIXERS_H
#define VANTORO_MIXERS_MIXERS_H

#include "../common/block_types.h"
#include "../common/category.h"

LBX_BEGIN_C

// The state of the slewed types. A lone gain has old_gain and set_gain only; the other arrays are null.
typedef struct MixSlewSt {
    float attack_gain;  // smoothing factor per block
    float pre_div;      // 1 / (nBlockSize + 1): the share of a block's step that a sample takes
    int conv_flag;      // 1: a gain moves in this block
    float* old_gain;    // [gains] at the end of the last block, linear
    float* set_gain;    // [gains] the targets
    float* new_gain;    // [gains] to be reached in this block
    float* dlt_gain;    // [gains] per sample in this block
    float* tmp_gain;    // [gains] running inside the block
    float lone[3];      // private: new, dlt and tmp of a lone gain
    float* rows;        // private: running gains of a few samples of some paths
} MixSlewSt;

// Parameters and state of a block that holds its pins, context and type. RT_OK, or RT_ERR_MALLOC with whatever was
// allocated hanging on the block for the matching destroy.
int Mixers_Init(BlockAlgo* blk);
int Mixers_SlewInit(BlockAlgo* blk);

// Copies the vector (null: keeps the stored one) and recomputes the gains, or the targets and the slew. RT_OK.
int Mixers_SetParam(BlockAlgo* blk, float* param);
int Mixers_SlewSetParam(BlockAlgo* blk, float* param);

// Free parameters and state, not the record. RT_ERR_NULL_PTR when parameters or state are missing.
int Mixers_Destroy(BlockAlgo* blk);
int Mixers_SlewDestroy(BlockAlgo* blk);

// One block each. RT_OK.
int Mixers_SigMergerProcess(int chanNum, int size, float** xn, float** yn);  // no inputs: zeros
int Mixers_SingleProcess(BlockAlgo* blk, float** xn, float** yn);
int Mixers_MultiProcess(BlockAlgo* blk, float** xn, float** yn);
int Mixers_StereoProcess(BlockAlgo* blk, float** xn, float** yn);
int Mixers_NxMProcess(BlockAlgo* blk, float** xn, float** yn);
int Splitters_SingleProcess(BlockAlgo* blk, float** xn, float** yn);
int Splitters_MultiProcess(BlockAlgo* blk, float** xn, float** yn);
int Splitters_TConnect_Process(BlockAlgo* blk, float** xn, float** yn);
int Mixers_SingleSlewProcess(BlockAlgo* blk, float** xn, float** yn);
int Mixers_MultiSlewProcess(BlockAlgo* blk, float** xn, float** yn);
int Mixers_StereoSlewProcess(BlockAlgo* blk, float** xn, float** yn);
int Mixers_NxMSlewProcess(BlockAlgo* blk, float** xn, float** yn);
int Splitters_SingleSlewProcess(BlockAlgo* blk, float** xn, float** yn);
int Splitters_MultiSlewProcess(BlockAlgo* blk, float** xn, float** yn);

// The two ends of a block of gliding gains: sets conv_flag, targets, steps and running gains; moves or snaps old_gain.
void Mixers_SlewGainEnter(MixSlewSt* st, int chanNum);
void Mixers_SlewGainOut(MixSlewSt* st, int chanNum);

// yn[0] = (sum of the inputs) * LBX_DB2Gain(gain); gain in dB. RT_OK.
int BlockAlgo_Mixers_MulToOne(int in_chan, int size, float** xn, float** yn, float gain);

LBX_END_C

#endif
