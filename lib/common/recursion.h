// SPDX-License-Identifier: Apache-2.0
// Laws that wait for their own last result, the same on every channel: up to eight channels run side by side, so that
// they wait together. For every channel the operations and their order are those of the plain loop.
#pragma once

#include <algorithm>

#include "lanes.h"

namespace lbx {

// |x|
LBX_INLINE float magnitude(float x) { return std::fabs(x); }
template <class V>
LBX_INLINE V magnitude(V x)
{
    if constexpr (std::is_class_v<V>) {
        return join(magnitude(lower(x)), magnitude(upper(x)));
    } else {
        using Bits [[gnu::vector_size(sizeof(V))]] = int;
        return reinterpret_cast<V>(reinterpret_cast<Bits>(x) & 0x7fffffff);
    }
}

// Eight channels. An idle lane repeats the last channel in everything.
template <int kWords>
struct Packet {
    const float* in[8];
    float* out[8];
    float word[kWords][8];
};

template <class V, int kWords, class Step>
LBX_KERNEL void recur(Packet<kWords>& packet, int n, const Step& law)
{
    const Step step = law;  // outputs might overlap it, as far as the compiler knows
    const auto& in = packet.in;
    const auto& out = packet.out;
    V word[kWords];
    repeat<kWords>([&](auto w) { word[w] = load<V>(packet.word[w]); });
    int i = 0;
    for (; i + 4 <= n; i += 4) {
        V four[4];
        repeat<4>([&](auto k) { four[k] = of_halves<V>([&](int h) { return load<f4>(in[4 * h + k] + i); }); });
        transpose(four);
        repeat<4>([&](auto k) { four[k] = step(word, four[k], i + k); });
        transpose(four);
        repeat<4>([&](auto k) { each_half(four[k], [&](int h, f4 v) { store(out[4 * h + k] + i, v); }); });
    }
    for (; i < n; ++i)
        each_lane(step(word, lanes_of<V>([&](int l) { return in[l][i]; }), i), [&](int l, float v) { out[l][i] = v; });
    repeat<kWords>([&](auto w) { store(packet.word[w], word[w]); });
}

// out[c][i] = step(words, in[c][i], i), sample by sample. `words` are kWords references to what the channel carries on,
// for channel c in state[...][c]; words and samples are floats, or vectors of as many channels. An output may be any of
// the inputs of the same eight channels.
template <int kWords, class Step>
LBX_INLINE void each_recursion(float* const (&state)[kWords], const float* const* in, float* const* out, int channels,
                               int n, const Step& step)
{
    for (int c = 0; c < channels; c += 8) {
        const int some = std::min(channels - c, 8);
        if (some == 1) {
            float word[kWords];
            for (int w = 0; w < kWords; ++w)
                word[w] = state[w][c];
            for (int i = 0; i < n; ++i)
                out[c][i] = step(word, in[c][i], i);
            for (int w = 0; w < kWords; ++w)
                state[w][c] = word[w];
            continue;
        }
        Packet<kWords> packet;
        for (int l = 0; l < (some <= 4 ? 4 : 8); ++l) {
            const int k = c + std::min(l, some - 1);
            packet.in[l] = in[k];
            packet.out[l] = out[k];
            for (int w = 0; w < kWords; ++w)
                packet.word[w][l] = state[w][k];
        }
        (some <= 4 ? recur<f4, kWords, Step> : recur<f8, kWords, Step>)(packet, n, step);
        for (int w = 0; w < kWords; ++w)
            std::copy_n(packet.word[w], some, state[w] + c);
    }
}

}  // namespace lbx
