// SPDX-License-Identifier: Apache-2.0
// Demultiplexers: the inputs go to one of several groups of output pins.
//
//   EN_MUXES_DEMUXES_SWITCH   n in,     k n out   the group is a parameter
//   EN_MUXES_DEMUXES_INDEX    n + 1 in, k n out   the group is the first sample of pin 0, read once per block
//
// Group g is the n output pins from g n on. Another group is taken at once, or by a slew in which the old groups fade
// out while the new one fades in and their gains add up to 1. During a slew every output is written; otherwise only
// those of the selected group are, and the other buffers keep what they held. Input i may share its buffer with output
// i of any group.
#ifndef VANTORO_MUXES_DEMUXES_DEMULTIPLEXERS_H
#define VANTORO_MUXES_DEMUXES_DEMULTIPLEXERS_H

#include "../common/block_types.h"

LBX_BEGIN_C

enum DeMuxesSwitchParam {
    kDeMuxesSwitchIdx,       // [0]   group; limited to 0 .. groups, written back. One past the last group is silence
    kDeMuxesSwitchSlewFlag,  // [1]   not 0: change groups by slew
    kDeMuxesSwitchSlewRate,  // [12]  see SlewAlphaGet; not limited
    kDeMuxesSwitchModuleSize
};

enum DeMuxesIndexParam {
    kDeMuxesIndexSlewFlag,  // [1]
    kDeMuxesIndexSlewRate,  // [12]
    kDeMuxesIndexModuleSize
};

typedef struct Demultiplexers_Core {
    int num_DMx;     // groups
    int idx_stable;  // the selected one
    int slew_state;  // 1: the slew toward it is unfinished
    int slew_flag;
    float pre_div;       // 1 / (nBlockSize + 1)
    float slew_rate;     // smoothing factor per block
    float* gains;        // [groups] start: 1 for group 0, 0 for the others
    float* delta_coeff;  // [groups] share of a block's step
    int slots;           // private: groups, and the silence after them
    float* steps;        // private: [slots] step per sample in this block
    float* rows;         // private: running gains of a tile
} Demultiplexers_Core;

// Null, with a log line for wrong pins.
BlockAlgo* DeMultiplexers_Switch_init(int nInputs, int nOutputs, BlockPro* block_pro, int type);
BlockAlgo* DeMultiplexers_Index_init(int nInputs, int nOutputs, BlockPro* block_pro, int type);

// Null applies the stored vector again, as the update does. RT_OK.
int DeMultiplexers_Switch_param_set(BlockAlgo* blk, float* param);
int DeMultiplexers_Index_param_set(BlockAlgo* blk, float* param);
int DeMultiplexers_Switch_param_update(BlockAlgo* blk);
int DeMultiplexers_Index_param_update(BlockAlgo* blk);
int DeMultiplexers_Switch_param_invoke(BlockAlgo* blk);  // a null block prints nothing
int DeMultiplexers_Index_param_invoke(BlockAlgo* blk);

// RT_OK. While the slew flag is 0 groups change at once, but the gains stay: setting the flag starts the slew.
int DeMultiplexers_Switch_process(BlockAlgo* blk, float** data_in, float** data_out);
int DeMultiplexers_Index_process(BlockAlgo* blk, float** data_in, float** data_out);

// One block: every group by its gain, or the selected group alone. `data_in` has all input pins, the control included;
// nPins counts the others.
void DeMultiplexers_Switch_Render_slew(Demultiplexers_Core* core, float** data_in, float** data_out, int nBlockSize,
                                       int nPins);
void DeMultiplexers_Switch_Render_noslew(Demultiplexers_Core* core, float** data_in, float** data_out, int nBlockSize,
                                         int nPins);
void DeMultiplexers_Index_Render_slew(Demultiplexers_Core* core, float** data_in, float** data_out, int nBlockSize,
                                      int nPins);
void DeMultiplexers_Index_Render_noslew(Demultiplexers_Core* core, float** data_in, float** data_out, int nBlockSize,
                                        int nPins);

int DeMultiplexers_destroy(BlockAlgo* blk);  // null is ignored. RT_OK

LBX_END_C

#endif
