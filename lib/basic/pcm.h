// SPDX-License-Identifier: Apache-2.0
// Samples of devices and files: interleaved frames of words from and to one buffer per channel. Writing clips at full
// scale, rounds to the nearest word (halves away from zero) and sends 0 for what is not a number. 1.0 is the largest
// positive word and -1.0 its negative, as in lbx_floats2bytes_datapoint (lbx_ulity.h), which wraps at 24 bits.
#ifndef VANTORO_BASIC_PCM_H
#define VANTORO_BASIC_PCM_H

#include "../common/api.h"

LBX_BEGIN_C

typedef enum VantoroPcm {
    VANTORO_PCM_S16,
    VANTORO_PCM_S24,     // three bytes
    VANTORO_PCM_S24_32,  // in the low three of four bytes; the highest repeats the sign, and is not read
    VANTORO_PCM_S32,
    VANTORO_PCM_FLOAT,  // 32-bit IEEE 754, neither clipped nor changed
    VANTORO_PCM_COUNT
} VantoroPcm;

// Bytes of one sample; 0: no such format.
int Vantoro_pcm_width(int format);

// `frame_count` frames of `channel_count` samples each, in `format`; big_endian 0: low byte first, else high byte
// first. channels[c] holds frame_count floats and shares no memory with `frames`. Neither allocates. RT_OK, or
// RT_ERR_VALUE for no such format; counts below 1 do nothing.
int Vantoro_pcm_read(const void* frames, float* const* channels, int channel_count, int frame_count, int format,
                     int big_endian);
int Vantoro_pcm_write(const float* const* channels, void* frames, int channel_count, int frame_count, int format,
                      int big_endian);

LBX_END_C

#endif
