// SPDX-License-Identifier: Apache-2.0
// Pairs in double precision beside the lanes of lib/kernels/lanes.h.
#pragma once

#include "../lib/kernels/lanes.h"

namespace vquiet {

using d2 = double __attribute__((vector_size(16)));

// a * b + c, rounded once.
#if defined(__FMA__)
LBX_INLINE d2 mul_add(d2 a, d2 b, d2 c) { return _mm_fmadd_pd(a, b, c); }
#elif defined(__aarch64__)
LBX_INLINE d2 mul_add(d2 a, d2 b, d2 c) { return vfmaq_f64(c, a, b); }
#else
LBX_INLINE d2 mul_add(d2 a, d2 b, d2 c) { return d2{std::fma(a[0], b[0], c[0]), std::fma(a[1], b[1], c[1])}; }
#endif

// The first two lanes.
LBX_INLINE d2 widened(lbx::f4 v)
{
#if defined(__FMA__)
    return _mm_cvtps_pd(v);
#else
    return d2{static_cast<double>(v[0]), static_cast<double>(v[1])};
#endif
}

// Both rounded; two more lanes of 0.
LBX_INLINE lbx::f4 narrowed(d2 v)
{
#if defined(__FMA__)
    return _mm_cvtpd_ps(v);
#else
    return lbx::f4{static_cast<float>(v[0]), static_cast<float>(v[1]), 0, 0};
#endif
}

}  // namespace vquiet
