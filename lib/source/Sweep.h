// SPDX-License-Identifier: Apache-2.0
// Exponential sine sweep: EN_SOURCE_SWEEP, 0 in, n out. The frequency is start * (end / start)^(t / sweep time), so
// that every octave takes the same time: A. Farina, "Simultaneous Measurement of Impulse Response and Distortion with a
// Swept-Sine Technique". Each repetition lasts the longer of sweep and repeat time, holding the end frequency after the
// sweep; after the last one the output is silent until the next reset or update.
#ifndef VANTORO_SOURCE_SWEEP_H
#define VANTORO_SOURCE_SWEEP_H

#include "source_types.h"

LBX_BEGIN_C

enum SweepParam {
    kSweepStartFreq,      // Hz, above 0
    kSweepEndFreq,        // Hz, above 0
    kSweepRepeatCounter,  // sweeps to play; 0 is silence
    kSweepSweepTime,      // s
    kSweepPhaseInc,       // rad, phase at the start of each sweep
    kSweepRepeatTime,     // s, period of the sweeps
    kSweepPeak,           // linear amplitude
    kSweepSwitch,
    kSweepModuleSize
};

typedef struct Sweep_Core_S {
    float start_freq, end_freq;
    float repeat_counter;  // sweeps left
    float sweep_time, phase_inc, repeat_time, peak;
    int sweep_point, repeat_point;  // samples
    int count;                      // samples since this sweep began
    double phi;                     // rad, never wrapped
    double delta_time;              // s per sample
    double k;                       // frequency growth per second
    double p;                       // rad; phi + p grows by k per second
    double k_deltaTime_power;       // frequency growth per sample
    double frequency_limited;       // 96000; carried only
    int Switch;
    int Out_NumChannel;
} Sweep_Core_S;

BlockAlgo* SweepSource_Init(int Input_pin, int Output_pin, BlockPro* block_pro, int type);
spx_int32_t SweepSource_ResetParam(BlockAlgo* blk, void* param);
spx_int32_t SweepSource_Update(BlockAlgo* blk);
spx_int32_t SweepSource_Invoke(BlockAlgo* blk);
spx_int32_t SweepSource_ProcessAudioSample(BlockAlgo* blk, float** data_in, float** data_out);
spx_int32_t SweepSource_Destroy(BlockAlgo* blk);

LBX_END_C

#endif
