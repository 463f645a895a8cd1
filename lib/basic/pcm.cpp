// SPDX-License-Identifier: Apache-2.0
#include "pcm.h"

#include <bit>
#include <type_traits>

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

// What a word is as a float, and back.
template <class W, int Bits>
struct Whole : W {
    static constexpr float scale = Bits == 16 ? 32767.0F : 8388607.0F;
    static float sample(int word) { return static_cast<float>(word) / scale; }
    static int word(float v) { return round_to_int((v >= 1.0F ? 1.0F : v <= -1.0F ? -1.0F : v) * scale); }
};
template <class W>
struct Whole<W, 32> : W {
    static constexpr double scale = 2147483647.0;  // no float
    static float sample(int word) { return static_cast<float>(static_cast<double>(word) / scale); }
    static int word(float v)
    {
        const double scaled = static_cast<double>(v >= 1.0F ? 1.0F : v <= -1.0F ? -1.0F : v) * scale;
        return to_int(scaled + (scaled < 0 ? -0.5 : 0.5));
    }
};
template <ByteOrder Order>
struct Float : LongWord<32, Order> {
    static float sample(int word) { return std::bit_cast<float>(word); }
    static int word(float v) { return std::bit_cast<int>(v); }
};

template <class W>
struct Format {
    static void read_all(const LBX_BYTE* in, float* const* channels, int count, int n)
    {
        for (std::ptrdiff_t c = 0; c < count; ++c)
            read<W>(in + c * W::bytes, n, count,
                    [out = channels[c]](std::ptrdiff_t k, int word) { out[k] = W::sample(word); });
    }
    static void write_all(const float* const* channels, LBX_BYTE* out, int count, int n)
    {
        for (std::ptrdiff_t c = 0; c < count; ++c)
            write<W>(out + c * W::bytes, n, count, [in = channels[c]](std::ptrdiff_t k) { return W::word(in[k]); });
    }
};

// The same, small rather than fast: of the other byte order than that of the devices.
template <class W>
struct RareFormat {
    [[gnu::cold]] static void read_all(const LBX_BYTE* in, float* const* channels, int count, int n)
    {
        Format<W>::read_all(in, channels, count, n);
    }
    [[gnu::cold]] static void write_all(const float* const* channels, LBX_BYTE* out, int count, int n)
    {
        Format<W>::write_all(channels, out, count, n);
    }
};

struct Row {
    int width;
    void (*read)(const LBX_BYTE*, float* const*, int, int);
    void (*write)(const float* const*, LBX_BYTE*, int, int);
};
template <class W, ByteOrder Order>
using FormatOf = std::conditional_t<Order == kBig, RareFormat<W>, Format<W>>;
template <class W, ByteOrder Order>
constexpr Row kRow = {W::bytes, FormatOf<W, Order>::read_all, FormatOf<W, Order>::write_all};

template <ByteOrder Order>
constexpr Row kRows[VANTORO_PCM_COUNT] = {kRow<Whole<Word<2, Order>, 16>, Order>,
                                          kRow<Whole<Word<3, Order>, 24>, Order>,
                                          kRow<Whole<LongWord<24, Order>, 24>, Order>,
                                          kRow<Whole<LongWord<32, Order>, 32>, Order>, kRow<Float<Order>, Order>};

const Row* row_of(int format, int big_endian)
{
    if (format < 0 || format >= VANTORO_PCM_COUNT)
        return nullptr;
    return big_endian != 0 ? &kRows<kBig>[format] : &kRows<kLittle>[format];
}

}  // namespace

int Vantoro_pcm_width(int format)
{
    const Row* row = row_of(format, 0);
    return row ? row->width : 0;
}

int Vantoro_pcm_read(const void* frames, float* const* channels, int channel_count, int frame_count, int format,
                     int big_endian)
{
    const Row* row = row_of(format, big_endian);
    if (!row)
        return RT_ERR_VALUE;
    row->read(static_cast<const LBX_BYTE*>(frames), channels, channel_count, frame_count);
    return RT_OK;
}

int Vantoro_pcm_write(const float* const* channels, void* frames, int channel_count, int frame_count, int format,
                      int big_endian)
{
    const Row* row = row_of(format, big_endian);
    if (!row)
        return RT_ERR_VALUE;
    row->write(channels, static_cast<LBX_BYTE*>(frames), channel_count, frame_count);
    return RT_OK;
}
