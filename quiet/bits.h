// SPDX-License-Identifier: Apache-2.0
// Bits of floats, alone and in lanes, beside lib/kernels/lanes.h.
#pragma once

#include <cstddef>

#include "../lib/filters/arranged.h"
#include "../lib/kernels/lanes.h"

namespace vquiet {

// Those that are set in both.
LBX_INLINE float bits_of_both(float a, float b)
{
    return std::bit_cast<float>(std::bit_cast<int>(a) & std::bit_cast<int>(b));
}
LBX_INLINE lbx::f4 bits_of_both(lbx::f4 a, lbx::f4 b)
{
#if defined(__FMA__)
    return _mm_and_ps(a, b);
#else
    return reinterpret_cast<lbx::f4>(reinterpret_cast<lbx::i4>(a) & reinterpret_cast<lbx::i4>(b));
#endif
}
LBX_INLINE lbx::f8 bits_of_both(lbx::f8 a, lbx::f8 b)
{
#if defined(__AVX2__) && defined(__FMA__)
    return _mm256_and_ps(a, b);
#else
    return {bits_of_both(a.a, b.a), bits_of_both(a.b, b.b)};
#endif
}

// Those that are set in `before`, or differ between a and b.
LBX_INLINE lbx::f8 differing(lbx::f8 before, lbx::f8 a, lbx::f8 b)
{
#if defined(__AVX2__) && defined(__FMA__)
    return _mm256_or_ps(before, _mm256_xor_ps(a, b));
#else
    return lbx::of_halves<lbx::f8>([&](int h) {
        const auto half = [h](lbx::f8 v) { return reinterpret_cast<lbx::i4>(h == 0 ? v.a : v.b); };
        return reinterpret_cast<lbx::f4>(half(before) | (half(a) ^ half(b)));
    });
#endif
}
LBX_INLINE bool none(lbx::f8 v)
{
#if defined(__AVX2__) && defined(__FMA__)
    const __m256i bits = _mm256_castps_si256(v);
    return _mm256_testz_si256(bits, bits) != 0;
#else
    using Long [[gnu::vector_size(16)]] = long long;
    const Long bits = reinterpret_cast<Long>(v.a) | reinterpret_cast<Long>(v.b);
    return (bits[0] | bits[1]) == 0;
#endif
}

// take(at) for the first of every eight of n, the last eight for what is left; false, and nothing done, below eight.
template <class Take>
LBX_INLINE bool each_eight(std::ptrdiff_t n, Take take)
{
    if (n < 8)
        return false;
    for (std::ptrdiff_t at = 0; at < n - 8; at += 8)
        take(at);
    take(n - 8);
    return true;
}

// lbx::same_floats() without a call.
LBX_INLINE bool same_row(const float* a, const float* b, std::ptrdiff_t n)
{
    lbx::f8 other = {};
    const bool some = each_eight(n, [&](std::ptrdiff_t at) LBX_INLINED {
        other = differing(other, lbx::load<lbx::f8>(a + at), lbx::load<lbx::f8>(b + at));
    });
    return some ? none(other) : lbx::same_floats(a, b, n);
}

}  // namespace vquiet
