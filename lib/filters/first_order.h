// SPDX-License-Identifier: Apache-2.0
// First-order filter: one pole, one zero, the same response on every channel.
//
//   EN_FILTER_1ST   n in, n out   channels are independent
//
// Runs from creation on, with the defaults that Vantoro_block_info gives. Outputs may be the inputs' buffers.
#ifndef VANTORO_FILTERS_FIRST_ORDER_H
#define VANTORO_FILTERS_FIRST_ORDER_H

#include "../common/block_types.h"

LBX_BEGIN_C

// y[n] = b0 x[n] + b1 x[n-1] - a1 y[n-1]
typedef struct FirstOrder_Core {
    int enable;          // 0: output is a copy of the input
    int polarity;        // not 0: the output is negated; the state is not
    float* coeffArray;   // b0, b1, a1
    float* stateBuffer;  // one word per channel
} FirstOrder_Core;

enum Filter1stParam {
    kFilter1stEnable,    // flag
    kFilter1stPolarity,  // flag
    kFilter1stType,      // FIRST_ORDER_TYPE
    kFilter1stGainDB,    // dB -50..50: clamped, and the vector then holds what is used
    kFilter1stFc,        // Hz, not clamped
    kFilter1stBoostDB,   // dB -50..50, clamped likewise; read by the shelves only
    kFilter1stModuleSize
};

enum FIRST_ORDER_TYPE {
    LP1st,
    HP1st,
    AP1st,
    LS1st,
    HS1st
};

// Writes the three coefficients for entries 2 to 5 of `pParameter`, and the clamped gain and boost back into it; flags
// and state stay. A type outside FIRST_ORDER_TYPE is logged and ends the process, status -1.
void calculateFilter1stCoeffs(FirstOrder_Core* st, float* pParameter, int sampleRate);

// One channel, `tickSize` samples, with state word `i_channel`.
void FirstOrder_Render(FirstOrder_Core* FO_Core, float* buffer_in, float* buffer_out, int tickSize, int i_channel);

BlockAlgo* FirstOrder_init(int Input_pin, int Output_pin, BlockPro* block_pro,
                           int type);                   // null: wrong pins, no memory
int FirstOrder_param_set(BlockAlgo* blk, void* param);  // 6 floats; null applies the stored ones. Clears the state
int FirstOrder_param_update(BlockAlgo* blk);            // set without a vector
int FirstOrder_param_invoke(BlockAlgo* blk);            // logs enable, polarity and type
int FirstOrder_process(BlockAlgo* blk, float** data_in, float** data_out);
int FirstOrder_destroy(BlockAlgo* blk);  // null is ignored

LBX_END_C

#endif
