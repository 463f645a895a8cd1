// SPDX-License-Identifier: Apache-2.0
// A sine per pin whose frequency is read from the input of the same number, once per block: EN_SOURCE_VCO, n in, n out.
//
// A control of 1 means half the sampling rate. Below 0 it counts as 0, which holds the phase; from 1 on as 0.99; values
// between 0.99 and 1 are used as they are. An output without an input stays at frequency 0. There are no parameters:
// reset, update and print do nothing and return 0. Phases carry on from block to block.
#ifndef VANTORO_SOURCE_VCO_H
#define VANTORO_SOURCE_VCO_H

#include "source_types.h"

LBX_BEGIN_C

typedef struct VCO_Core_S {
    float* phi;               // rad, one per output pin
    float delta_time;         // s per sample
    float frequency_limited;  // Hz, half the sampling rate
    int Out_NumChannel;
} VCO_Core_S;

BlockAlgo* VCOSource_Init(int Input_pin, int Output_pin, BlockPro* block_pro, int type);
spx_int32_t VCOSource_ResetParam(BlockAlgo* blk, void* param);
spx_int32_t VCOSource_Update(BlockAlgo* blk);
spx_int32_t VCOSource_Invoke(BlockAlgo* blk);
spx_int32_t VCOSource_ProcessAudioSample(BlockAlgo* blk, float** data_in, float** data_out);
spx_int32_t VCOSource_Destroy(BlockAlgo* blk);

LBX_END_C

#endif
