// SPDX-License-Identifier: Apache-2.0
// A whole number as a signal: EN_SOURCE_SWITCH, 0 in, n out.
#ifndef VANTORO_SOURCE_SWITCH_H
#define VANTORO_SOURCE_SWITCH_H

#include "source_types.h"

LBX_BEGIN_C

enum SwitchParam {
    kSwitchValue,  // truncated toward zero
    kSwitchModuleSize
};

typedef struct Switch_Core_S {
    int switch_value;
    int Out_NumChannel;
} Switch_Core_S;

BlockAlgo* SwitchSource_Init(int Input_pin, int Output_pin, BlockPro* block_pro, int type);
spx_int32_t SwitchSource_ResetParam(BlockAlgo* blk, void* param);
spx_int32_t SwitchSource_Update(BlockAlgo* blk);
spx_int32_t SwitchSource_Invoke(BlockAlgo* blk);
spx_int32_t SwitchSource_ProcessAudioSample(BlockAlgo* blk, float** data_in, float** data_out);
spx_int32_t SwitchSource_Destroy(BlockAlgo* blk);

LBX_END_C

#endif
