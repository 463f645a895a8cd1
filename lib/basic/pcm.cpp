// SPDX-License-Identifier: Apache-2.0
#include "pcm.h"

#include <algorithm>
#include <bit>

#include "../common/common.h"
#include "lbx_ulity.h"
#include "pcm_words.h"

using namespace lbx;
using namespace lbx::pcm;

namespace {

// Four bytes, of which `Bits` bits count; those above repeat the sign.
template <int Bits, ByteOrder Order>
struct LongWord {
    static constexpr int bytes = 4;
    static int load(const LBX_BYTE* p)
    {
        std::uint32_t word = 0;
        std::memcpy(&word, p, 4);
        const auto high = (Order == kBig ? __builtin_bswap32(word) : word) << (32U - Bits);
        return static_cast<std::int32_t>(high) >> (32 - Bits);
    }
    static void store(LBX_BYTE* p, int value)
    {
        const auto bits = static_cast<std::uint32_t>(value);
        const std::uint32_t sent = Order == kBig ? __builtin_bswap32(bits) : bits;
        std::memcpy(p, &sent, 4);
    }
};

// Words of a stream `step` bytes apart, and integers side by side; one by one, because they lie as they lie. How to get
// from those to samples is a loop over vectors, and the same for every way to lay out a word.
template <class W>
void gather(const LBX_BYTE* from, std::ptrdiff_t step, int* words, int n)
{
    for (int k = 0; k < n; ++k, from += step) {
        __asm__ volatile("");
        words[k] = W::load(from);
    }
}
template <class W>
void scatter(const int* words, LBX_BYTE* to, std::ptrdiff_t step, int n)
{
    for (int k = 0; k < n; ++k, to += step) {
        __asm__ volatile("");
        W::store(to, words[k]);
    }
}

// What a word is as a float, and back.
template <int Bits>
struct Whole {
    static constexpr float scale = Bits == 16 ? 32767.0F : 8388607.0F;
    static float sample(int word) { return static_cast<float>(word) / scale; }
    static int word(float v) { return round_to_int((v >= 1.0F ? 1.0F : v <= -1.0F ? -1.0F : v) * scale); }
};
template <>
struct Whole<32> {
    static constexpr double scale = 2147483647.0;  // no float
    static float sample(int word) { return static_cast<float>(static_cast<double>(word) / scale); }
    static int word(float v)
    {
        const double scaled = static_cast<double>(v >= 1.0F ? 1.0F : v <= -1.0F ? -1.0F : v) * scale;
        return to_int(scaled + (scaled < 0 ? -0.5 : 0.5));
    }
};
struct Float {
    static float sample(int word) { return std::bit_cast<float>(word); }
    static int word(float v) { return std::bit_cast<int>(v); }
};

template <class Value>
void to_samples(const int* words, float* samples, int n)
{
    each_index(n, [=](int k) LBX_INLINED { samples[k] = Value::sample(words[k]); });
}
template <class Value>
void to_words(const float* samples, int* words, int n)
{
    each_index(n, [=](int k) LBX_INLINED { words[k] = Value::word(samples[k]); });
}

struct Row {
    int width;
    void (*gather)(const LBX_BYTE* from, std::ptrdiff_t step, int* words, int n);
    void (*scatter)(const int* words, LBX_BYTE* to, std::ptrdiff_t step, int n);
    void (*to_samples)(const int* words, float* samples, int n);
    void (*to_words)(const float* samples, int* words, int n);
};
template <class W>
void take_word(Row& row)
{
    row.width = W::bytes;
    row.gather = gather<W>;
    row.scatter = scatter<W>;
}
template <ByteOrder Order>
void take_word(Row& row, int format)
{
    if (format == VANTORO_PCM_S16)
        take_word<Word<2, Order>>(row);
    else if (format == VANTORO_PCM_S24)
        take_word<Word<3, Order>>(row);
    else if (format == VANTORO_PCM_S24_32)
        take_word<LongWord<24, Order>>(row);
    else
        take_word<LongWord<32, Order>>(row);
}

template <class Value>
void take_value(Row& row)
{
    row.to_samples = to_samples<Value>;
    row.to_words = to_words<Value>;
}
void take_value(Row& row, int format)
{
    if (format == VANTORO_PCM_S16)
        take_value<Whole<16>>(row);
    else if (format == VANTORO_PCM_S32)
        take_value<Whole<32>>(row);
    else if (format == VANTORO_PCM_FLOAT)
        take_value<Float>(row);
    else
        take_value<Whole<24>>(row);
}

// No width: no such format. Not whole rows: the compiler would put them into a table, and each function in a table is
// relocated when a shared library is loaded.
[[gnu::noinline]] Row row_of(int format, int big_endian)
{
    Row row = {};
    if (format < VANTORO_PCM_S16 || format > VANTORO_PCM_FLOAT)
        return row;
    if (big_endian != 0)
        take_word<kBig>(row, format);
    else
        take_word<kLittle>(row, format);
    take_value(row, format);
    return row;
}

}  // namespace

int Vantoro_pcm_width(int format) { return row_of(format, 0).width; }

int Vantoro_pcm_read(const void* frames, float* const* channels, int channel_count, int frame_count, int format,
                     int big_endian)
{
    const Row row = row_of(format, big_endian);
    if (row.width == 0)
        return RT_ERR_VALUE;
    const std::ptrdiff_t step = std::ptrdiff_t{channel_count} * row.width;
    for (std::ptrdiff_t c = 0; c < channel_count; ++c) {
        const LBX_BYTE* from = static_cast<const LBX_BYTE*>(frames) + c * row.width;
        for (int at = 0, n = 0; at < frame_count; at += n) {
            int words[kTile];
            n = std::min(kTile, frame_count - at);
            row.gather(from + at * step, step, words, n);
            row.to_samples(words, channels[c] + at, n);
        }
    }
    return RT_OK;
}

int Vantoro_pcm_write(const float* const* channels, void* frames, int channel_count, int frame_count, int format,
                      int big_endian)
{
    const Row row = row_of(format, big_endian);
    if (row.width == 0)
        return RT_ERR_VALUE;
    const std::ptrdiff_t step = std::ptrdiff_t{channel_count} * row.width;
    for (std::ptrdiff_t c = 0; c < channel_count; ++c) {
        LBX_BYTE* to = static_cast<LBX_BYTE*>(frames) + c * row.width;
        for (int at = 0, n = 0; at < frame_count; at += n) {
            int words[kTile];
            n = std::min(kTile, frame_count - at);
            row.to_words(channels[c] + at, words, n);
            row.scatter(words, to + at * step, step, n);
        }
    }
    return RT_OK;
}
