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

// Eight numbers, in what registers there are.
#if defined(__AVX2__) && defined(__FMA__)
using d4 = double __attribute__((vector_size(32)));
struct d8 {
    d4 part[2];
};
LBX_INLINE d8 mul_add(const d8& a, double b, const d8& c)
{
    const d4 all = {b, b, b, b};
    return {{_mm256_fmadd_pd(a.part[0], all, c.part[0]), _mm256_fmadd_pd(a.part[1], all, c.part[1])}};
}
LBX_INLINE d8 widened(lbx::f8 v) { return {{_mm256_cvtps_pd(lbx::lower(v)), _mm256_cvtps_pd(lbx::upper(v))}}; }
LBX_INLINE lbx::f8 narrowed(const d8& v) { return lbx::join(_mm256_cvtpd_ps(v.part[0]), _mm256_cvtpd_ps(v.part[1])); }
#else
struct d8 {
    d2 part[4];
};
LBX_INLINE d8 mul_add(const d8& a, double b, const d8& c)
{
    d8 out;
    lbx::repeat<4>([&](auto p) { out.part[p] = mul_add(a.part[p], d2{b, b}, c.part[p]); });
    return out;
}
LBX_INLINE d8 widened(lbx::f8 v)
{
    d8 out;
    lbx::each_half(v, [&](int h, lbx::f4 four) {
        out.part[2 * h] = widened(four);
        out.part[2 * h + 1] = widened(lbx::mix<2, 3, 2, 3>(four, four));
    });
    return out;
}
LBX_INLINE lbx::f8 narrowed(const d8& v)
{
    return lbx::of_halves<lbx::f8>(
        [&](int h) { return lbx::mix<0, 1, 4, 5>(narrowed(v.part[2 * h]), narrowed(v.part[2 * h + 1])); });
}
#endif

inline constexpr int kPartLanes = sizeof(d8::part[0]) / sizeof(double);

// Lane l is value(l).
template <class Value>
LBX_INLINE d8 lanes_of(Value value)
{
    d8 out = {};
    lbx::repeat<8>([&](auto l) { out.part[l / kPartLanes][l % kPartLanes] = value(l); });
    return out;
}
// take(l, lane l) for every lane.
template <class Take>
LBX_INLINE void each_lane(const d8& v, Take take)
{
    lbx::repeat<8>([&](auto l) { take(l, v.part[l / kPartLanes][l % kPartLanes]); });
}

}  // namespace vquiet
