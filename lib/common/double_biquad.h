// SPDX-License-Identifier: Apache-2.0
// A fourth-order recursive section in double precision, transposed direct form II:
//
//   H(z) = (b0 + b1 z^-1 + ... + b4 z^-4) / (1 + a1 z^-1 + ... + a4 z^-4)
//
// The a's have the sign of the denominator: the recursion subtracts them.
#ifndef VANTORO_COMMON_DOUBLE_BIQUAD_H
#define VANTORO_COMMON_DOUBLE_BIQUAD_H

#include "api.h"

LBX_BEGIN_C

// Unlike in Biquad, all feed-forward coefficients come first.
typedef enum DOUBLE_FILTER_COEFF {
    DOUBLE_BIQUAD_B0,
    DOUBLE_BIQUAD_B1,
    DOUBLE_BIQUAD_B2,
    DOUBLE_BIQUAD_B3,
    DOUBLE_BIQUAD_B4,
    DOUBLE_BIQUAD_A1,
    DOUBLE_BIQUAD_A2,
    DOUBLE_BIQUAD_A3,
    DOUBLE_BIQUAD_A4
} DOUBLE_FILTER_COEFF;

// The transposed form keeps its four delays in the first four registers; the others stay zero.
typedef enum DOUBLE_STATE_REG {
    DOUBLEBIQUAD_X_Z1,
    DOUBLEBIQUAD_X_Z2,
    DOUBLEBIQUAD_X_Z3,
    DOUBLEBIQUAD_X_Z4,
    DOUBLEBIQUAD_Y_Z1,
    DOUBLEBIQUAD_Y_Z2,
    DOUBLEBIQUAD_Y_Z3,
    DOUBLEBIQUAD_Y_Z4
} DOUBLE_STATE_REG;

typedef struct DoubleBiquad {
    double* coeffArray;  // 9, owned
    double* stateArray;  // 8, owned
} DoubleBiquad;

DoubleBiquad* doubleBiquad_init(void);                 // zeroed, so silent; null when memory is short
DoubleBiquad* doubleBiquad_destroy(DoubleBiquad* st);  // null is ignored; returns null

// The others do not check `st`.
void doubleBiquad_reset(DoubleBiquad* st);                                  // clears the state
void doubleBiquad_setCoefficients(DoubleBiquad* st, const double* coeffs);  // copies nine and keeps the state
double doubleBiquad_processAudioSample(DoubleBiquad* st, double xn);

LBX_END_C

#endif
