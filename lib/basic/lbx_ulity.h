// SPDX-License-Identifier: Apache-2.0
// PCM byte streams to and from sample buffers, and three small text helpers.
//
// Widths: 16 and 24 bits are converted; any other `bSamples` is raw, as each function says. Words are two's complement;
// a 24-bit word is three packed bytes. Byte order `bs`: 0 low byte first, 1 high byte first; with any other value
// nothing is written unless a function says so. Functions without `bs` are low byte first.
//
// Floats are scaled by 32767 (16 bits) or 8388607 (24 bits) in single precision both ways, so the most negative word is
// a little below -1. Float to word saturates at 32 bits (NaN is 0) and then keeps the low bits: unless a function says
// so nothing clips, and a sample beyond full scale wraps.
//
// Nothing is checked: buffers must hold what the counts imply. Counts of zero or less convert nothing; the result is
// then computed all the same. `in` and `out` may not overlap.
#ifndef VANTORO_BASIC_LBX_ULITY_H
#define VANTORO_BASIC_LBX_ULITY_H

#include "../common/api.h"

LBX_BEGIN_C

typedef unsigned char LBX_BYTE;

int lbx_bigorsmall(void);  // 0: the library runs on little-endian machines

// in_size samples; raw: each byte as 0 .. 255, unscaled. With any other byte order, 16 and 24 bits do not read `in`:
// they divide what `out` holds by the scale, which turns integer sample values into full scale 1.0. Returns in_size.
int lbx_bytes2floats(const LBX_BYTE* in, float* out, int in_size, int bSamples, int bs);

// in_size samples, truncated toward zero; raw: truncated to an unsigned integer (negative: 0), low byte kept. Returns
// the bytes of in_size samples at that width, also where nothing is written.
int lbx_floats2bytes(const float* in, LBX_BYTE* out, int in_size, int bSamples, int bs);

// in_size interleaved frames of `chan` samples to one buffer per channel (datapoint), or to one buffer that holds all
// of channel 0, then all of channel 1, ... (datastream). Raw as in lbx_bytes2floats. Both return in_size.
int lbx_bytes2floats_datapoint(const LBX_BYTE* in, float** out, int chan, int in_size, int bSamples);
int lbx_bytes2floats_datastream(const LBX_BYTE* in, float* out, int chan, int in_size, int bSamples);

// The reverse; both return the bytes written. Raw: the four bytes of the float. The datapoint form rounds to nearest,
// halves away from zero, and at 16 bits clips: |x| >= 1 becomes +-32767, and +-1.0 is written back into `in`, which
// then holds what was sent. The datastream form does neither, and reads channel c from c * in_size on.
int lbx_floats2bytes_datapoint(float** in, LBX_BYTE* out, int chan, int in_size, int bSamples);
int lbx_floats2bytes_datastream(const float* in, LBX_BYTE* out, int chan, int in_size, int bSamples);

// Integer forms, unscaled. 16 bits: the signed word (of an int, the low 16 bits). 24 bits: sign-extended ints; shorts
// are sent as the upper 16 of the 24 bits, but read like raw. Raw: each byte as 0 .. 255, and the low byte back.
// bytes2... return in_size, ...2bytes the bytes of in_size samples (and of all `ch` channels, interleaved).
int lbx_bytes2shorts(const LBX_BYTE* in, short* out, int in_size, int bSamples, int bs);
int lbx_shorts2bytes(const short* in, LBX_BYTE* out, int in_size, int bSamples, int bs);
int lbx_bytes2ints(const LBX_BYTE* in, int* out, int in_size, int bSamples, int bs);
int lbx_ints2bytes(const int* in, LBX_BYTE* out, int in_size, int bSamples, int bs);
int lbx_ints2bytes_ch(int** in, LBX_BYTE* out, int in_size, int bSamples, int bs, int ch);

// Decimal text with its terminating zero; `buffer` holds at least 12 bytes.
void lbx_itoa(int data, char* buffer);

// 'A' .. 'Z' to lower case in place, other bytes untouched. Returns s.
char* lbx_strlwr(char* s);

// "YYYY-MM-DD hh:mm:ss" (any single separators) in local standard time to seconds since the epoch; -1 when the C
// library cannot represent it. Missing trailing fields are 0.
long lbx_datestr2sec(const char* pszDate);

LBX_END_C

#endif
