// SPDX-License-Identifier: Apache-2.0
// A second-order section in other coordinates: z1 = s1 and z2 = s2 - a1 / 2 * s1 of the documented words. Here the
// poles' mean and their distance stand apart, so that nothing cancels, however close to 1 and to each other the poles
// are; and no kind of poles is a special case.
#pragma once

#include <cstring>

namespace vquiet {

// One step: y = b0 x + z1, z1' = center z1 + z2 + b1 x, z2' = spread z1 + center z2 + b2 x. The poles are center +-
// sqrt(spread).
struct Law {
    double b0, b1, b2, center, spread;
};

inline Law law_of(const float* coeff)
{
    const double c0 = coeff[0], c1 = coeff[1], a1 = coeff[2], c2 = coeff[3], a2 = coeff[4];
    const double center = -0.5 * a1, b1 = c1 - a1 * c0;
    return {c0, b1, c2 - a2 * c0 + center * b1, center, center * center - a2};
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
