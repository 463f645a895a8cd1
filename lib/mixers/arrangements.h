// SPDX-License-Identifier: Apache-2.0
// What plain and slewed mixers share: the arrangements of paths. Each works a tile at a time and lets any output share
// its buffer with any input.
#pragma once

#include <algorithm>

#include "../kernels/mix.h"

namespace lbx {

// The pins of one block of samples.
struct PinBuffers {
    int inputs, outputs;
    float* const* x;
    float* const* y;
    int n;  // samples
};

inline constexpr int kSplitGroup = 8;  // outputs of a splitter whose gains run side by side

// Where an arrangement takes its gains from: at(first, stride, count, n) serves `count` gains for the next n samples.
struct PlainGains {
    const float* gain;

    ConstantGain at(std::ptrdiff_t first, std::ptrdiff_t stride, int /*count*/, int /*n*/) const
    {
        return {gain + first, stride};
    }
};

struct SlewedGains {
    float* now;         // the running gains
    const float* step;  // per sample
    float* rows;        // room for the paths of an output, and for kSplitGroup

    RunningGain at(std::ptrdiff_t first, std::ptrdiff_t stride, int count, int n) const
    {
        lines(now + first, step + first, stride, count, rows, n);
        return {rows};
    }
};

// A path's part in a sum: its gain times pin(k, out), fused.
template <class Gain, class Pin>
auto weighted(Gain gain, Pin pin)
{
    return [=](auto sum, int k, int out, int t) {
        using V = decltype(sum);
        return mul_add(gain.template at<V>(k, t), load<V>(pin(k, out) + t), sum);
    };
}

template <class Gains>
void multi(PinBuffers pins, Gains gains)
{
    for (int start = 0; start < pins.n; start += kTile) {
        const int n = std::min(kTile, pins.n - start);
        sum_paths(pins.inputs, n, {pins.y[0] + start},
                  weighted(gains.at(0, 1, pins.inputs, n), [=, x = pins.x](int k, int) { return x[k] + start; }));
    }
}

template <class Gains>
void stereo(PinBuffers pins, Gains gains)
{
    const int pairs = pins.inputs / 2;
    for (int start = 0; start < pins.n; start += kTile) {
        const int n = std::min(kTile, pins.n - start);
        sum_paths(
            pairs, n, {pins.y[0] + start, pins.y[1] + start},
            weighted(gains.at(0, 1, pairs, n), [=, x = pins.x](int k, int out) { return x[2 * k + out] + start; }));
    }
}

// The inputs are copied first, to kTile floats each in `copies`.
template <class Gains>
void cross(PinBuffers pins, Gains gains, float* copies)
{
    const auto copy_of = [=](int i, int) { return copies + std::ptrdiff_t{i} * kTile; };
    for (int start = 0; start < pins.n; start += kTile) {
        const int n = std::min(kTile, pins.n - start);
        for (int i = 0; i < pins.inputs; ++i)
            copy_tile(pins.x[i] + start, copy_of(i, 0), n);
        for (int j = 0; j < pins.outputs; ++j)
            sum_paths(pins.inputs, n, {pins.y[j] + start},
                      weighted(gains.at(j, pins.outputs, pins.inputs, n), copy_of));
    }
}

template <class Gains>
void split(PinBuffers pins, Gains gains)
{
    alignas(32) float x[kTile];
    for (int start = 0; start < pins.n; start += kTile) {
        const int n = std::min(kTile, pins.n - start);
        copy_tile(pins.x[0] + start, x, n);
        for (int first = 0; first < pins.outputs; first += kSplitGroup) {
            const int outputs = std::min(kSplitGroup, pins.outputs - first);
            const auto gain = gains.at(first, 1, outputs, n);
            for (int j = 0; j < outputs; ++j)
                sum_paths(1, n, {pins.y[first + j] + start}, [&](auto sum, int, int, int t) {
                    using V = decltype(sum);
                    return gain.template at<V>(j, t) * load<V>(x + t);
                });
        }
    }
}

}  // namespace lbx
