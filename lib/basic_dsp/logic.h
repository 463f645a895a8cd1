// SPDX-License-Identifier: Apache-2.0
// Logic on control signals, sample by sample. True is any value but exactly 0, unless a block says otherwise.
//
//   EN_BASIC_LOGIC_ABSMAX, _MAX, _MIN                n in, 1 out
//   EN_BASIC_LOGIC_AB                                A, B in, 1 out
//   EN_BASIC_LOGIC_ABCD                              A, B, C, D in, 1 out
//   EN_BASIC_LOGIC_BUFFER_GATE, _ZERO_COMP           n in, n out
//   EN_BASIC_LOGIC_ONESHOT_FALL, _ONESHOT_RISE       signal in, 1 out
//   EN_BASIC_LOGIC_ONESHOT_FALLRST, _ONESHOT_RISERST  reset, signal in, 1 out
//   EN_BASIC_LOGIC_CALC                              A, B in, 1 out
//
// All functions return RT_OK, RT_ERR_NULL_PTR for a record without its state, or what they say. Outputs may be written
// over inputs. Defaults and ranges: Vantoro_block_info.
#ifndef VANTORO_BASIC_DSP_LOGIC_H
#define VANTORO_BASIC_DSP_LOGIC_H

#include "../common/block_types.h"

LBX_BEGIN_C

enum COMPARE_TYPE_ {
    COMPARE_GT,
    COMPARE_LT,
    COMPARE_GE,
    COMPARE_LE,
    COMPARE_EQ
};

enum LOGIC_TYPE_ {
    LOGIC_AND,
    LOGIC_NAND,
    LOGIC_OR,
    LOGIC_NOR,
    LOGIC_XOR
};

// The extreme over chanNum pins; of equal values that of the earlier pin. AbsMax compares and writes magnitudes.
int Basic_Logic_AbsMax(int chanNum, int size, float** xn, float** yn);
int Basic_Logic_Max(int chanNum, int size, float** xn, float** yn);
int Basic_Logic_Min(int chanNum, int size, float** xn, float** yn);

// The next five have one parameter, in pParam, which the category allocates.

// A where A compares with B as COMPARE_TYPE_ says, else B; ABCD: C, else D. AB with COMPARE_EQ is always B. An unknown
// comparison writes 0 and logs every sample.
int Basic_Logic_ABCondition(BlockAlgo* blk, float** xn, float** yn);
int Basic_Logic_ABCDCondition(BlockAlgo* blk, float** xn, float** yn);

// 2 to the power of the parameter (truncated, modulo 32) where the input is true, else 0.
int Basic_Logic_BufferGateProcess(BlockAlgo* blk, float** xn, float** yn);

// The parameter where the input is exactly 0, else 0.
int Basic_Logic_ZeroComparatorProcess(BlockAlgo* blk, float** xn, float** yn);

// A and B joined by LOGIC_TYPE_. A sample for which the rule yields nothing is not written:
//   AND   A where A equals B, else nothing
//   NAND  0 where A and B are both exactly 1, else 1
//   OR    A false: B where true, else nothing; A true: 1 where B is true, else A
//   NOR   1 where both are false, else nothing
//   XOR   the true one of a true and a false value, else nothing
// Any other operation writes nothing.
int Basic_Logic_LogicCalc(BlockAlgo* blk, float** xn, float** yn);

// One-shots: the output goes to the pulse value at the first edge (a fall to exactly 0, a rise from exactly 0) and
// stays there until the parameters are set again or, with a reset pin, until reset is true. The parameter is a bit,
// clamped to 0 .. 30. The pulse of bit 0, 1, 2, 3, 4 is 2, 4, 16, 256, 65536; above, it is 1.
int Basic_Logic_OneShotInit(BlockAlgo* blk);  // RT_ERR_MALLOC, and nothing added to the record, when memory is short
int Basic_Logic_OneShotSetParam(BlockAlgo* blk, float* param);  // clears the latch; null keeps the stored power
int Basic_Logic_OneShotProcess(BlockAlgo* blk, float** xn, float** yn);
int Basic_Logic_OneShotDestroy(BlockAlgo* blk);

LBX_END_C

#endif
