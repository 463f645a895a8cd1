// SPDX-License-Identifier: Apache-2.0
// Adjustable gains: volumes in dB, exact (10^(dB / 20)), applied at once or by a slew.
//
//   EN_VC_SIG_CONTROL            n in,     n out   one volume          vector: volume
//   EN_VC_MULTI_CONTROL          n in,     n out   one per channel     vector: volumes
//   EN_VC_SIG_CONTROL_SLEW       n in,     n out   one volume          vector: slew rate, volume
//   EN_VC_MULTI_CONTROL_SLEW     n in,     n out   one per channel     vector: slew rate, volumes
//   EN_VC_SIG_EXT_CONTROL_SLEW   n + 1 in, n out   gain on pin 0       vector: slew rate
//
// Volumes are not limited. The slew rate (see SlewAlphaGet) is silently limited to 1 .. 23 and written back.
// Vantoro_block_info has the defaults. A slewed block starts from silence: once per block a one-pole step toward the
// target, inside the block a straight line, at the end exactly the target. The control of the last type is a linear
// gain, its first sample of the block. Output k may share its buffer with its own input.
#ifndef VANTORO_VOLUME_CONTROLS_ADJUSTABLE_GAIN_H
#define VANTORO_VOLUME_CONTROLS_ADJUSTABLE_GAIN_H

#include "../common/block_types.h"

LBX_BEGIN_C

enum AdjustableGainParam {  // of the slewed types
    kAdjustableGainSlewRate,
    kAdjustableGainVolume,
};

typedef struct AdjustableGain_Core {
    float* value;       // target gains, linear; the record's pStateB
    float* old_value;   // slewed types: gains at the end of the last block; the record's pStateC
    float pre_div;      // 1 / (nBlockSize + 1)
    float attack_gain;  // smoothing factor per block
} AdjustableGain_Core;

// Null, with a log line for wrong pins. At least one input.
BlockAlgo* Adjust_Gain_init(int nInputs, int nOutputs, BlockPro* block_pro, int type);
BlockAlgo* Adjust_SlewGain_init(int nInputs, int nOutputs, BlockPro* block_pro, int type);

// Null derives the gains from the stored vector again; a glide goes on from where it stands. 0.
int AdjustableGain_param_set(BlockAlgo* blk, float* param);
int AdjustableSlewGain_param_set(BlockAlgo* blk, float* param);
int AdjustableGain_param_update(BlockAlgo* blk);      // does nothing; BlockAlgo_param_update sets without a vector
int AdjustableSlewGain_param_update(BlockAlgo* blk);  // likewise
int AdjustableGain_param_invoke(BlockAlgo* blk);

int AdjustableGain_process(BlockAlgo* blk, float** data_in, float** data_out);  // 1: processed
int AdjustableGain_destroy(BlockAlgo* blk);

// One block of each type. 1.
int Adjust_Gain_SigRender(AdjustableGain_Core* core, float** data_in, float** data_out, int nChannels, int nBlockSize);
int Adjust_Gain_MultiRender(AdjustableGain_Core* core, float** data_in, float** data_out, int nChannels,
                            int nBlockSize);
int Adjust_Gain_SigRender_Slew(AdjustableGain_Core* core, float** data_in, float** data_out, int nChannels,
                               int nBlockSize);
int Adjust_Gain_MultiRender_Slew(AdjustableGain_Core* core, float** data_in, float** data_out, int nChannels,
                                 int nBlockSize);
// While old_value[0] is not 0 the control is a level in dB, through a coarse exponential (2.98 % off at most). Nothing
// in the library sets it.
int Adjust_Gain_Ext_SigRender_Slew(AdjustableGain_Core* core, float** data_in, float** data_out, int nChannels,
                                   int nBlockSize);

LBX_END_C

#endif
