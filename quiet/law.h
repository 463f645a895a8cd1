// SPDX-License-Identifier: Apache-2.0
// A second-order section in other coordinates: z1 = s1 and z2 = s2 + shift * s1 of the documented words. With half the
// sum of the poles for a shift, their mean and their distance stand apart: nothing cancels, however close to 1 and to
// each other the poles are, and no kind of poles is a special case.
#pragma once

#include <cstring>

namespace vquiet {

// One step: y = b0 x + z1, z1' = keep z1 + z2 + b1 x, z2' = couple z1 + shift z2 + b2 x.
struct Law {
    double b0, b1, b2, keep, couple, shift;
};

inline double mean_of_poles(const float* coeff) { return -0.5 * static_cast<double>(coeff[2]); }

inline Law law_of(const float* coeff, double shift)
{
    const double c0 = coeff[0], c1 = coeff[1], a1 = coeff[2], c2 = coeff[3], a2 = coeff[4];
    const double b1 = c1 - a1 * c0, keep = -a1 - shift;
    return {c0, b1, c2 - a2 * c0 + shift * b1, keep, shift * keep - a2, shift};
}

// Two words at once: whether they have the same bits.
inline bool same_words(const float* a, const float* b)
{
    long long x, y;
    std::memcpy(&x, a, sizeof x);
    std::memcpy(&y, b, sizeof y);
    return x == y;
}

}  // namespace vquiet
