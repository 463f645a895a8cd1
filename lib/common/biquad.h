// SPDX-License-Identifier: Apache-2.0
// A recursive section in single precision, transposed direct form II, run as second or as first order:
//
//   H(z) = (b0 + b1 z^-1 + b2 z^-2) / (1 + a1 z^-1 + a2 z^-2)
//
// a1 and a2 have the sign of the denominator: the recursion subtracts them.
#ifndef VANTORO_COMMON_BIQUAD_H
#define VANTORO_COMMON_BIQUAD_H

#include "api.h"

LBX_BEGIN_C

// The order of coefficients everywhere in the library. Feedback and feed-forward are interleaved.
typedef enum FILTER_COEFF {
    BIQUAD_B0,
    BIQUAD_B1,
    BIQUAD_A1,
    BIQUAD_B2,
    BIQUAD_A2
} FILTER_COEFF;

// The transposed form keeps its two delays in the first two registers; the others stay zero.
typedef enum STATE_REG {
    BIQUAD_X_Z1,
    BIQUAD_X_Z2,
    BIQUAD_Y_Z1,
    BIQUAD_Y_Z2
} STATE_REG;

// Names of the two forms, for designers. Sections compute the transposed one only.
typedef enum CALC_TYPE {
    kDirect,
    kTransposeCanonical
} CALC_TYPE;

typedef struct Biquad {
    float* coeffArray;  // 5, owned
    float* stateArray;  // 4, owned
} Biquad;

Biquad* biquad_init(void);           // zeroed, so silent until it has coefficients; null when memory is short
Biquad* biquad_destroy(Biquad* st);  // null is ignored; returns null

// The others do not check `st`.
void biquad_reset(Biquad* st);                                 // clears the state
void biquad_setCoefficients(Biquad* st, const float* coeffs);  // copies five and keeps the state
float biquad_processAudioSample(Biquad* st, float xn);         // second order
float biquad_1st_processAudioSample(Biquad* st, float xn);     // b0, b1, a1 and the first register only

LBX_END_C

#endif
