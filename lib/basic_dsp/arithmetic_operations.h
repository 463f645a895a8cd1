// SPDX-License-Identifier: Apache-2.0
// Arithmetic on pins, sample by sample.
//
//   EN_BASIC_ARITH_ABS .. _SQRT, _INVERT      n in, n out
//   EN_BASIC_ARITH_DIV, _MUL                  2n in, n out     output j from inputs 2j and 2j + 1
//   EN_BASIC_ARITH_ADD, _SUB                  n in, 1 out
//   EN_BASIC_ARITH_RMS                        n in, n out
//   EN_BASIC_ARITH_SUMMAT, _SQUARE_SUMMAT     n + 1 in, n out  pin 0 clears the sums while it is not exactly 0
//   EN_BASIC_POLY                             n in, n out
//
// All functions return RT_OK unless they say otherwise, and do nothing for no pins or no samples. Outputs may be
// written over inputs of their own index; over a pin that clears, only where there is one output.
#ifndef VANTORO_BASIC_DSP_ARITHMETIC_OPERATIONS_H
#define VANTORO_BASIC_DSP_ARITHMETIC_OPERATIONS_H

#include "../common/block_types.h"

LBX_BEGIN_C

// Without state: chanNum input pins of `size` samples each.
int Basic_Arith_Abs(int chanNum, int size, float** xn, float** yn);            // |x|
int Basic_Arith_InvSquareRoot(int chanNum, int size, float** xn, float** yn);  // 1 / sqrt(x); 0 for x <= 0
int Basic_Arith_Exp2(int chanNum, int size, float** xn, float** yn);           // 2^x, up to 3 % off; 2^0 is 0.97100782
int Basic_Arith_Log2(int chanNum, int size, float** xn, float** yn);           // lbx_fast_log2: x positive and normal
int Basic_Arith_Log10(int chanNum, int size, float** xn, float** yn);          // as above, times log10(2)
int Basic_Arith_SquareRoot(int chanNum, int size, float** xn, float** yn);     // NaN for x < 0
int Basic_Arith_Divide(int chanNum, int size, float** xn, float** yn);         // 0 where either operand is exactly 0
int Basic_Arith_Multiply(int chanNum, int size, float** xn, float** yn);
int Basic_Arith_Invert(int chanNum, int size, float** xn, float** yn);    // -x
int Basic_Arith_Add(int chanNum, int size, float** xn, float** yn);       // x0 + x1 + ...
int Basic_Arith_Subtract(int chanNum, int size, float** xn, float** yn);  // x0 - x1 - ...

// The inits below take a record without state (pins, context and type are set) and hang theirs on it: RT_ERR_MALLOC and
// nothing hung when memory is short. The destroys free that state, not the record. Process without state does nothing
// and returns RT_ERR_NULL_PTR, as do the sets.

// Smoothed level: a one-pole average of the magnitude (not of the square, whatever its name) on every pin.
enum BasicRMSParam {
    kBasicRMSTime,    // [121]  1 .. 8686, clamped: time constant in ms, or a rate in dB/s
    kBasicRMSIsDbPs,  // [0]    flag: the time is a rate in dB/s
    kBasicRMSModuleSize
};

typedef struct RmsWithTcSt {
    float* oldVal;   // the level of every input pin, owned
    float rms_rate;  // smoothing factor
} RmsWithTcSt;

int Basic_Arith_RmsWithTcInit(BlockAlgo* blk);
int Basic_Arith_RmsWithTcSetParam(BlockAlgo* blk, float* param);  // null derives the factor from the stored values
int Basic_Arith_RmsWithTcProcess(BlockAlgo* blk, float** xn, float** yn);
int Basic_Arith_RmsWithTcDestroy(BlockAlgo* blk);  // RT_ERR_NULL_PTR when part of the state is missing

// Running sums, which no parameter touches: never scaled, never limited. AlgoCore is one float per input pin.
int Basic_Arith_SummationInit(BlockAlgo* blk);  // RT_ERR_NULL_PTR when memory is short
int Basic_Arith_SummationProcess(BlockAlgo* blk, float** xn, float** yn);
int Basic_Arith_SquareSummationProcess(BlockAlgo* blk, float** xn, float** yn);
int Basic_Arith_SummationDestroy(BlockAlgo* blk);

// Polynomial c0 + c1 x + c2 x^2 + ...: vector[0] is the number N of coefficients, clamped to 2 .. 10000; then N
// coefficients. Default: 3; 1, 0, 0. The block keeps N in pParam and the coefficients in pState.
int Basic_Polynomial_Init(BlockAlgo* blk);
int Basic_Polynomial_SetParam(BlockAlgo* blk, float* param);  // RT_ERR_MALLOC leaves the old polynomial in force
int Basic_Polynomial_Process(BlockAlgo* blk, float** xn, float** yn);
int Basic_Polynomial_Destroy(BlockAlgo* blk);  // RT_ERR_NULL_PTR when pParam is missing

LBX_END_C

#endif
