// SPDX-License-Identifier: Apache-2.0
#include "biquad.h"

#include <algorithm>
#include <cstdlib>

#include "../framework/new_block.h"
#include "../kernels/section.h"

using namespace lbx;

namespace {
constexpr int kCoefficients = BIQUAD_A2 + 1;
constexpr int kRegisters = BIQUAD_Y_Z2 + 1;
}  // namespace

Biquad* biquad_init(void)
{
    Biquad* st = nullptr;
    if (!zeros(st, 1))
        return nullptr;
    if (!zeros(st->coeffArray, kCoefficients) || !zeros(st->stateArray, kRegisters))
        return biquad_destroy(st);
    return st;
}

Biquad* biquad_destroy(Biquad* st)
{
    if (st) {
        std::free(st->coeffArray);
        std::free(st->stateArray);
        std::free(st);
    }
    return nullptr;
}

void biquad_reset(Biquad* st) { std::fill_n(st->stateArray, kRegisters, 0.0F); }

void biquad_setCoefficients(Biquad* st, const float* coeffs) { std::copy_n(coeffs, kCoefficients, st->coeffArray); }

float biquad_processAudioSample(Biquad* st, float xn)
{
    return filter(section_of<SecondOrder, float>(st->coeffArray), st->stateArray, xn);
}

float biquad_1st_processAudioSample(Biquad* st, float xn)
{
    return filter(section_of<FirstOrder, float>(st->coeffArray), st->stateArray, xn);
}
