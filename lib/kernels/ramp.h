// SPDX-License-Identifier: Apache-2.0
// Gains over blocks of samples: constant ones, and straight lines whose every sample is the running sum
// g = g + step, incremented before use. The sums are taken in that order and once per gain, side by side for up to
// eight gains; what they multiply is then independent sample by sample. So the results are those of the plain loop. In
// all of these an output may be the input of its own channel; n < 1 does nothing.
#pragma once

#include <cstddef>

#include "slew.h"

namespace lbx {

// Samples worked on at a time: a row of running gains, or a copy of a pin.
inline constexpr int kTile = 64;

// Rows that lines() needs for `count` gains.
constexpr std::ptrdiff_t rows_for(std::ptrdiff_t count) { return (count + 3) & ~std::ptrdiff_t{3}; }

void copy(const float* x, float* y, int n);
void fill(float* y, int n, float v);
inline void clear(float* y, int n) { fill(y, n, 0.0F); }
void scale(const float* x, float* y, float gain, int n);  // y = x * gain
void multiply(const float* x, const float* gains, float* y, int n);

// The next n <= kTile running gains of each of `count` gains, a row of kTile floats each, rows_for(count) rows in all.
// The gains, `stride` apart, are left where the row ends. Clamped, none of them falls below 0, and NaN becomes 0.
template <bool kClamped = false>
void lines(float* gain, const float* step, std::ptrdiff_t stride, int count, float* rows, int n);

// One line for all channels.
void ramp(const Glide& g, float* const* in, float* const* out, int channels, int n);

// A line for each channel; `gain` is left where it ends.
void ramps(float* gain, const float* step, float* const* in, float* const* out, int channels, int n);

}  // namespace lbx
