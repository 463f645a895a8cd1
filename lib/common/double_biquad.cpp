// SPDX-License-Identifier: Apache-2.0
#include "double_biquad.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "../framework/new_block.h"

using namespace lbx;

namespace {
constexpr int kCoefficients = DOUBLE_BIQUAD_A4 + 1;
constexpr int kRegisters = DOUBLEBIQUAD_Y_Z4 + 1;
}  // namespace

DoubleBiquad* doubleBiquad_init(void)
{
    DoubleBiquad* st = nullptr;
    if (!zeros(st, 1))
        return nullptr;
    if (!zeros(st->coeffArray, kCoefficients) || !zeros(st->stateArray, kRegisters))
        return doubleBiquad_destroy(st);
    return st;
}

DoubleBiquad* doubleBiquad_destroy(DoubleBiquad* st)
{
    if (st) {
        std::free(st->coeffArray);
        std::free(st->stateArray);
        std::free(st);
    }
    return nullptr;
}

void doubleBiquad_reset(DoubleBiquad* st) { std::fill_n(st->stateArray, kRegisters, 0.0); }

void doubleBiquad_setCoefficients(DoubleBiquad* st, const double* coeffs)
{
    std::copy_n(coeffs, kCoefficients, st->coeffArray);
}

// The feedback product is the fused one, as in the sections of lower order.
double doubleBiquad_processAudioSample(DoubleBiquad* st, double xn)
{
    const double* b = st->coeffArray;
    const double* a = st->coeffArray + DOUBLE_BIQUAD_A1 - 1;
    double* s = st->stateArray;
    const double y = std::fma(b[0], xn, s[0]);
    s[0] = std::fma(-a[1], y, b[1] * xn) + s[1];
    s[1] = std::fma(-a[2], y, b[2] * xn) + s[2];
    s[2] = std::fma(-a[3], y, b[3] * xn) + s[3];
    s[3] = std::fma(-a[4], y, b[4] * xn);
    return y;
}
