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
// All functions return RT_OK unless they say otherwise, and do nothing without pins or samples. An output may be
// written over the input of its own index; over the clearing pin only if it is the one output. Defaults and ranges:
// Vantoro_block_info.
#ifndef VANTORO_BASIC_DSP_ARITHMETIC_OPERATIONS_H
#define VANTORO_BASIC_DSP_ARITHMETIC_OPERATIONS_H

#include "../common/block_types.h"

LBX_BEGIN_C

// Without state: chanNum input pins of `size` samples each.
int Basic_Arith_Abs(int chanNum, int size, float** xn, float** yn);            // |x|
int Basic_Arith_InvSquareRoot(int chanNum, int size, float** xn, float** yn);  // 1 / sqrt(x); 0 for x <= 0
int Basic_Arith_Exp2(int chanNum, int size, float** xn, float** yn);        // 2^x, -4 % to +2 % off; 2^0 is 0.97100782
int Basic_Arith_Log2(int chanNum, int size, float** xn, float** yn);        // lbx_fast_log2: x positive and normal
int Basic_Arith_Log10(int chanNum, int size, float** xn, float** yn);       // as above, times log10(2)
int Basic_Arith_SquareRoot(int chanNum, int size, float** xn, float** yn);  // NaN for x < 0
int Basic_Arith_Divide(int chanNum, int size, float** xn, float** yn);      // 0 where either operand is exactly 0
int Basic_Arith_Multiply(int chanNum, int size, float** xn, float** yn);
int Basic_Arith_Invert(int chanNum, int size, float** xn, float** yn);    // -x
int Basic_Arith_Add(int chanNum, int size, float** xn, float** yn);       // x0 + x1 + ...
int Basic_Arith_Subtract(int chanNum, int size, float** xn, float** yn);  // x0 - x1 - ...

// The inits below take a record that has pins, context and type, and add their state to it: RT_ERR_MALLOC, and nothing
// added, when memory is short. The destroys free that state, not the record. Process and set without state do nothing
// and return RT_ERR_NULL_PTR.

// Smoothed level: a one-pole average of the magnitude (despite the name, not of the square) on every pin.
enum BasicRMSParam {
    kBasicRMSTime,  // clamped; in ms, twice the time constant; or in dB/s, the fall in silence in 10 log10 of the level
    kBasicRMSIsDbPs,  // flag: the time is in dB/s
    kBasicRMSModuleSize
};

typedef struct RmsWithTcSt {
    float* oldVal;   // the level of every input pin, owned
    float rms_rate;  // smoothing factor
} RmsWithTcSt;

int Basic_Arith_RmsWithTcInit(BlockAlgo* blk);
int Basic_Arith_RmsWithTcSetParam(BlockAlgo* blk, float* param);  // null: the stored values again
int Basic_Arith_RmsWithTcProcess(BlockAlgo* blk, float** xn, float** yn);
int Basic_Arith_RmsWithTcDestroy(BlockAlgo* blk);  // RT_ERR_NULL_PTR when part of the state is missing

// Running sums without parameters, never scaled, never limited. AlgoCore is one float per input pin.
int Basic_Arith_SummationInit(BlockAlgo* blk);  // RT_ERR_NULL_PTR when memory is short
int Basic_Arith_SummationProcess(BlockAlgo* blk, float** xn, float** yn);
int Basic_Arith_SquareSummationProcess(BlockAlgo* blk, float** xn, float** yn);
int Basic_Arith_SummationDestroy(BlockAlgo* blk);

// Polynomial c0 + c1 x + c2 x^2 + ...: vector[0] is the number N of coefficients, clamped; then N coefficients. The
// block keeps N in pParam and the coefficients in pState.
int Basic_Polynomial_Init(BlockAlgo* blk);
int Basic_Polynomial_SetParam(BlockAlgo* blk, float* param);  // RT_ERR_MALLOC leaves the old polynomial in force
int Basic_Polynomial_Process(BlockAlgo* blk, float** xn, float** yn);
int Basic_Polynomial_Destroy(BlockAlgo* blk);  // RT_ERR_NULL_PTR when pParam is missing

LBX_END_C

#endif
