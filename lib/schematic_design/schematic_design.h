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

// The response check: what filter blocks do to level and phase, from the coefficients they hold, as tab-separated text
// for a spreadsheet. For design tools, not for the audio thread. Rows are grid frequencies from 0 Hz in steps of the
// resolution up to below half of `In_sampleRate`, which need not be the blocks' own rate. Levels are in dB, phases in
// degrees within -180 .. 180; enable and polarity flags do not count.
//
// Evaluated with the fast functions of lbx_fastmath.h, whose cosine is that of a frequency up to 0.1 % off: away
// from notches a section is within 0.06 dB and 0.4 degrees of its exact response up to Q 0.7, within 0.12 dB and 0.8
// degrees up to Q 2, and within 1 dB and 7 degrees for a peak of 20 dB and Q 16.
//
// Files are written to the current directory. Result: 0, also for a wrong type, which is logged; 1, logged, when the
// file cannot be opened or written; RT_ERR_MALLOC, and RT_ERR_VALUE for a resolution that is not positive.

// "FilterCheck.xls": frequency, level and phase of `Band_Num` contiguous block records in series, optionally on top of
// a measured loudspeaker. EN_FILTER_1ST, EN_FILTER_2ND_PARAM_SHELF to _FIRSTORDERS and EN_FILTER_FIR count; any other
// block, EN_FILTER_2ND_GENERAL included, is logged and left out, on purpose.
//
// Spk_File (null: none): two header lines, then at most 100 rows of frequency (Hz, ascending), level and phase,
// separated by blanks. Rows that are not three numbers are left out; between rows and beyond the ends lines are
// straight. A file that cannot be opened, or has no rows, is logged and left out.
int filter_response_check(BlockAlgo* st_ptr, int Band_Num, int In_SampleRate, int resolution, const char* Spk_File);

// "LookupFilterCheck.xls": one level column per curve.
int LookupFilter_Response_Check(BlockAlgo* blk, int In_sampleRate, int Freqresol);

// "CrossoverFilterCheck.xls": the levels of low and high, or of low, high and mid.
int CrossoverFilter_Response_Check(BlockAlgo* blk, int In_sampleRate, int Freqresol);

// "MiscellFilterCheck.xls": level and phase of the DC blocker, or low, high and band of a state-variable filter.
// Opened, hence emptied, also for a wrong type.
int MiscellFilter_Response_Check(BlockAlgo* blk, int In_sampleRate, int Freqresol);

// One curve on a grid. Owned by the caller, with its arrays.
typedef struct FreqResponseState {
    float* freq;  // Hz
    float* mag;   // dB
    float* deg;
    float freq_resolution;
    int lens;
    int sample_rate;
} FreqResponseState;

// Several curves on one grid.
typedef struct Multi_FreqResponseState {
    float* freq;
    float** mag;  // [num_curves][lens]
    float** deg;
    float freq_resolution;
    int lens;
    int sample_rate;
    int num_curves;
} Multi_FreqResponseState;

// The grid with levels and phases of 0; null when memory is short or the resolution is not positive.
FreqResponseState* FreqResponse_param_Init(int In_sampleRate, float Freqresol);
void FreqResponse_Destroy(FreqResponseState* st);  // null is ignored
Multi_FreqResponseState* Multi_FreqResponse_param_Init(int In_sampleRate, int Freqresol, int num_curves);
void Multi_FreqResponse_Destroy(Multi_FreqResponseState* st);  // null is ignored

LBX_END_C

#endif
