// SPDX-License-Identifier: Apache-2.0
// Mute: switches all channels off and on, at once or by a slew.
//
//   EN_VC_MUTE   n in, n out, n >= 1
//
// The slew moves the gain by 2 % of the way per block, in a straight line inside the block, and ends exactly on 0 or 1.
// A fresh block with slew fades in from silence. Without slew the gain reached is not kept: switched on again, the slew
// goes on from where it last stood. Vantoro_block_info has the defaults. Output k may share its buffer with input k.
#ifndef VANTORO_VOLUME_CONTROLS_MUTE_H
#define VANTORO_VOLUME_CONTROLS_MUTE_H

#include "../common/block_types.h"

LBX_BEGIN_C

enum MuteParam {
    kMuteSwitch,    // 1 mutes, 0 passes; other values keep the gain that was aimed for
    kMuteSlewFlag,  // not 0: slew
    kMuteModuleSize
};

typedef struct Mute_Core {
    int switch_state;
    int slew_flag;
    float old_gain;   // at the end of the last block
    float pre_div;    // 1 / (nBlockSize + 1)
    float slew_rate;  // smoothing factor per block
    float gain_now;   // the target
} Mute_Core;

BlockAlgo* Mute_init(int nInputs, int nOutputs, BlockPro* block_pro, int type);  // null: wrong pins, no memory
int Mute_param_set(BlockAlgo* blk, float* param);  // null applies the stored vector again. 0
int Mute_param_update(BlockAlgo* blk);             // does nothing. 0
int Mute_param_invoke(BlockAlgo* blk);
int Mute_process(BlockAlgo* blk, float** data_in, float** data_out);  // 0
void Mute_Render_slew(Mute_Core* core, float** data_in, float** data_out, int nChannels, int nBlockSize,
                      int switch_state);
void Mute_Render_noslew(Mute_Core* core, float** data_in, float** data_out, int nChannels, int nBlockSize,
                        int switch_state);
int Mute_destroy(BlockAlgo* blk);

LBX_END_C

#endif
