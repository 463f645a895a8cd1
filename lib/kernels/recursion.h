// SPDX-License-Identifier: Apache-2.0
// Recursions, the same on every channel: each sample waits for the one before, so up to eight channels run side by side
// and wait together. For every channel the operations and their order are those of the plain loop.
#pragma once

#include <algorithm>
#include <cstddef>

#include "lanes.h"

namespace lbx {

// Samples i to i + 3 of the lanes of V; x[k] is one of every lane.
template <class V>
LBX_INLINE void load_four(const float* const* in, int i, V (&x)[4])
{
    repeat<4>([&](auto k) { x[k] = of_halves<V>([&](int h) { return load<f4>(in[4 * h + k] + i); }); });
    transpose(x);
}
template <class V>
LBX_INLINE void store_four(float* const* out, int i, V (&x)[4])
{
    transpose(x);
    repeat<4>([&](auto k) { each_half(x[k], [&](int h, f4 y) { store(out[4 * h + k] + i, y); }); });
}

// out[l][i] = step(x, i), x being in[l][i] of every lane l of V. Null for `out`: nothing is written.
template <class V, class Step>
LBX_INLINE void each_sample(const float* const* in, float* const* out, int n, Step step)
{
    int i = 0;
    for (; i + 4 <= n; i += 4) {
        V x[4];
        load_four(in, i, x);
        repeat<4>([&](auto k) { x[k] = step(x[k], i + k); });
        if (out)
            store_four(out, i, x);
    }
    for (; i < n; ++i) {
        const V y = step(lanes_of<V>([&](int l) { return in[l][i]; }), i);
        if (out)
            each_lane(y, [&](int l, float v) { out[l][i] = v; });
    }
}

// Lanes of the packet that so many channels fill.
constexpr int packet_width(int channels) { return channels <= 4 ? 4 : 8; }

// What fills the lanes is the same for every law. An idle lane repeats the last channel in everything, so that it reads
// and writes what is there anyway.
struct Pins {
    const float* in[8];
    float* out[8];

    void set(const float* const* from, float* const* to, int channels);
};
void fill_lanes(float* lane, const float* state, std::ptrdiff_t stride, int channels);
void take_lanes(const float* lane, float* state, std::ptrdiff_t stride, int channels);

template <class V, int kWords, class Law>
LBX_KERNEL void run_packet(const Pins& pins, float (&lane)[kWords][8], int n, const Law& law)
{
    auto step = law(V{});
    V word[kWords];
    // Lane by lane: what was just stored as floats is not there yet for a vector.
    repeat<kWords>([&](auto w) { word[w] = lanes_of<V>([&](int l) { return lane[w][l]; }); });
    each_sample<V>(pins.in, pins.out, n, [&](V x, int i) { return step(word, x, i); });
    repeat<kWords>([&](auto w) { store(lane[w], word[w]); });
}

// Channels `at` and up, fewer than fill the lanes; two wait together as well.
template <int kChannels, int kWords, class Law>
LBX_INLINE void run_few(float* const (&state)[kWords], std::ptrdiff_t stride, const float* const* in, float* const* out,
                        int at, int n, const Law& law)
{
    auto step = law(0.0F);
    float word[kChannels][kWords];
    const auto each_word = [&](auto take) {
        repeat<kChannels>(
            [&](auto c) { repeat<kWords>([&](auto w) { take(word[c][w], state[w][stride * (at + c)]); }); });
    };
    each_word([](float& here, float there) { here = there; });
    for (int i = 0; i < n; ++i) {
        float y[kChannels];  // all of them before one is written: laws read other pins, too
        repeat<kChannels>([&](auto c) { y[c] = step(word[c], in[at + c][i], i); });
        repeat<kChannels>([&](auto c) { out[at + c][i] = y[c]; });
    }
    each_word([](float here, float& there) { there = here; });
}

// Samples of all channels but one: below, filling the lanes costs more than it saves.
constexpr int kFewSamples = 20;

// out[c][i] = step(word, in[c][i], i), sample by sample. word[w] is what the channel carries on, for channel c in
// state[w][stride * c]. law(V{}) is the step for samples and words of V, a float or lanes for as many channels; what it
// takes from memory, it takes once. An output may be the input of its own channel.
template <int kWords, class Law>
LBX_INLINE void each_recursion(float* const (&state)[kWords], std::ptrdiff_t stride, const float* const* in,
                               float* const* out, int channels, int n, const Law& law)
{
    for (int c = 0, some; c < channels; c += some) {
        some = std::min(channels - c, 8);
        if (some == 1) {
            run_few<1>(state, stride, in, out, c, n, law);
            continue;
        }
        if (some == 2 || std::ptrdiff_t{n} * (some - 1) < kFewSamples) {
            some = 2;
            run_few<2>(state, stride, in, out, c, n, law);
            continue;
        }
        Pins pins;
        pins.set(in + c, out + c, some);
        float lane[kWords][8];
        repeat<kWords>([&](auto w) { fill_lanes(lane[w], state[w] + stride * c, stride, some); });
        (some <= 4 ? run_packet<f4, kWords, Law> : run_packet<f8, kWords, Law>)(pins, lane, n, law);
        repeat<kWords>([&](auto w) { take_lanes(lane[w], state[w] + stride * c, stride, some); });
    }
}

}  // namespace lbx
