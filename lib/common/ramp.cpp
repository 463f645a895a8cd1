// SPDX-License-Identifier: Apache-2.0
#include "ramp.h"

#include <algorithm>
#include <cstring>

namespace lbx {
namespace {

using F4 = float __attribute__((vector_size(16)));

F4 gather(const float* p, std::ptrdiff_t stride, int count)
{
    F4 v = {};
    for (int k = 0; k < std::min(count, 4); ++k)
        v[k] = p[k * stride];
    return v;
}

void store(float* p, F4 v) { std::memcpy(p, &v, sizeof v); }

// Four samples of four gains: computed a sample at a time, stored a gain at a time.
void store_turned(float* rows, F4 a, F4 b, F4 c, F4 d)
{
    const F4 ab_lo = __builtin_shufflevector(a, b, 0, 4, 1, 5);
    const F4 ab_hi = __builtin_shufflevector(a, b, 2, 6, 3, 7);
    const F4 cd_lo = __builtin_shufflevector(c, d, 0, 4, 1, 5);
    const F4 cd_hi = __builtin_shufflevector(c, d, 2, 6, 3, 7);
    store(rows, __builtin_shufflevector(ab_lo, cd_lo, 0, 1, 4, 5));
    store(rows + kTile, __builtin_shufflevector(ab_lo, cd_lo, 2, 3, 6, 7));
    store(rows + 2 * kTile, __builtin_shufflevector(ab_hi, cd_hi, 0, 1, 4, 5));
    store(rows + 3 * kTile, __builtin_shufflevector(ab_hi, cd_hi, 2, 3, 6, 7));
}

struct Add {
    static F4 next(F4 g, F4 step) { return g + step; }
};
struct AddClamped {
    static F4 next(F4 g, F4 step) { return g + step > 0.0F ? g + step : F4{}; }
};

// Up to four times `Fours` gains. The sums wait for each other, so two groups of four take little longer than one.
template <class Sum, int Fours>
void some_lines(float* gain, const float* step, std::ptrdiff_t stride, int count, float* rows, int n)
{
    F4 g[Fours], d[Fours];
    for (int f = 0; f < Fours; ++f) {
        g[f] = gather(gain + 4 * f * stride, stride, count - 4 * f);
        d[f] = gather(step + 4 * f * stride, stride, count - 4 * f);
    }
    for (int t = 0; t < n; t += 4)
        for (int f = 0; f < Fours; ++f) {
            const F4 first = Sum::next(g[f], d[f]);
            const F4 second = Sum::next(first, d[f]);
            const F4 third = Sum::next(second, d[f]);
            g[f] = Sum::next(third, d[f]);
            store_turned(rows + 4 * f * kTile + t, first, second, third, g[f]);
        }
    for (int k = 0; k < count && n > 0; ++k)
        gain[k * stride] = rows[k * kTile + n - 1];
}

template <class Sum>
void all_lines(float* gain, const float* step, std::ptrdiff_t stride, int count, float* rows, int n)
{
    for (; count > 4; count -= 8, gain += 8 * stride, step += 8 * stride, rows += 8 * kTile)
        some_lines<Sum, 2>(gain, step, stride, std::min(count, 8), rows, n);
    if (count > 0)
        some_lines<Sum, 1>(gain, step, stride, count, rows, n);
}

}  // namespace

void copy(const float* x, float* y, int n)
{
    if (n > 0 && x != y)
        std::memmove(y, x, static_cast<std::size_t>(n) * sizeof(float));
}

void clear(float* y, int n) { std::fill_n(y, n, 0.0F); }

void scale(const float* x, float* y, float gain, int n)
{
    for (int i = 0; i < n; ++i)
        y[i] = x[i] * gain;
}

void multiply(const float* x, const float* gains, float* y, int n)
{
    for (int i = 0; i < n; ++i)
        y[i] = x[i] * gains[i];
}

void lines(float* gain, const float* step, std::ptrdiff_t stride, int count, float* rows, int n)
{
    all_lines<Add>(gain, step, stride, count, rows, n);
}

void clamped_lines(float* gain, const float* step, int count, float* rows, int n)
{
    all_lines<AddClamped>(gain, step, 1, count, rows, n);
}

void ramp(const Glide& g, float* const* in, float* const* out, int channels, int n)
{
    float gain = g.from;
    alignas(32) float rows[4 * kTile];
    for (int t = 0; t < n; t += kTile) {
        const int some = std::min(kTile, n - t);
        lines(&gain, &g.step, 1, 1, rows, some);
        for (int ch = 0; ch < channels; ++ch)
            multiply(in[ch] + t, rows, out[ch] + t, some);
    }
}

void ramps(float* gain, const float* step, float* const* in, float* const* out, int channels, int n)
{
    alignas(32) float rows[8 * kTile];
    for (int t = 0; t < n; t += kTile) {
        const int some = std::min(kTile, n - t);
        for (int ch = 0; ch < channels; ++ch) {
            if (ch % 8 == 0)
                lines(gain + ch, step + ch, 1, std::min(8, channels - ch), rows, some);
            multiply(in[ch] + t, rows + (ch % 8) * kTile, out[ch] + t, some);
        }
    }
}

}  // namespace lbx
