// SPDX-License-Identifier: Apache-2.0
// The laws by which level followers turn a time in ms into a weight, and what they share around it. `samples` is the
// number of samples that one step of the follower covers. The laws differ on purpose and are tuned by ear: a time is a
// setting of its own law, not a duration to compare between blocks.
#pragma once

#include <cmath>
#include <limits>

#include "../common/block_types.h"
#include "../framework/context.h"
#include "fast_inline.h"

namespace lbx {

// Weight of a new mean square. It grows with the time: a larger one follows faster.
inline float growing_weight(float ms, float samples, float rate_hz)
{
    return std::fabs(1.0F - std::pow(10.0F, samples * ms / ((rate_hz + 1e-6F) * 10.0F)));
}

// 10^(-2 ms samples / (rate divisor)): below 1, and the smaller the longer the time.
inline float decay_factor(float ms, float samples, float rate_hz, float divisor)
{
    return 1.0F / std::pow(10.0F, (ms + ms) * samples / ((rate_hz + 1e-6F) * divisor));
}

// Weight of a new block of a one-pole follower that rises from 10 % to 90 % in `ms` (2.2 time constants).
inline float rise_weight(float ms, const BlockPro* pro)
{
    const auto scale = static_cast<float>(-2200LL * pro->nBlockSize);
    return 1.0F - std::exp(scale / (rate_of(pro) * ms));
}

inline int hold_samples(float ms, const BlockPro* pro) { return to_int(rate_of(pro) * ms / 1000.0F); }

// A hold counter counted down, saturating.
constexpr int hold_sub(int count, int samples)
{
    int rest = 0;
    return __builtin_sub_overflow(count, samples, &rest) ? std::numeric_limits<int>::min() : rest;
}

// One step of a follower: `weight` is that of the new value.
inline float follow(float old, float value, float weight) { return std::fma(1.0F - weight, old, weight * value); }

inline float sum_of_squares(const float* in, int n)
{
    float sum = 0.0F;
    for (int i = 0; i < n; ++i)
        sum = std::fma(in[i], in[i], sum);
    return sum;
}

// dB of a level at and above -90 dB of power, with the floor that keeps the logarithm's argument normal. kPowerDb and
// kAmplitudeDb are 10 and 20 log10(2).
inline constexpr double kPowerDb = 3.0103;
inline constexpr double kAmplitudeDb = 6.0206;
inline float level_db(float level, double scale) { return static_cast<float>(scale * fast_log2(level + 1e-9F)); }

// The width-dependent figure that followers carry for the host; nothing in the library reads it.
constexpr float bit_norm(int bits)
{
    if (bits == 16)
        return 30.0F;
    return bits == 20 ? 38.0F : 46.0F;
}

}  // namespace lbx
