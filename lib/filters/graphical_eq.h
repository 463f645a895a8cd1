// SPDX-License-Identifier: Apache-2.0
// Graphical equaliser: as many bands as the host likes, one after another, the same on every channel.
//
//   EN_FILTER_GRAPHICAL_EQ   n in, n out   n >= 1; channels are independent
//
// Outputs may be the inputs' buffers. A bypassed band costs nothing.
#ifndef VANTORO_FILTERS_GRAPHICAL_EQ_H
#define VANTORO_FILTERS_GRAPHICAL_EQ_H

#include "../common/block_types.h"

LBX_BEGIN_C

// A host may change flags and coefficients of a block between two calls: the next one runs with them.
typedef struct GraphicalEQ_Core {
    int numFilter;       // bands; of a block as its vector says
    float* bypassFlags;  // per band; not 0: skipped, and its state stays
    float* coeffArray;   // 5 floats per band
    float* stateBuffer;  // channel c, band k: words 2 (c numFilter + k) and the next
} GraphicalEQ_Core;

// The vector: the number of bands, then kFilterParamSize floats per band; a new block has one band. A number below 1 is
// none: the block copies. Nothing is written back.
enum GraphicalEQParam {
    kNumFilter = 0,
    kFilterParamOffset = 1,
    kFilterFc = 0,   // Hz, not clamped
    kFilterBoostDB,  // dB -50..50; of low- and high-pass the gain of the pass band; types 5 to 8 do not read it
    kFilterQ,        // 0.01..16; of shelves the slope, 0.01..2; types 5 to 8 do not read it
    kFilterType,     // GRAPHICALEQ_FILTER_TYPE
    kFilterBypass,   // not 0: skipped
    kFilterParamSize
};

enum GRAPHICALEQ_FILTER_TYPE {
    GraphicalEQ_Param,  // peak
    GraphicalEQ_LS,
    GraphicalEQ_HS,
    GraphicalEQ_LP,
    GraphicalEQ_HP,
    GraphicalEQ_BUTTER_LP,
    GraphicalEQ_BUTTER_HP,
    GraphicalEQ_BESSEL_LP,
    GraphicalEQ_BESSEL_HP
};

// One band: 5 floats in FILTER_COEFF order. An unknown type is logged and ends the process, status -1.
void calculateEQCoeffs(float* coeffArray, float fs, int filterType, float fc, float Q, float boost);

BlockAlgo* GraphicalEQ_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type);  // null: pins, no memory
// Null designs the stored bands again. Clears the state. RT_OK, or RT_ERR_MALLOC and the old bands go on.
int GraphicalEQ_param_set(BlockAlgo* blk, float* param);
int GraphicalEQ_param_update(BlockAlgo* blk);  // set without a vector
int GraphicalEQ_param_invoke(BlockAlgo* blk);  // logs a title only
// One channel. The record may be a block's or one that the host filled; it is read at every call.
void GraphicalEQ_Render(GraphicalEQ_Core* core, float* buffer_in, float* buffer_out, int tickSize, int i_channel);
int GraphicalEQ_process(BlockAlgo* blk, float** data_in, float** data_out);
int GraphicalEQ_destroy(BlockAlgo* blk);  // null is ignored

LBX_END_C

#endif
