// SPDX-License-Identifier: Apache-2.0
// Multiplexers: one of several groups of input pins goes to the outputs.
//
//   EN_MUXES_MUXES_SWITCH   k n in,     n out   the group is a parameter
//   EN_MUXES_MUXES_INDEX    k n + 1 in, n out   the group is the first sample of pin 0, read once per block
//
// Group g is the n input pins from g n on (after the control pin). Another group is taken at once, or by a slew in
// which the old groups fade out while the new one fades in and their gains add up to 1. Output j may share its buffer
// with pin j of any group.
#ifndef VANTORO_MUXES_DEMUXES_MULTIPLEXERS_H
#define VANTORO_MUXES_DEMUXES_MULTIPLEXERS_H

#include "../common/block_types.h"

LBX_BEGIN_C

enum MuxesSwitchParam {
    kMuxesSwitchIdx,       // [0]   group; limited to 0 .. groups - 1, written back
    kMuxesSwitchSlewFlag,  // [1]   not 0: change groups by slew
    kMuxesSwitchSlewRate,  // [12]  see SlewAlphaGet; not limited
    kMuxesSwitchModuleSize
};

enum MuxesIndexParam {
    kMuxesIndexSlewFlag,  // [1]
    kMuxesIndexSlewRate,  // [12]
    kMuxesIndexModuleSize
};

typedef struct Multiplexers_Core {
    int num_Mx;      // groups
    int idx_stable;  // the selected one
    int slew_state;  // 1: the slew toward it is unfinished
    int slew_flag;
    float pre_div;       // 1 / (nBlockSize + 1)
    float slew_rate;     // smoothing factor per block
    float* gains;        // [groups] start: 1 for group 0, 0 for the others
    float* delta_coeff;  // [groups] share of a block's step
    int slots;           // private: groups with a gain
    float* steps;        // private: [slots] step per sample in this block
    float* rows;         // private: running gains of a tile
} Multiplexers_Core;

// Null, with a log line for wrong pins; a multiplexer without a group is one.
BlockAlgo* Multiplexers_Switch_init(int nInputs, int nOutputs, BlockPro* block_pro, int type);
BlockAlgo* Multiplexers_Index_init(int nInputs, int nOutputs, BlockPro* block_pro, int type);

// Null applies the stored vector again, as the update does. RT_OK.
int Multiplexers_Switch_param_set(BlockAlgo* blk, float* param);
int Multiplexers_Index_param_set(BlockAlgo* blk, float* param);
int Multiplexers_Switch_param_update(BlockAlgo* blk);
int Multiplexers_Index_param_update(BlockAlgo* blk);
int Multiplexers_Switch_param_invoke(BlockAlgo* blk);  // a null block prints nothing
int Multiplexers_Index_param_invoke(BlockAlgo* blk);

// RT_OK. While the slew flag is 0 groups change at once, but the gains stay: setting the flag starts the slew.
int Multiplexers_Switch_process(BlockAlgo* blk, float** data_in, float** data_out);
int Multiplexers_Index_process(BlockAlgo* blk, float** data_in, float** data_out);

// One block: all groups by their gains, or the selected group alone. `data_in` has all input pins, the control
// included.
void Multiplexers_Switch_Render_slew(Multiplexers_Core* core, float** data_in, float** data_out, int nBlockSize,
                                     int nPins);
void Multiplexers_Switch_Render_noslew(Multiplexers_Core* core, float** data_in, float** data_out, int nBlockSize,
                                       int nPins);
void Multiplexers_Index_Render_slew(Multiplexers_Core* core, float** data_in, float** data_out, int nBlockSize,
                                    int nPins);
void Multiplexers_Index_Render_noslew(Multiplexers_Core* core, float** data_in, float** data_out, int nBlockSize,
                                      int nPins);

int Multiplexers_destroy(BlockAlgo* blk);  // null is ignored. RT_OK

LBX_END_C

#endif
