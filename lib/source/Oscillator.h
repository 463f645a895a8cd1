// SPDX-License-Identifier: Apache-2.0
// Fixed waveforms: 0 in, n out, full scale.
//
//   EN_SOURCE_OSC_SINE, _BEEQ   sine, within 1.7e-4
//   EN_SOURCE_OSC_SAWTOOTH      from -1 up to 1
//   EN_SOURCE_OSC_SQUARE        1 in the first half of the period, then -1
//   EN_SOURCE_OSC_TRIANGLE      from -1 up to 1 and back
//
// Sawtooth, square and triangle are not band-limited. The phase runs on while the switch is off.
#ifndef VANTORO_SOURCE_OSCILLATOR_H
#define VANTORO_SOURCE_OSCILLATOR_H

#include "source_types.h"

LBX_BEGIN_C

enum OSCParam {
    kOSCSwitch,
    kOSCFrequency,  // Hz, 0 .. half the sampling rate
    kOSCModuleSize
};

typedef struct OSC_Core_S {
    float Freqency;
    float phi;        // rad, 0 .. 2 pi
    float delta_phi;  // rad per sample
    int Switch;
    int Out_NumChannel;
} OSC_Core_S;

BlockAlgo* OscillatorSource_Init(int Input_pin, int Output_pin, BlockPro* block_pro, int type);
spx_int32_t OscillatorSource_ResetParam(BlockAlgo* blk, void* param);
spx_int32_t OscillatorSource_Update(BlockAlgo* blk);
spx_int32_t OscillatorSource_Invoke(BlockAlgo* blk);
spx_int32_t OscillatorSource_ProcessAudioSample(BlockAlgo* blk, float** data_in, float** data_out);
spx_int32_t OscillatorSource_Destroy(BlockAlgo* blk);

LBX_END_C

#endif
