// SPDX-License-Identifier: Apache-2.0
// A constant: EN_SOURCE_DC, 0 in, n out.
#ifndef VANTORO_SOURCE_DC_INPUTENTRY_H
#define VANTORO_SOURCE_DC_INPUTENTRY_H

#include "source_types.h"

LBX_BEGIN_C

enum DCInputParam {
    kDCInputDecimal,  // the value
    kDCModuleSize
};

typedef struct DCInput_Core_S {
    char fixedpoint_format;  // 1; with the next two: the value as a Q8.24 number, for hosts that show it
    char integer_bit;        // 8
    char decimal_bit;        // 24
    float input_decimal;
    long input_hex;  // the bits of input_decimal
    int Out_NumChannel;
} DCInput_Core_S;

BlockAlgo* DCInputSource_Init(int Input_pin, int Output_pin, BlockPro* block_pro, int type);
spx_int32_t DCInputSource_ResetParam(BlockAlgo* blk, void* param);
spx_int32_t DCInputSource_Update(BlockAlgo* blk);
spx_int32_t DCInputSource_Invoke(BlockAlgo* blk);
spx_int32_t DCInputSource_ProcessAudioSample(BlockAlgo* blk, float** data_in, float** data_out);
spx_int32_t DCInputSource_Destroy(BlockAlgo* blk);

LBX_END_C

#endif
