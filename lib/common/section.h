// SPDX-License-Identifier: Apache-2.0
// The recursion: every first- and second-order section of the library runs through these lines.
// Coefficients are in FILTER_COEFF order (b0, b1, a1, b2, a2; a0 = 1; a1 and a2 as in the denominator), state is two
// words per section (one for first order) in transposed direct form II. The feedback product is the fused one.
#pragma once

#include <cmath>

namespace lbx {

inline float second_order(const float* coeff, float* state, float x)
{
    const float y = std::fma(coeff[0], x, state[0]);
    state[0] = std::fma(-coeff[2], y, coeff[1] * x) + state[1];
    state[1] = std::fma(-coeff[4], y, coeff[3] * x);
    return y;
}

// coeff: b0, b1, a1.
inline float first_order(const float* coeff, float* state, float x)
{
    const float y = std::fma(coeff[0], x, state[0]);
    state[0] = std::fma(-coeff[2], y, coeff[1] * x);
    return y;
}

}  // namespace lbx
