// SPDX-License-Identifier: Apache-2.0
// FIR filter in direct form; the host supplies the taps.
//
//   EN_FILTER_FIR   n in, n out   the same taps on every channel
//
// Outputs may be the inputs' buffers. A channel costs taps x block multiply-adds, so hundreds of taps are cheap and
// thousands are not.
#ifndef VANTORO_FILTERS_FIR_H
#define VANTORO_FILTERS_FIR_H

#include "../common/block_types.h"
#include "../common/circular_buffer.h"

LBX_BEGIN_C

// y[n] = c0 x[n] + c1 x[n-1] + ... , summed in this order in single precision, each product fused to the sum.
typedef struct FIR_Core {
    int fir_len;                  // taps
    float* coeffs;                // the taps: the vector from its second entry on
    CircularBuffer** databuffer;  // one line per channel, at least fir_len long: the past inputs
} FIR_Core;

// Vector: the number of taps, then the taps; a new block copies. A number below 1 is logged and ends the process,
// status -1.
BlockAlgo* FIR_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type);  // null: wrong pins, no memory

// Takes over the taps. A new number of taps starts the channels from silence; the old number keeps their past. Null
// does nothing. RT_OK, or RT_ERR_MALLOC and the old filter goes on.
int FIR_param_set(BlockAlgo* blk, float* param);
int FIR_param_update(BlockAlgo* blk);  // does nothing, also after the stored vector was edited
int FIR_param_invoke(BlockAlgo* blk);  // logs the taps
// One channel. The record may be a block's or one that the host filled; it is read at every call.
void FIR_Render(FIR_Core* core, float* buffer_in, float* buffer_out, int tickSize, int i_channel);
int FIR_process(BlockAlgo* blk, float** data_in, float** data_out);
int FIR_destroy(BlockAlgo* blk);  // null is ignored

LBX_END_C

#endif
