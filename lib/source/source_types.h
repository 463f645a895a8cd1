// SPDX-License-Identifier: Apache-2.0
// What the sources share. A source makes one signal and writes it to all its output pins (the VCO: one per pin). Every
// source has the same six functions:
//
//   _Init(Input_pin, Output_pin, pro, type)    null when memory is short; pins and type are not checked
//   _ResetParam(blk, param)                    copies the vector (null: keeps the stored one) and restarts the waveform
//   _Update(blk)                               recomputes from the stored vector and restarts the waveform
//   _Invoke(blk)                               prints; a null block prints nothing
//   _ProcessAudioSample(blk, in, out)          0
//   _Destroy(blk)                              null is ignored
//
// Nothing is clamped unless a header says so. Reset and update return RT_ERR_NULL_PTR for a null block. Defaults and
// ranges: Vantoro_block_info.
#ifndef VANTORO_SOURCE_SOURCE_TYPES_H
#define VANTORO_SOURCE_SOURCE_TYPES_H

#include "../common/block_types.h"

LBX_BEGIN_C

typedef int spx_int32_t;  // a result code

// The entry called "switch" in several vectors; any value but 0 is on.
typedef enum SWITCH_STATUS {
    SOURCE_SWITCH_OFF = 0,
    SOURCE_SWITCH_ON = 1
} SWITCH_STATUS;

LBX_END_C

#endif
