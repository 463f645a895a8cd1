// SPDX-License-Identifier: Apache-2.0
#include "ramp.h"

#include <algorithm>
#include <cstring>

#include "lanes.h"

namespace lbx {
namespace {

// Lanes beyond `count` are 0.
template <class V>
V gather(const float* p, std::ptrdiff_t stride, int count)
{
    return lanes_of<V>([=](int k) { return k < count ? p[k * stride] : 0.0F; });
}

// Not below 0, and a number.
f4 positive(f4 v) { return v > 0.0F ? v : f4{}; }
f8 positive(f8 v) { return join(positive(lower(v)), positive(upper(v))); }

// One sample of four gains for `row`, turned: four samples of one gain.
void store_row(float* row, f4 v) { store(row, v); }
void store_row(float* row, f8 v)
{
    store(row, lower(v));
    store(row + 4 * kTile, upper(v));
}

// The sums of a gain wait for each other, so eight gains take little longer than one: lanes are gains.
template <class V, bool Clamped>
void some_lines(float* gain, const float* step, std::ptrdiff_t stride, int count, float* rows, int n)
{
    V g = gather<V>(gain, stride, count);
    const V d = gather<V>(step, stride, count);
    for (int t = 0; t < n; t += 4) {
        V sample[4];
        for (V& s : sample)
            s = g = Clamped ? positive(g + d) : g + d;
        transpose(sample);
        for (int k = 0; k < 4; ++k)
            store_row(rows + k * kTile + t, sample[k]);
    }
    for (int k = 0; k < count && n > 0; ++k)
        gain[k * stride] = rows[k * kTile + n - 1];
}

// One gain alone.
template <bool Clamped>
void one_line(float& gain, float step, float* row, int n)
{
    float g = gain;
    for (int t = 0; t < n; ++t) {
        g += step;
        row[t] = g = Clamped && !(g > 0.0F) ? 0.0F : g;
    }
    gain = g;
}

template <bool Clamped>
void all_lines(float* gain, const float* step, std::ptrdiff_t stride, int count, float* rows, int n)
{
    for (; count > 4; count -= 8, gain += 8 * stride, step += 8 * stride, rows += 8 * kTile)
        some_lines<f8, Clamped>(gain, step, stride, std::min(count, 8), rows, n);
    if (count == 1)
        one_line<Clamped>(*gain, *step, rows, n);
    else if (count > 0)
        some_lines<f4, Clamped>(gain, step, stride, count, rows, n);
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
    int i = 0;
    const auto packet = [&](int t) LBX_INLINED { store(y + t, load<f8>(x + t) * load<f8>(gains + t)); };
    for (; i <= n - 32; i += 32)
        repeat<4>([&](auto k) { packet(i + 8 * k); });
    for (; i <= n - 8; i += 8)
        packet(i);
    for (; i < n; ++i)
        y[i] = x[i] * gains[i];
}

void lines(float* gain, const float* step, std::ptrdiff_t stride, int count, float* rows, int n)
{
    all_lines<false>(gain, step, stride, count, rows, n);
}

void clamped_lines(float* gain, const float* step, int count, float* rows, int n)
{
    all_lines<true>(gain, step, 1, count, rows, n);
}

void ramp(const Glide& g, float* const* in, float* const* out, int channels, int n)
{
    float gain = g.from;
    if (channels == 1) {  // whose products wait for the sums anyway
        for (int i = 0; i < n; ++i)
            out[0][i] = in[0][i] * (gain += g.step);
        return;
    }
    alignas(32) float rows[kTile];
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
