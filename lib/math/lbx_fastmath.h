// SPDX-License-Identifier: Apache-2.0
// Cheap stand-ins for libm on the sample path. Angles are in radians. No argument is checked.
#ifndef VANTORO_MATH_LBX_FASTMATH_H
#define VANTORO_MATH_LBX_FASTMATH_H

#include "../common/api.h"

LBX_BEGIN_C

void lbx_logtab_init(void);  // does nothing: the logarithm's table is constant data

// By table, 1024 entries per octave, not interpolated: up to 0.0014 below log2(x). x must be positive and normal.
float lbx_fast_log2(float x);

// angle >= -2 pi; smaller ones are not brought into range. Absolute error 1.7e-4 (sine), 1.2e-3 (cosine).
float lbx_fast_sin(float angle);
float lbx_fast_cos(float angle);

// Absolute error 2e-5. Between 3/4 pi and pi the result is the true angle minus 2 pi: the same direction.
float lbx_fast_atan2(float y, float x);

float lbx_fast_invsqrtf(float x);    // x > 0; relative error 0.18 %
float lbx_fast_sqrtf(float number);  // relative error 5e-6; 0 gives 0

LBX_END_C

#endif
