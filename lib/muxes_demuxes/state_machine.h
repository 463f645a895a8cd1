// SPDX-License-Identifier: Apache-2.0
// State machine: each output passes its signal while the control lies in the output's range, and is silent otherwise.
//
//   EN_MUXES_STATE_MACHINE   n + 1 in, n out   pin 0: control, its first sample, read once per block
//
// The buffers of the data pins are one run of n * nBlockSize floats that begins at pin 1, and the outputs are one run
// that begins at output 0: lay them out one after another. No other pointer of the pin arrays is read. The output run
// may be the data run.
//
// There is no parameter vector: the ranges are in the block's pParam, lower and upper bound of each output, both
// included, and the host writes them there. All are 1 at first.
#ifndef VANTORO_MUXES_DEMUXES_STATE_MACHINE_H
#define VANTORO_MUXES_DEMUXES_STATE_MACHINE_H

#include "../common/block_types.h"

LBX_BEGIN_C

typedef struct StateMachine_Core {
    int nOutput;
    float* ranges;  // [2 * nOutput], the same storage as pParam
} StateMachine_Core;

// Refused only with no output and pins that do not match either; null, with a log line.
BlockAlgo* State_Machine_init(int nInputs, int nOutputs, BlockPro* block_pro, int type);
int State_Machine_param_set(BlockAlgo* blk, void* param);  // changes nothing. RT_OK
int State_Machine_param_update(BlockAlgo* blk);
int State_Machine_param_invoke(BlockAlgo* blk);                                // a null block prints nothing
int State_Machine_process(BlockAlgo* blk, float** data_in, float** data_out);  // RT_OK
void State_Machine_Render(StateMachine_Core* core, float* data, float* out, int nBlockSize, float control);
int State_Machine_destroy(BlockAlgo* blk);  // null is ignored. RT_OK

LBX_END_C

#endif
