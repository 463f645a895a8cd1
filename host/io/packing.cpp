// SPDX-License-Identifier: Apache-2.0
#include "io/packing.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace vantoro {

namespace {

static_assert(std::endian::native == std::endian::little);

constexpr int kSome = 64;  // frames at a time

template <int Bytes>
std::int32_t extended(std::uint32_t word)
{
    constexpr int kSpare = 32 - 8 * Bytes;
    return static_cast<std::int32_t>(word << kSpare) >> kSpare;
}

template <int Bits>
struct Code {
    // libsndfile's conversion to integers scales by one code less than full scale, so that reading and writing would
    // not return the same samples.
    static constexpr float scale = static_cast<float>(1U << (Bits - 1));
    static constexpr float top = Bits == 32 ? 0x1.fffffeP30F : scale - 1;  // the largest float below full scale

    static float sample(std::int32_t word) { return static_cast<float>(word) * (1 / scale); }
    static std::int32_t word(float sample)
    {
        float v = sample * scale;
        v = v < top ? v : top;
        v = v > -scale ? v : -scale;
        v = sample == sample ? v : 0.0F;
        return static_cast<std::int32_t>(std::nearbyintf(v));
    }
};
struct Real {
    static float sample(std::int32_t word) { return std::bit_cast<float>(word); }
    static std::int32_t word(float sample) { return std::bit_cast<std::int32_t>(sample); }
};

// A frame of stereo is one number: loops over numbers and samples side by side are vectors, or few instructions. One of
// six bytes is read and written with the two after it.
template <int Bytes>
using Pair = std::conditional_t<Bytes == 2, std::uint32_t, std::uint64_t>;

template <int Bytes, class Value>
void unpack_pairs(const unsigned char* from, float* left, float* right, int frames)
{
    for (std::ptrdiff_t i = 0; i < frames; ++i) {
        Pair<Bytes> pair;
        std::memcpy(&pair, from + i * 2 * Bytes, sizeof pair);
        left[i] = Value::sample(extended<Bytes>(static_cast<std::uint32_t>(pair)));
        right[i] = Value::sample(extended<Bytes>(static_cast<std::uint32_t>(pair >> 8 * Bytes)));
    }
}

template <int Bytes>
void store_pairs(const std::uint32_t* left, const std::uint32_t* right, int frames, unsigned char* to)
{
    constexpr std::uint32_t kMask = 0xffffffffU >> (32 - 8 * Bytes);
    for (std::ptrdiff_t i = 0; i < frames; ++i) {
        const Pair<Bytes> pair = (left[i] & kMask) | static_cast<Pair<Bytes>>(right[i]) << 8 * Bytes;
        std::memcpy(to + i * 2 * Bytes, &pair, sizeof pair);
    }
}

template <class Value, int Shift>
void to_words(const float* from, std::uint32_t* words, int frames)
{
    for (std::ptrdiff_t i = 0; i < frames; ++i)
        words[i] = static_cast<std::uint32_t>(Value::word(from[i])) << Shift;
}

template <int Bytes, class Value>
void unpack_words(const unsigned char* from, float* const* channels, int count, int at, int frames)
{
    if (count == 2)
        return unpack_pairs<Bytes, Value>(from, channels[0] + at, channels[1] + at, frames);
    for (int ch = 0; ch < count; ++ch)
        for (std::ptrdiff_t i = 0; i < frames; ++i) {
            std::uint32_t word = 0;
            std::memcpy(&word, from + (i * count + ch) * Bytes, Bytes);
            channels[ch][at + i] = Value::sample(extended<Bytes>(word));
        }
}

template <int Bytes, class Value, int Shift = 0>
void pack_words(const float* const* channels, int count, int at, int frames, unsigned char* to)
{
    std::uint32_t words[2][kSome];
    for (int done = 0; done < frames; done += kSome, to += std::ptrdiff_t{kSome} * count * Bytes) {
        const int n = std::min(kSome, frames - done);
        for (int ch = 0; ch < count; ++ch) {
            to_words<Value, Shift>(channels[ch] + at + done, words[ch % 2], n);
            for (std::ptrdiff_t i = 0; i < n && count != 2; ++i)
                std::memcpy(to + (i * count + ch) * Bytes, &words[ch % 2][i], Bytes);
        }
        if (count == 2)
            store_pairs<Bytes>(words[0], words[1], n, to);
    }
}

}  // namespace

void unpack(const unsigned char* from, Packing packing, float* const* channels, int count, int at, int frames)
{
    const auto words = packing.bits == 0    ? unpack_words<4, Real>
                       : packing.bytes == 2 ? unpack_words<2, Code<16>>
                       : packing.bytes == 3 ? unpack_words<3, Code<24>>
                                            : unpack_words<4, Code<32>>;
    words(from, channels, count, at, frames);
}

void pack(const float* const* channels, int count, int at, int frames, Packing packing, unsigned char* to)
{
    const auto words = packing.bits == 0    ? pack_words<4, Real>
                       : packing.bytes == 2 ? pack_words<2, Code<16>>
                       : packing.bytes == 3 ? pack_words<3, Code<24>>
                       : packing.bits == 16 ? pack_words<4, Code<16>, 16>
                       : packing.bits == 24 ? pack_words<4, Code<24>, 8>
                                            : pack_words<4, Code<32>>;
    words(channels, count, at, frames, to);
}

}  // namespace vantoro
