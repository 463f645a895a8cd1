// SPDX-License-Identifier: Apache-2.0
// Vectors of independent lanes over the compiler's vector extensions: f4 is one 128-bit register, f8 one of 256 bits
// or two of 128. A lane computes what a float would, so a loop over lanes gives the bits of the scalar loop.
// +, - and * work on both. A mask is a vector of the same type, each lane all ones or all zeros.
#pragma once

#include <bit>
#include <cmath>
#include <type_traits>
#include <utility>

#if defined(__FMA__)
#include <immintrin.h>
#elif defined(__aarch64__)
#include <arm_neon.h>
#endif

// Small functions on registers: a call would put the lanes into memory.
#define LBX_INLINE [[gnu::always_inline]] inline
#define LBX_INLINED __attribute__((always_inline))  // for a lambda, after its parameters
// A loop over lanes, with everything it calls inlined.
#define LBX_KERNEL [[gnu::noinline, gnu::flatten]]

// Lanes of x and y by their numbers, those of y counted on from the last of x.
#if __has_builtin(__builtin_shufflevector)
#define LBX_SHUFFLE(x, y, ...) __builtin_shufflevector(x, y, __VA_ARGS__)
#else  // GCC before 12
#define LBX_SHUFFLE(x, y, ...) __builtin_shuffle(x, y, decltype((x) < (y)){__VA_ARGS__})
#endif

namespace lbx {

// body(0) ... body(kCount - 1), the index a constant: arrays of vectors stay in registers only if no loop indexes them.
template <int kCount, class Body>
LBX_INLINE void repeat(Body body)
{
    [&]<int... kIndex>(std::integer_sequence<int, kIndex...>) LBX_INLINED
    {
        (body(std::integral_constant<int, kIndex>{}), ...);
    }
    (std::make_integer_sequence<int, kCount>{});
}

using f4 = float __attribute__((vector_size(16)));
using i4 = int __attribute__((vector_size(16)));

// a * b + c, rounded once: the one intrinsic of each target.
LBX_INLINE float mul_add(float a, float b, float c) { return std::fma(a, b, c); }
#if defined(__FMA__)
LBX_INLINE f4 mul_add(f4 a, f4 b, f4 c) { return _mm_fmadd_ps(a, b, c); }
#elif defined(__aarch64__)
LBX_INLINE f4 mul_add(f4 a, f4 b, f4 c) { return vfmaq_f32(c, a, b); }
#else
LBX_INLINE f4 mul_add(f4 a, f4 b, f4 c)
{
    return f4{std::fma(a[0], b[0], c[0]), std::fma(a[1], b[1], c[1]), std::fma(a[2], b[2], c[2]),
              std::fma(a[3], b[3], c[3])};
}
#endif

LBX_INLINE f4 mask_of(i4 truth) { return reinterpret_cast<f4>(truth); }
// a where the mask is set, b elsewhere.
#if defined(__AVX2__)
LBX_INLINE f4 select(f4 mask, f4 a, f4 b) { return _mm_blendv_ps(b, a, mask); }
#else
LBX_INLINE f4 select(f4 mask, f4 a, f4 b)
{
    const i4 m = reinterpret_cast<i4>(mask);
    return reinterpret_cast<f4>((reinterpret_cast<i4>(a) & m) | (reinterpret_cast<i4>(b) & ~m));
}
#endif
// The sign inverted in lanes that have it set in `signs`, whose other bits are 0.
LBX_INLINE float flip(float v, float sign)
{
    return std::bit_cast<float>(std::bit_cast<int>(v) ^ std::bit_cast<int>(sign));
}
LBX_INLINE f4 flip(f4 v, f4 signs)
{
    return reinterpret_cast<f4>(reinterpret_cast<i4>(v) ^ reinterpret_cast<i4>(signs));
}
// Lanes a, b, c, d of x (0 .. 3) and y (4 .. 7); an f8 does so in each half.
template <int a, int b, int c, int d>
LBX_INLINE f4 mix(f4 x, f4 y)
{
    return LBX_SHUFFLE(x, y, a, b, c, d);
}

#if defined(__AVX2__) && defined(__FMA__)
inline constexpr bool kWideRegisters = true;  // one holds an f8
#else
inline constexpr bool kWideRegisters = false;
#endif

// Nothing is scheduled across this. Where loads are separate instructions, a compiler that hides their latency would
// otherwise have more of them under way than there are registers.
LBX_INLINE void keep_order()
{
    if constexpr (!kWideRegisters)
        __asm__ volatile("");
}

#if defined(__AVX2__) && defined(__FMA__)

using f8 = float __attribute__((vector_size(32)));

LBX_INLINE f8 join(f4 a, f4 b) { return _mm256_insertf128_ps(_mm256_castps128_ps256(a), b, 1); }
LBX_INLINE f4 lower(f8 v) { return _mm256_castps256_ps128(v); }
LBX_INLINE f4 upper(f8 v) { return _mm256_extractf128_ps(v, 1); }
LBX_INLINE f8 mul_add(f8 a, f8 b, f8 c) { return _mm256_fmadd_ps(a, b, c); }
LBX_INLINE f8 select(f8 mask, f8 a, f8 b) { return _mm256_blendv_ps(b, a, mask); }
LBX_INLINE f8 flip(f8 v, f8 signs) { return _mm256_xor_ps(v, signs); }
template <int a, int b, int c, int d>
LBX_INLINE f8 mix(f8 x, f8 y)
{
    constexpr auto kAt = [](int lane, int half) { return lane % 4 + 4 * half + 8 * (lane / 4); };
    return LBX_SHUFFLE(x, y, kAt(a, 0), kAt(b, 0), kAt(c, 0), kAt(d, 0), kAt(a, 1), kAt(b, 1), kAt(c, 1), kAt(d, 1));
}

#else

struct f8 {
    f4 a, b;
};

LBX_INLINE f8 join(f4 a, f4 b) { return {a, b}; }
LBX_INLINE f4 lower(f8 v) { return v.a; }
LBX_INLINE f4 upper(f8 v) { return v.b; }
LBX_INLINE f8 operator+(f8 x, f8 y) { return {x.a + y.a, x.b + y.b}; }
LBX_INLINE f8 operator-(f8 x) { return {-x.a, -x.b}; }
LBX_INLINE f8 operator-(f8 x, f8 y) { return {x.a - y.a, x.b - y.b}; }
LBX_INLINE f8 operator*(f8 x, f8 y) { return {x.a * y.a, x.b * y.b}; }
LBX_INLINE f8 mul_add(f8 x, f8 y, f8 z) { return {mul_add(x.a, y.a, z.a), mul_add(x.b, y.b, z.b)}; }
LBX_INLINE f8 select(f8 mask, f8 x, f8 y) { return {select(mask.a, x.a, y.a), select(mask.b, x.b, y.b)}; }
LBX_INLINE f8 flip(f8 v, f8 signs) { return {flip(v.a, signs.a), flip(v.b, signs.b)}; }
template <int a, int b, int c, int d>
LBX_INLINE f8 mix(f8 x, f8 y)
{
    return {mix<a, b, c, d>(x.a, y.a), mix<a, b, c, d>(x.b, y.b)};
}

#endif

template <class V>
constexpr int kLanes = sizeof(V) / sizeof(float);

// |v|
template <class V>
LBX_INLINE V magnitude(V v)
{
    if constexpr (kLanes<V> == 1) {
        return std::fabs(v);
    } else if constexpr (std::is_class_v<V>) {
        return join(magnitude(lower(v)), magnitude(upper(v)));
    } else {
        using Bits [[gnu::vector_size(sizeof(V))]] = int;
        return reinterpret_cast<V>(reinterpret_cast<Bits>(v) & 0x7fffffff);
    }
}

// c - a * b, rounded once.
template <class V>
LBX_INLINE V mul_sub(V a, V b, V c)
{
    return mul_add(-a, b, c);
}

// The lanes of each half moved up by one; the last of `before` comes in below.
template <class V>
LBX_INLINE V shift_in(V before, V v)
{
    return mix<3, 4, 5, 6>(before, v);
}

// v[row][lane] becomes v[lane][row], in each half.
template <class V>
LBX_INLINE void transpose(V (&v)[4])
{
    const V p = mix<0, 4, 1, 5>(v[0], v[1]), q = mix<0, 4, 1, 5>(v[2], v[3]);
    const V r = mix<2, 6, 3, 7>(v[0], v[1]), s = mix<2, 6, 3, 7>(v[2], v[3]);
    v[0] = mix<0, 1, 4, 5>(p, q);
    v[1] = mix<2, 3, 6, 7>(p, q);
    v[2] = mix<0, 1, 4, 5>(r, s);
    v[3] = mix<2, 3, 6, 7>(r, s);
}

// half(h) is the only f4 of a vector, or the lower (0) and the upper (1) of two.
template <class V, class Half>
LBX_INLINE V of_halves(Half half)
{
    if constexpr (kLanes<V> == 4)
        return half(0);
    else
        return join(half(0), half(1));
}

// The same four lanes, or one value, throughout.
template <class V>
LBX_INLINE V every(f4 v)
{
    return of_halves<V>([&](int) { return v; });
}
template <class V>
LBX_INLINE V every(float v)
{
    if constexpr (kLanes<V> == 1)
        return v;
#if defined(__AVX2__) && defined(__FMA__)
    else if constexpr (kLanes<V> == 8)
        return _mm256_set1_ps(v);
#endif
    else
        return every<V>(f4{v, v, v, v});  // written out: a loop over the lanes would go through memory
}

// Lane l is value(l).
template <class V, class Value>
LBX_INLINE V lanes_of(Value value)
{
    return of_halves<V>([&](int h) { return f4{value(4 * h), value(4 * h + 1), value(4 * h + 2), value(4 * h + 3)}; });
}

// take(h, half h) for the one or two f4 of a vector.
template <class Take>
LBX_INLINE void each_half(f4 v, Take take)
{
    take(0, v);
}
template <class Take>
LBX_INLINE void each_half(f8 v, Take take)
{
    take(0, lower(v));
    take(1, upper(v));
}

// take(l, lane l) for every lane, in ascending order.
template <class V, class Take>
LBX_INLINE void each_lane(V v, Take take)
{
    each_half(v, [&](int h, f4 four) {
        take(4 * h, four[0]);
        take(4 * h + 1, four[1]);
        take(4 * h + 2, four[2]);
        take(4 * h + 3, four[3]);
    });
}

// Unaligned memory, lane 0 first; V may be a float. Accessed as floats (i4: as ints), not as bytes, so that pointers
// need not be read again after a store.
template <class V, class T>
LBX_INLINE V load(const T* p)
{
    static_assert(std::is_same_v<T, std::conditional_t<std::is_same_v<V, i4>, int, float>>);
    if constexpr (!std::is_class_v<V>) {
        using Unaligned [[gnu::aligned(4)]] = V;
        return *reinterpret_cast<const Unaligned*>(p);
    } else {
        return join(load<f4>(p), load<f4>(p + 4));
    }
}
template <class V>
LBX_INLINE void store(float* p, V v)
{
    if constexpr (!std::is_class_v<V>) {
        using Unaligned [[gnu::aligned(4)]] = V;
        *reinterpret_cast<Unaligned*>(p) = v;
    } else {
        store(p, lower(v));
        store(p + 4, upper(v));
    }
}

}  // namespace lbx
