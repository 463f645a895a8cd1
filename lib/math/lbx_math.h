// SPDX-License-Identifier: Apache-2.0
// Level and slew conversions, and complex arithmetic on pairs of floats (real part first). `out` may be an input too.
#ifndef VANTORO_MATH_LBX_MATH_H
#define VANTORO_MATH_LBX_MATH_H

#include "../common/api.h"

LBX_BEGIN_C

float LBX_ABSR(float a);  // |a|

// Linear gain of a level in dB, by a coarse exponential: -4 % to +2 % off (-0.35 to 0.17 dB); 0 dB gives 0.97100782.
float LBX_DB2Gain(float db);

// The one-pole factor alpha, g = alpha g + (1 - alpha) target, of a slew rate. Each step of the rate doubles the time
// constant, which is 0.0416 ms / blockSize at rate 1; applied once a block, that is 0.0416 ms. sampling_rate in Hz,
// blockSize in samples.
float SlewAlphaGet(float slewRate, float sampling_rate, float blockSize);

float MultiC1(const float* in_1, const float* in_2, float* out);     // in_1 in_2; returns the real part
void MultiC2(const float* in_1, float in_2, float* out);             // in_1 scaled
void ConjMultiC(const float* in_1, const float* in_2, float* out);   // in_1 conj(in_2)
void ConjMultiC1(const float* in_1, const float* in_2, float* out);  // conj(in_1) in_2
float MultiAddC1(const float* in_1, const float* in_2,
                 float* out);                                    // out += in_1 in_2; returns the product's real part
void MinusC1(const float* in_1, const float* in_2, float* out);  // in_1 - in_2
void AddC1(const float* in_1, const float* in_2, float* out);    // in_1 + in_2
float PowC1(const float* in_1);                                  // squared magnitude
float ABSC1(const float* in_1);                                  // magnitude, relative error 5e-6

// in_1 / in_2; returns the real part. A divisor of squared magnitude below 1e-10 gives 0.
float DivC1(const float* in_1, const float* in_2, float* out);

LBX_END_C

#endif
