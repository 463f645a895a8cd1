// SPDX-License-Identifier: Apache-2.0
#include "ramp.h"

#include <algorithm>
#include <cstring>

#include "each_index.h"
#include "lanes.h"

namespace lbx {
namespace {

// At least 0; NaN becomes 0.
f4 positive(f4 v) { return v > 0.0F ? v : f4{}; }
f8 positive(f8 v) { return join(positive(lower(v)), positive(upper(v))); }

// The sums of a gain wait for each other, so eight gains take little longer than one: lanes are gains, those beyond
// `count` are 0.
template <class V, bool kClamped>
void some_lines(float* gain, const float* step, std::ptrdiff_t stride, int count, float* rows, int n)
{
    const auto gather = [=](const float* p) {
        return lanes_of<V>([=](int k) { return k < count ? p[k * stride] : 0.0F; });
    };
    const V d = gather(step);
    V g = gather(gain);
    for (int t = 0; t < n; t += 4) {
        V sample[4];
        repeat<4>([&](auto k) { sample[k] = g = kClamped ? positive(g + d) : g + d; });
        transpose(sample);
        repeat<4>([&](auto k) {
            each_half(sample[k], [=](int h, f4 four) { store(rows + (4 * h + k) * kTile + t, four); });
        });
    }
    for (int k = 0; k < count && n > 0; ++k)
        gain[k * stride] = rows[k * kTile + n - 1];
}

template <bool kClamped>
void one_line(float& gain, float step, float* row, int n)
{
    float g = gain;
    for (int t = 0; t < n; ++t) {
        g += step;
        row[t] = g = kClamped && !(g > 0.0F) ? 0.0F : g;
    }
    gain = g;
}

}  // namespace

template <bool kClamped>
[[gnu::noinline]] void lines(float* gain, const float* step, std::ptrdiff_t stride, int count, float* rows, int n)
{
    for (; count > 4; count -= 8, gain += 8 * stride, step += 8 * stride, rows += 8 * kTile)
        some_lines<f8, kClamped>(gain, step, stride, std::min(count, 8), rows, n);
    if (count == 1)
        one_line<kClamped>(*gain, *step, rows, n);
    else if (count > 0)
        some_lines<f4, kClamped>(gain, step, stride, count, rows, n);
}
template void lines<false>(float*, const float*, std::ptrdiff_t, int, float*, int);
template void lines<true>(float*, const float*, std::ptrdiff_t, int, float*, int);

void copy(const float* x, float* y, int n)
{
    if (n > 0 && x != y)
        std::memmove(y, x, static_cast<std::size_t>(n) * sizeof(float));
}

void fill(float* y, int n, float v)
{
    if (n < 8) {
        each_left(0, n, [=](int i) { y[i] = v; });
        return;
    }
    const auto eight = [=](int i) { store(y + i, every<f8>(v)); };
    for (int i = 0; i < n - 16; i += 16) {
        eight(i);
        eight(i + 8);
    }
    eight(std::max(n - 16, 0));  // the rest, and some of it twice
    eight(n - 8);
}

void scale(const float* x, float* y, float gain, int n)
{
    each_index(n, [=](int i) { y[i] = x[i] * gain; });
}

void multiply(const float* x, const float* gains, float* y, int n)
{
    each_index(n, [=](int i) { y[i] = x[i] * gains[i]; });
}

void ramp(const Glide& g, float* const* in, float* const* out, int channels, int n)
{
    float gain = g.from;
    if (channels == 1) [[likely]] {  // so that its loop is aligned; its products wait for the sums anyway
        for (int i = 0; i < n; ++i)
            out[0][i] = in[0][i] * (gain += g.step);
        return;
    }
    alignas(32) float rows[kTile];
    for (int t = 0; t < n; t += kTile) {
        const int some = std::min(kTile, n - t);
        one_line<false>(gain, g.step, rows, some);
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
