// SPDX-License-Identifier: Apache-2.0
// Sums over paths: y = 0, then path after path added in order, for every sample. Lanes are samples, so each sample sees
// the additions of the plain loop. All paths of a sample are read before it is written: outputs may be inputs.
#pragma once

#include <cstdint>

#include "../framework/cache_line.h"
#include "each_index.h"
#include "lanes.h"
#include "ramp.h"

namespace lbx {

// The gain of path k at sample t of a tile: a constant, or a row of running gains.
struct ConstantGain {
    const float* gain;
    std::ptrdiff_t stride;

    template <class V>
    V at(int k, int /*t*/) const
    {
        return every<V>(gain[k * stride]);
    }
};

struct RunningGain {
    const float* rows;

    template <class V>
    V at(int k, int t) const
    {
        return load<V>(rows + std::ptrdiff_t{k} * kTile + t);
    }
};

template <class V, int Vectors, int Outs, class Add>
LBX_INLINE void sum_some(int paths, int t, float* const (&y)[Outs], Add add)
{
    V sum[Outs][Vectors] = {};
    for (int k = 0; k < paths; ++k)
#pragma GCC unroll 2
        for (int out = 0; out < Outs; ++out)
#pragma GCC unroll 8
            for (int v = 0; v < Vectors; ++v) {
                if (out * Vectors + v == 4)
                    keep_order();
                sum[out][v] = add(sum[out][v], k, out, t + v * kLanes<V>);
            }
#pragma GCC unroll 2
    for (int out = 0; out < Outs; ++out)
#pragma GCC unroll 8
        for (int v = 0; v < Vectors; ++v)
            store(y[out] + t + v * kLanes<V>, sum[out][v]);
}

// n samples of one or two outputs. add(sum, k, out, t) gives the sum of output `out` with path k added, for as many
// samples from t on as its first argument has lanes. Eight sums are under way at a time: as many as hide each other's
// latency.
template <int Outs, class Add>
LBX_INLINE void sum_paths(int paths, int n, float* const (&y)[Outs], Add add)
{
    constexpr int kVectors = 8 / Outs;
    int t = 0;
    for (; t <= n - 8 * kVectors; t += 8 * kVectors)
        sum_some<f8, kVectors>(paths, t, y, add);
    for (; t <= n - 8; t += 8)
        sum_some<f8, 1>(paths, t, y, add);
    each_left(t, n, [&](int i) { sum_some<float, 1>(paths, i, y, add); });
}

// At most a tile; faster than a call of memcpy.
LBX_INLINE void copy_tile(const float* x, float* y, int n)
{
    sum_paths(1, n, {y}, [=](auto sum, int, int, int t) { return load<decltype(sum)>(x + t); });
}

// The first cache line of an array that has kLine floats to spare. Vectors that straddle lines cost twice, and the
// allocator aligns to 16 bytes only.
inline float* line_aligned(float* p)
{
    constexpr std::uintptr_t kMask = kLine * sizeof(float) - 1;
    return reinterpret_cast<float*>((reinterpret_cast<std::uintptr_t>(p) + kMask) & ~kMask);
}

}  // namespace lbx
