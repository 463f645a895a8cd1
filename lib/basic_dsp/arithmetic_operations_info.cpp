// SPDX-License-Identifier: Apache-2.0
#include "arithmetic_operations_info.h"

#include "../framework/info_list.h"

namespace {

using namespace lbx::arithmetic;

static_assert(std::size(kSmootherLayout) == kBasicRMSModuleSize);

constexpr VantoroPin kReset[] = {control(0, "reset", "clears the sums while not 0, sample by sample")};

constexpr InfoRow kRows[] = {
    LBX_TYPE(BASIC_ARITH_ABS, kBasic, "absolute value", kSame),
    LBX_TYPE(BASIC_ARITH_INV_SQRT, kBasic, "1 / square root; 0 for inputs up to 0", kSame),
    LBX_TYPE(BASIC_ARITH_EXP2, kBasic, "2 to the power of the input, -4 % to +2 % off", kSame),
    LBX_TYPE(BASIC_ARITH_LOG2, kBasic, "logarithm to base 2, within 0.0014, of inputs above 0", kSame),
    LBX_TYPE(BASIC_ARITH_LOG10, kBasic, "logarithm to base 10, within 0.0005, of inputs above 0", kSame),
    LBX_TYPE(BASIC_ARITH_SQRT, kBasic, "square root; not a number for inputs below 0", kSame),
    LBX_TYPE(BASIC_ARITH_DIV, kBasic, "quotient of each pair of inputs; 0 where either is 0", kPairs),
    LBX_TYPE(BASIC_ARITH_MUL, kBasic, "product of each pair of inputs", kPairs),
    LBX_TYPE(BASIC_ARITH_INVERT, kBasic, "opposite sign", kSame).linear(invert_model),
    LBX_TYPE(BASIC_ARITH_ADD, kBasic, "sum of the inputs", kToOne).linear(sum_model),
    LBX_TYPE(BASIC_ARITH_SUB, kBasic, "the first input less the others", kToOne).linear(sum_model),
    LBX_TYPE(BASIC_ARITH_RMS, kBasic, "running average of the magnitude", kSame)
        .params(kSmootherLayout, VANTORO_KEEPS)
        .traits(VANTORO_DENORMALS),
    LBX_TYPE(BASIC_ARITH_SUMMAT, kBasic, "running sum", kControlled).pins(kReset),
    LBX_TYPE(BASIC_ARITH_SQUARE_SUMMAT, kBasic, "running sum of squares", kControlled).pins(kReset),
};

constexpr InfoRow kPolynomialRows[] = {
    LBX_TYPE(BASIC_POLY, kBasic, "polynomial of the input", kSame).params(kPolynomialLayout, VANTORO_KEEPS),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kArithmeticInfo = kRows;
constinit const lbx::info::InfoRows lbx::info::kPolynomialInfo = kPolynomialRows;  // its code stands apart
