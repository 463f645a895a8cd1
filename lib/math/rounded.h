// SPDX-License-Identifier: Apache-2.0
// libm's functions of floats, taken in double precision and rounded once. The single-precision ones differ between C
// libraries in the last bit of one result in some hundred; the double ones do too, but 29 bits further down, where the
// rounding to float hides it. So a filter has the same coefficients whatever C library it is designed with.
#pragma once

#include <cmath>

namespace lbx::rounded {

inline float sin(float x) { return static_cast<float>(std::sin(static_cast<double>(x))); }
inline float cos(float x) { return static_cast<float>(std::cos(static_cast<double>(x))); }
inline float tan(float x) { return static_cast<float>(std::tan(static_cast<double>(x))); }
inline float sinh(float x) { return static_cast<float>(std::sinh(static_cast<double>(x))); }
inline float exp(float x) { return static_cast<float>(std::exp(static_cast<double>(x))); }
inline float pow(float base, float exponent)
{
    return static_cast<float>(std::pow(static_cast<double>(base), static_cast<double>(exponent)));
}

}  // namespace lbx::rounded
