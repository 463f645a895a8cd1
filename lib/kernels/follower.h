// SPDX-License-Identifier: Apache-2.0
// The laws by which level followers turn a setting into a weight, and what they share around it. `samples` is the
// number of samples that one step of the follower covers. To rise_weight and hold_samples the setting is a time; to the
// other two it is a speed, although parameters call it a time. Kept, graphs are tuned with it.
#pragma once

#include <cmath>
#include <limits>

#include "../common/block_types.h"
#include "../framework/context.h"
#include "../math/rounded.h"
#include "fast_inline.h"

namespace lbx {

// Weight of a new mean square, which in silence then falls by about so many dB per second: what a step keeps is
// 2 - 10^x, near 10^-x for small x. Above x = 0.3 the mean square overshoots, above 0.477 it grows without end.
inline float growing_weight(float db_per_s, float samples, float rate_hz)
{
    return std::fabs(1.0F - rounded::pow(10.0F, samples * db_per_s / ((rate_hz + 1e-6F) * 10.0F)));
}

// 10^(-2 speed samples / (rate divisor)): an amplitude multiplied by it at each step falls by 40 speed / divisor dB per
// second, a power by half of that.
inline float decay_factor(float speed, float samples, float rate_hz, float divisor)
{
    return 1.0F / rounded::pow(10.0F, (speed + speed) * samples / ((rate_hz + 1e-6F) * divisor));
}

// Weight of a new block of a one-pole follower that rises from 10 % to 90 % in `ms` (2.2 time constants).
inline float rise_weight(float ms, const BlockPro* pro)
{
    const auto scale = static_cast<float>(-2200LL * pro->nBlockSize);
    return 1.0F - rounded::exp(scale / (rate_of(pro) * ms));
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
