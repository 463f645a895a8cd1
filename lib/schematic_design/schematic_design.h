// SPDX-License-Identifier: Apache-2.0
// Clippers, the channel copy, and the response check for design tools.
//
//   EN_NLP_CLIPPERS_HARD   n + 2 in, n out   pin 0: upper limit, pin 1: lower limit, sample by sample
//   EN_NLP_CLIPPERS_SOFT   n in,     n out   cubic curve with one parameter
//   EN_NLP_CHANNEL_COPY    1 in,     n out
//
// Full scale is 1.0. A soft clipper and a copy may work in place; a hard clipper's outputs may share memory with its
// data pins, not with its limits.
#ifndef VANTORO_SCHEMATIC_DESIGN_SCHEMATIC_DESIGN_H
#define VANTORO_SCHEMATIC_DESIGN_SCHEMATIC_DESIGN_H

#include "../common/block_types.h"

LBX_BEGIN_C

// The soft clipper's vector; the other two types have none.
enum NLPParam {
    kNLPAlpha,  // [0.5] the level at which the curve ends; not clamped; 0 silences
    kNLPModuleSize
};

typedef struct NLP_Core {
    float alpha;
} NLP_Core;

BlockAlgo* Nlp_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type);  // null: wrong type, pins, no memory
int Nlp_param_set(BlockAlgo* blk, void* param);  // null applies the stored vector again. Always 0
int Nlp_param_update(BlockAlgo* blk);            // Nlp_param_set without a vector
int Nlp_param_invoke(BlockAlgo* blk);
int Nlp_process(BlockAlgo* blk, float** data_in, float** data_out);  // always 0
int Nlp_destroy(BlockAlgo* blk);                                     // null is ignored

// The blocks' work, for direct use. `Out_bitPerSample` is not used: all samples are full-scale floats. The hard clipper
// counts its two limits in `input_pin`: data pins are buffer_in[2] on, output pin k belongs to data pin k + 2, and
// below three pins it does nothing.
void HardClip_Controll(float** buffer_in, float** buffer_out, float* aBuffer_ext, float* aBuffer_ext2, int input_pin,
                       int nBlocksize, int Out_bitPerSample);  // upper limit, lower limit
int HardClip_Controll_Quick(float** buffer_in, float** buffer_out, int input_pin, int nBlocksize,
                            int Out_bitPerSample);  // limits from buffer_in[0] and [1]; 0
void SoftClip_Cal(float** buffer_in, float** buffer_out, int input_pin, float alpha, int nBlocksize,
                  int Out_bitPerSample);
void SoftClip_Controll(NLP_Core* core, float** buffer_in, float** buffer_out, int input_pin, int nBlocksize,
                       int Out_bitPerSample);
int SoftClip_Controll_Quick(float** buffer_in, float** buffer_out, int input_pin, float alpha, int nBlocksize,
                            int Out_bitPerSample);  // 0
void ChannelCopy(float* buffer_in, float** buffer_out, int output_pin, int nBlocksize);

LBX_END_C

#endif
