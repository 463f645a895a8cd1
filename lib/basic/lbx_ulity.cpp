// SPDX-License-Identifier: Apache-2.0
#include "lbx_ulity.h"

#include <cstdlib>
#include <ctime>
#include <limits>

#include "pcm_words.h"

using namespace lbx;
using namespace lbx::pcm;

namespace {

// Any width but 16 and 24.
struct RawByte {
    static constexpr int bytes = 1;
    static constexpr float scale = 1.0F;
    static int load(const LBX_BYTE* p) { return *p; }
    static void store(LBX_BYTE* p, int value) { *p = static_cast<LBX_BYTE>(value); }
};

template <class W>
int truncated(float v)
{
    return to_int(v * W::scale);
}
template <>
int truncated<RawByte>(float v)
{
    return static_cast<int>(to_uint(v));
}

// What no converter of a device sends is small rather than fast.
template <class W, class Run>
[[gnu::cold, gnu::noinline]] void run_rarely(const Run& run)
{
    run(W{});
}

// Calls `run` with the sample layout; not at all for an unknown byte order.
template <class Run>
void with_word(int bits, int order, const Run& run)
{
    if (bits != 16 && bits != 24)
        run_rarely<RawByte>(run);
    else if (order == kBig)
        bits == 16 ? run_rarely<Word<2, kBig>>(run) : run_rarely<Word<3, kBig>>(run);
    else if (order == kLittle)
        bits == 16 ? run(Word<2>{}) : run(Word<3>{});
}

// From one channel to the next in a channel-major buffer; a negative count steps nowhere.
std::ptrdiff_t stride(int samples) { return samples > 0 ? samples : 0; }

int bytes_of(int bits) { return bits == 16 ? 2 : bits == 24 ? 3 : 1; }

// A number of bytes. Beyond an int it wraps.
int count(int samples, int width, int channels = 1)
{
    return static_cast<int>(static_cast<unsigned>(samples) * static_cast<unsigned>(width) *
                            static_cast<unsigned>(channels));
}

template <class W>
[[gnu::noinline]] void read_floats(const LBX_BYTE* in, float* out, int n, int step = 1)
{
    read<W>(in, n, step, [out](std::ptrdiff_t k, int value) { out[k] = static_cast<float>(value) / W::scale; });
}

template <class W>
[[gnu::noinline]] void write_truncated(const float* in, LBX_BYTE* out, int n, int step = 1)
{
    write<W>(out, n, step, [in](std::ptrdiff_t k) { return truncated<W>(in[k]); });
}

// Clips in the caller's buffer first, so that full scale becomes exactly 32767.
[[gnu::noinline]] void write_clipped16(float* in, LBX_BYTE* out, int n, int step)
{
    each_index(n, [in](int k) { in[k] = in[k] >= 1.0F ? 1.0F : in[k] <= -1.0F ? -1.0F : in[k]; });
    write<Word<2>>(out, n, step, [in](std::ptrdiff_t k) { return round_to_int(in[k] * 32767.0F); });
}

[[gnu::noinline]] void write_rounded24(const float* in, LBX_BYTE* out, int n, int step)
{
    write<Word<3>>(out, n, step, [in](std::ptrdiff_t k) { return round_to_int(in[k] * 8388607.0F); });
}

struct FloatBytes {
    static constexpr int bytes = 4;
};

[[gnu::noinline]] void write_float_bytes(const float* in, LBX_BYTE* out, int n, int step)
{
    walk<FloatBytes>(out, n, step, [in](std::ptrdiff_t k, LBX_BYTE* p) { std::memcpy(p, &in[k], 4); });
}

int frame_width(int bits) { return bits == 16 ? 2 : bits == 24 ? 3 : 4; }

// A short is sent as the upper word of a 24-bit sample.
template <class W>
constexpr int kShortShift = W::bytes == 3 ? 8 : 0;

// A decimal field, read as far as its digits go; 0 in a text that ends before `position`.
long field(const char* text, std::size_t length, std::size_t position)
{
    return position < length ? std::strtol(text + position, nullptr, 10) : 0;
}

int calendar(long value, long offset)
{
    const long least = std::numeric_limits<int>::min();
    const long most = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(value, least + offset, most) - offset);
}

}  // namespace

int lbx_bigorsmall(void) { return 0; }

int lbx_bytes2floats(const LBX_BYTE* in, float* out, int in_size, int bSamples, int bs)
{
    const bool scaled = bSamples == 16 || bSamples == 24;
    if (scaled && bs != kLittle && bs != kBig) {
        const float scale = bSamples == 16 ? 32767.0F : 8388607.0F;
        each_index(in_size, [=](int k) { out[k] = out[k] / scale; });
        return in_size;
    }
    with_word(bSamples, bs, [=](auto word) { read_floats<decltype(word)>(in, out, in_size); });
    return in_size;
}

int lbx_floats2bytes(const float* in, LBX_BYTE* out, int in_size, int bSamples, int bs)
{
    with_word(bSamples, bs, [=](auto word) { write_truncated<decltype(word)>(in, out, in_size); });
    return count(in_size, bytes_of(bSamples));
}

int lbx_bytes2floats_datapoint(const LBX_BYTE* in, float** out, int chan, int in_size, int bSamples)
{
    with_word(bSamples, kLittle, [=](auto word) {
        for (int c = 0; c < chan; ++c)
            read_floats<decltype(word)>(in + static_cast<std::ptrdiff_t>(c) * word.bytes, out[c], in_size, chan);
    });
    return in_size;
}

int lbx_bytes2floats_datastream(const LBX_BYTE* in, float* out, int chan, int in_size, int bSamples)
{
    with_word(bSamples, kLittle, [=](auto word) {
        for (std::ptrdiff_t c = 0; c < chan; ++c)
            read_floats<decltype(word)>(in + c * word.bytes, out + c * stride(in_size), in_size, chan);
    });
    return in_size;
}

int lbx_floats2bytes_datapoint(float** in, LBX_BYTE* out, int chan, int in_size, int bSamples)
{
    const int width = frame_width(bSamples);
    for (std::ptrdiff_t c = 0; c < chan; ++c) {
        if (bSamples == 16)
            write_clipped16(in[c], out + c * width, in_size, chan);
        else if (bSamples == 24)
            write_rounded24(in[c], out + c * width, in_size, chan);
        else
            write_float_bytes(in[c], out + c * width, in_size, chan);
    }
    return count(in_size, width, chan);
}

int lbx_floats2bytes_datastream(const float* in, LBX_BYTE* out, int chan, int in_size, int bSamples)
{
    const int width = frame_width(bSamples);
    for (std::ptrdiff_t c = 0; c < chan; ++c) {
        const float* channel = in + c * stride(in_size);
        if (bSamples == 16)
            write_truncated<Word<2>>(channel, out + c * width, in_size, chan);
        else if (bSamples == 24)
            write_truncated<Word<3>>(channel, out + c * width, in_size, chan);
        else
            write_float_bytes(channel, out + c * width, in_size, chan);
    }
    return count(in_size, width, chan);
}

// Whole numbers are for files, not for an audio thread: small rather than fast. 16 bits or raw: a stream of 24 bits is
// read byte by byte too.
[[gnu::cold]] int lbx_bytes2shorts(const LBX_BYTE* in, short* out, int in_size, int bSamples, int bs)
{
    with_word(bSamples == 16 ? 16 : 8, bs, [=](auto word) {
        read<decltype(word)>(in, in_size, 1,
                             [out](std::ptrdiff_t k, int value) { out[k] = static_cast<short>(value); });
    });
    return in_size;
}

[[gnu::cold]] int lbx_shorts2bytes(const short* in, LBX_BYTE* out, int in_size, int bSamples, int bs)
{
    with_word(bSamples, bs, [=](auto word) {
        using W = decltype(word);
        walk<W>(out, in_size, 1,
                [in](std::ptrdiff_t k, LBX_BYTE* p) { W::store(p, static_cast<int>(in[k]) * (1 << kShortShift<W>)); });
    });
    return count(in_size, bytes_of(bSamples));
}

[[gnu::cold]] int lbx_bytes2ints(const LBX_BYTE* in, int* out, int in_size, int bSamples, int bs)
{
    with_word(bSamples, bs, [=](auto word) {
        using W = decltype(word);
        read<W>(in, in_size, 1, [out](std::ptrdiff_t k, int value) { out[k] = value; });
    });
    return in_size;
}

[[gnu::cold]] int lbx_ints2bytes(const int* in, LBX_BYTE* out, int in_size, int bSamples, int bs)
{
    with_word(bSamples, bs, [=](auto word) {
        using W = decltype(word);
        walk<W>(out, in_size, 1, [in](std::ptrdiff_t k, LBX_BYTE* p) { W::store(p, in[k]); });
    });
    return count(in_size, bytes_of(bSamples));
}

[[gnu::cold]] int lbx_ints2bytes_ch(int** in, LBX_BYTE* out, int in_size, int bSamples, int bs, int ch)
{
    with_word(bSamples, bs, [=](auto word) {
        using W = decltype(word);
        for (std::ptrdiff_t c = 0; c < ch; ++c) {
            const int* channel = in[c];
            walk<W>(out + c * W::bytes, in_size, ch,
                    [channel](std::ptrdiff_t k, LBX_BYTE* p) { W::store(p, channel[k]); });
        }
    });
    return count(in_size, bytes_of(bSamples), ch);
}

[[gnu::cold]] void lbx_itoa(int data, char* buffer)
{
    constexpr char kDigits[] = "0123456789";
    // Unsigned, because the smallest int has no positive counterpart.
    unsigned rest = data < 0 ? 0U - static_cast<unsigned>(data) : static_cast<unsigned>(data);
    char* end = buffer;
    do {
        *end++ = kDigits[rest % 10];
        rest /= 10;
    } while (rest != 0);
    if (data < 0)
        *end++ = '-';
    *end = '\0';
    std::reverse(buffer, end);
}

char* lbx_strlwr(char* s)
{
    for (char* p = s; *p; ++p)
        if (*p >= 'A' && *p <= 'Z')
            *p = static_cast<char>(*p + 32);
    return s;
}

[[gnu::cold]] long lbx_datestr2sec(const char* pszDate)
{
    const std::size_t length = std::strlen(pszDate);
    const auto at = [=](std::size_t position, long offset) {
        return calendar(field(pszDate, length, position), offset);
    };
    std::tm when = {};
    when.tm_year = at(0, 1900);
    when.tm_mon = at(5, 1);
    when.tm_mday = at(8, 0);
    when.tm_hour = at(11, 0);
    when.tm_min = at(14, 0);
    when.tm_sec = at(17, 0);
    return std::mktime(&when);
}
