// SPDX-License-Identifier: Apache-2.0
// The fast functions of lbx_fastmath.h and lbx_math.h, inlined for hot loops. The exported ones are these.
#pragma once

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "lanes.h"
#include "level.h"

namespace lbx {

// log2(1 + i / 1024) to six decimals.
[[gnu::visibility("hidden")]] extern const std::array<float, 1025> log_table;

// Exponent plus table entry, not interpolated: up to 0.0014 below log2(x), for positive normal x.
LBX_INLINE float fast_log2(float x)
{
    const auto bits = std::bit_cast<std::uint32_t>(x);
    const int exponent = static_cast<int>((bits >> 23U) & 0xffU) - 127;
    return static_cast<float>(exponent) + log_table[(bits >> 13U) & 0x3ffU];
}

inline constexpr float kTurn = 6.2831855F;
inline constexpr float kHalfTurn = 3.1415927F;  // the first float above pi, so a < kHalfTurn is a <= pi
inline constexpr float kQuarterTurn = 1.5707964F;

// fmod(angle + 2 pi, 2 pi). Up to a second turn the remainder is one subtraction, which is exact there.
LBX_INLINE float wrap_turn(float angle)
{
    const float a = angle + kTurn;
    if (a >= 0.0F && a < 2.0F * kTurn)
        return a < kTurn ? a : a - kTurn;
    return std::fmod(a, kTurn);
}

// a or its mirror about a quarter turn, whichever is smaller.
LBX_INLINE float fold(float a) { return a > kHalfTurn - a ? kHalfTurn - a : a; }

// Within 1.7e-4 of sin(angle). Angles below -2 pi are not brought into range: callers keep their phase in one turn.
LBX_INLINE float fast_sin(float angle)
{
    const float turned = wrap_turn(angle);
    const bool upper = turned < kHalfTurn;
    const float a = fold(upper ? turned : turned - kHalfTurn);
    const float square = a * a;
    return (upper ? a : -a) * (1.0F + square * (-0.16605F + square * 0.00761F));
}

// Within 1.2e-3 of cos(angle); range as for fast_sin.
LBX_INLINE float fast_cos(float angle)
{
    const float turned = wrap_turn(angle);
    const bool upper = turned < kHalfTurn;
    const float a = upper ? turned : turned - kHalfTurn;
    const bool positive = upper ? kQuarterTurn - a >= 0.0F : a - kQuarterTurn >= 0.0F;
    const float folded = fold(a);
    const float square = folded * folded;
    const float magnitude = 1.0F + square * (-0.4967F + square * 0.03705F);
    return positive ? magnitude : -magnitude;
}

// Estimate of 1 / sqrt(x), 3.4 % off at most: C. Lomont, "Fast Inverse Square Root". Shifted with the sign. V: one
// float, or lanes, as in the two functions after it.
template <class V>
LBX_INLINE V inv_sqrt_estimate(V x)
{
    if constexpr (std::is_class_v<V>) {
        return join(inv_sqrt_estimate(lower(x)), inv_sqrt_estimate(upper(x)));
    } else {
        using Signed [[gnu::vector_size(sizeof(V))]] = std::int32_t;
        using Bits [[gnu::vector_size(sizeof(V))]] = std::uint32_t;
        return std::bit_cast<V>(0x5f3759dfU - std::bit_cast<Bits>(std::bit_cast<Signed>(x) >> 1));
    }
}

// One Newton step. The products are taken in this order so that x = 0 never meets an infinite square.
template <class V>
LBX_INLINE V inv_sqrt_step(V x, V g)
{
    return g * (every<V>(1.5F) - every<V>(0.5F) * x * g * g);
}

// Relative error below 0.18 %.
template <class V>
LBX_INLINE V fast_inv_sqrt(V x)
{
    return inv_sqrt_step(x, inv_sqrt_estimate(x));
}

// Relative error below 5e-6; 0 gives 0.
template <class V>
LBX_INLINE V fast_sqrt(V x)
{
    return inv_sqrt_step(x, fast_inv_sqrt(x)) * x;
}

// 10^(db / 20) by the coarse exponential: a few per cent off, and 0 dB gives 0.97100782.
inline float db_to_gain(float db) { return static_cast<float>(fast_exp(static_cast<double>(db * 0.115129255F))); }

// The one-pole factor of a slew rate, a doubling scale: each whole step doubles the time constant, which is 0.0416 ms
// divided by the block size at rate 1. The block size in the divisor is kept as designed.
inline float slew_alpha(float slew_rate, float rate_hz, float block_size)
{
    const double doubled = std::pow(2.0, static_cast<double>(slew_rate) - 1.0);
    const auto seconds = static_cast<float>(0.0416 / static_cast<double>(block_size) * doubled / 1000.0);
    return static_cast<float>(std::exp(static_cast<double>(-1.0F / (seconds * rate_hz))));
}

}  // namespace lbx
