// SPDX-License-Identifier: Apache-2.0
// Text equaliser: as many bands as the host likes, one after another, the same on every channel; each with a gain of
// its own.
//
//   EN_FILTER_TEXTEQ   n in, n out   channels are independent
//
// Outputs may be the inputs' buffers. A disabled band costs nothing.
#ifndef VANTORO_FILTERS_TEXT_EQ_H
#define VANTORO_FILTERS_TEXT_EQ_H

#include "../common/block_types.h"

LBX_BEGIN_C

// A host may change flags and coefficients of a block between two calls: the next one runs with them.
typedef struct TextEQ_Core {
    int numFilter;       // bands; of a block as its vector says
    float* enableFlags;  // per band; 0: skipped, and its state stays
    float* coeffArray;   // 5 floats per band
    float* stateBuffer;  // channel c, band k: words 2 (c numFilter + k) and the next
} TextEQ_Core;

// The vector: the number of bands, then kTextFilterParamSize floats per band; a new block has one band. A number below
// 1 is none: the block copies. Nothing is written back.
enum TextEQParam {
    kTextNumFilter = 0,
    kTextFilterParamOffset = 1,
    kTextFilterEnable = 0,  // not 0: runs
    kTextFilterPolarity,    // stored, without effect on the signal
    kTextFilterFilterType,  // TEXT_FILTER_TYPE
    kTextFilterBoostDB,     // dB -50..50; of low- and high-pass the gain of the pass band
    kTextFilterFreq,        // Hz, not clamped
    kTextFilterQ_Slp,       // Q 0.01..16, slope of shelves 0.01..2, bandwidth in octaves 0.01..11
    kTextFilterGainDB,      // dB, not clamped; scales the band
    kTextFilterParamSize
};

enum TEXT_FILTER_TYPE {
    Text_Param,  // peak
    Text_LS2nd,
    Text_HS2nd,
    Text_LP,
    Text_HP,
    Text_BP,  // by bandwidth
    Text_BS,  // by bandwidth
    Text_APF,
    Text_Peaking,  // a band-pass of gain 1, by Q
    Text_Notch,
    Text_LS1st,
    Text_HS1st
};

// One band: 5 floats in FILTER_COEFF order. An unknown type is logged and ends the process, status -1.
void calculateTextEQCoeffs(float* coeffArray, float fs, int filterType, float fc, float Q, float boost, float gainDB);

BlockAlgo* TextEQ_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type);  // null: wrong pins, no memory
// Null designs the stored bands again. Clears the state. RT_OK, or RT_ERR_MALLOC and the old bands go on.
int TextEQ_param_set(BlockAlgo* blk, float* param);
int TextEQ_param_update(BlockAlgo* blk);  // set without a vector
int TextEQ_param_invoke(BlockAlgo* blk);  // logs a title only
// One channel. The record may be a block's or one that the host filled; it is read at every call.
void TextEQ_Render(TextEQ_Core* core, float* buffer_in, float* buffer_out, int tickSize, int i_channel);
int TextEQ_process(BlockAlgo* blk, float** data_in, float** data_out);
int TextEQ_destroy(BlockAlgo* blk);  // null is ignored

LBX_END_C

#endif
