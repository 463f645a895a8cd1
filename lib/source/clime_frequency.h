// SPDX-License-Identifier: Apache-2.0
// A tone that follows breakpoints: EN_SOURCE_CLIME, 0 in, n out. Frequency and level (in dB) run in straight lines from
// point to point; from the maximum time on the tone of the last point goes on. The first point lies at 0 ms.
//
// The vector contains its arrays: three entries hold the index, within the same vector, of each array's first element.
// A reset copies the arrays to the end of the stored vector, one after another, and sets the three entries to
// where they are there; an update takes them over from there again. An index that is negative, or past the stored
// vector, is logged, and the block keeps the whole table it had. Lengths are clamped to 0 .. 15 and logged; without
// points there is silence.
#ifndef VANTORO_SOURCE_CLIME_FREQUENCY_H
#define VANTORO_SOURCE_CLIME_FREQUENCY_H

#include "source_types.h"

LBX_BEGIN_C

enum ClimeParam {
    kClimeArrayLength,     // number of points
    kClimeMaxTime,         // ms
    kClimeTimeArray,       // index of the times, ms
    kClimeFrequencyArray,  // index of the frequencies, Hz
    kClimeGainArray,       // index of the gains, dB
    kClimeSwitch,
    kClimeModuleSize
};

enum {
    kClimeCapacity = 15  // points
};

typedef struct Clime_Core_S {
    int Switch;
    float time_array[kClimeCapacity];
    float frequency_array[kClimeCapacity];
    float gain_array[kClimeCapacity];
    float array_length;
    float maximum_time;
    int maximum_sample;
    int sample_index;  // samples since the start; never wraps
    int time_index;    // the point before sample_index
    float phi;         // rad
    float delta_time;  // s per sample
    int Out_NumChannel;
} Clime_Core_S;

BlockAlgo* ClimeFrequencySource_Init(int Input_pin, int Output_pin, BlockPro* block_pro, int type);
spx_int32_t ClimeFrequencySource_ResetParam(BlockAlgo* blk, void* param);
spx_int32_t ClimeFrequencySource_Update(BlockAlgo* blk);
spx_int32_t ClimeFrequencySource_Invoke(BlockAlgo* blk);
spx_int32_t ClimeFrequencySource_ProcessAudioSample(BlockAlgo* blk, float** data_in, float** data_out);
spx_int32_t ClimeFrequencySource_Destroy(BlockAlgo* blk);

LBX_END_C

#endif
