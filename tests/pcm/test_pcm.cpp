// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <ctime>

#include "support/rig.h"

namespace {

using Bytes = std::vector<LBX_BYTE>;

constexpr LBX_BYTE kGuard = 0xA5;
constexpr int kSizes[] = {0, 1, 7, 16, 17, 1000};

std::size_t at(int i) { return static_cast<std::size_t>(i); }

int width(int bits) { return bits == 16 ? 2 : bits == 24 ? 3 : 1; }

float scale(int bits) { return bits == 16 ? 32767.0F : bits == 24 ? 8388607.0F : 1.0F; }

Bytes random_bytes(int n)
{
    Bytes bytes;
    for (float v : rig::noise(n, 7))
        bytes.push_back(static_cast<LBX_BYTE>(static_cast<int>(v * 8388608.0F) & 0xff));
    return bytes;
}

// Audio, and what wraps, saturates, is no number, or lies next to a half of 24 bits, where a careless rounding carries.
std::vector<float> any_floats(int n)
{
    std::vector<float> x = rig::noise(n, 5);
    for (std::size_t k = 0; k < x.size(); ++k)
        if (k % 2 == 0)
            x[k] = std::nextafter((std::trunc(x[k] * 99.0F) + 0.5F) / 8388607.0F, k % 4 == 0 ? 2.0F : -2.0F);
        else
            x[k] *= k % 5 == 0 ? 300.0F : k % 7 == 0 ? 1e30F : 1.5F;
    if (n > 6)
        x[6] = std::nanf("");
    return x;
}

// The definition of the formats: the low bytes of a word, with their sign unless it is one byte; sample k of a stream;
// what is sent of a float, from its integer part or the nearest integer, saturated at 32 bits.
int low_bytes(unsigned word, int bits)
{
    const int unused = 32 - 8 * width(bits);
    return bits == 8 ? static_cast<int>(word & 0xffU) : static_cast<int>(word << unused) >> unused;
}
int word_at(const Bytes& bytes, int k, int bits, int bs)
{
    const int n = width(bits);
    unsigned word = 0;
    for (int i = 0; i < n; ++i)
        word |= static_cast<unsigned>(bytes[at(k * n + (bs == 1 ? n - 1 - i : i))]) << (8 * i);
    return low_bytes(word, bits);
}
int sent(float v, int bits, bool nearest)
{
    if (std::isnan(v))
        return 0;
    const double scaled = v * scale(bits), whole = nearest ? std::round(scaled) : std::trunc(scaled);
    const double word = bits == 8 ? std::clamp(whole, 0.0, 4294967295.0) : std::clamp(whole, -0x1p31, 0x1p31 - 1);
    return low_bytes(static_cast<unsigned>(static_cast<long long>(word)), bits);
}

TEST(Pcm, WordsFollowTheirDefinition)
{
    for (int n : kSizes)
        for (int bits : {8, 16, 24})
            for (int bs : {0, 1}) {
                SCOPED_TRACE(testing::Message() << n << " samples, " << bits << " bits, order " << bs);
                const Bytes in = random_bytes(n * width(bits));
                const std::vector<float> x = any_floats(n);
                std::vector<float> f(at(n + 1), 0.25F);
                std::vector<short> s(at(n + 1), 77);
                std::vector<int> w(at(n + 1), 77);
                Bytes words(in.size() + 1, kGuard), shorts = words, floats = words;
                EXPECT_EQ(lbx_bytes2floats(in.data(), f.data(), n, bits, bs), n);
                EXPECT_EQ(lbx_bytes2shorts(in.data(), s.data(), n, bits, bs), n);
                EXPECT_EQ(lbx_bytes2ints(in.data(), w.data(), n, bits, bs), n);
                EXPECT_EQ(lbx_ints2bytes(w.data(), words.data(), n, bits, bs), n * width(bits));
                EXPECT_EQ(lbx_shorts2bytes(s.data(), shorts.data(), n, bits, bs), n * width(bits));
                EXPECT_EQ(lbx_floats2bytes(x.data(), floats.data(), n, bits, bs), n * width(bits));
                for (int k = 0; k < n; ++k) {
                    const int word = word_at(in, k, bits, bs);
                    ASSERT_EQ(f[at(k)], static_cast<float>(word) / scale(bits)) << k;
                    ASSERT_EQ(s[at(k)], bits == 24 ? in[at(k)] : word) << k;
                    ASSERT_EQ(w[at(k)], word) << k;
                    ASSERT_EQ(word_at(words, k, bits, bs), word) << k;
                    ASSERT_EQ(word_at(shorts, k, bits, bs), bits == 24 ? s[at(k)] * 256 : word) << k;
                    ASSERT_EQ(word_at(floats, k, bits, bs), sent(x[at(k)], bits, false)) << k;
                }
                EXPECT_EQ(f.back(), 0.25F);
                EXPECT_EQ(s.back(), 77);
                EXPECT_EQ(w.back(), 77);
                EXPECT_EQ((Bytes{words.back(), shorts.back(), floats.back()}), Bytes(3, kGuard));
            }
}

// Device formats, against whole numbers in double precision: words of both byte orders become floats, and floats that
// are too loud or no number become words at full scale or 0.
TEST(Pcm, DeviceFormatsClipAndRound)
{
    constexpr struct {
        VantoroPcm format;
        int bytes, bits;
    } kFormats[] = {
        {VANTORO_PCM_S16, 2, 16}, {VANTORO_PCM_S24, 3, 24}, {VANTORO_PCM_S24_32, 4, 24}, {VANTORO_PCM_S32, 4, 32}};
    for (const auto& [format, bytes, bits] : kFormats)
        for (int n : kSizes)
            for (int big : {0, 1}) {
                SCOPED_TRACE(testing::Message()
                             << n << " frames of " << bits << " in " << 8 * bytes << ", order " << big);
                const auto word_of = [&, bytes = bytes, bits = bits](const Bytes& stream, int k) {
                    std::uint32_t word = 0;
                    for (int i = 0; i < bytes; ++i)
                        word |= std::uint32_t{stream[at(k * bytes + (big == 1 ? bytes - 1 - i : i))]} << (8 * i);
                    return static_cast<std::int32_t>(word << (32 - bits)) >> (32 - bits);
                };
                const double full = std::ldexp(1.0, bits - 1) - 1;
                const Bytes in = random_bytes(2 * n * bytes);
                const std::vector<float> x = any_floats(2 * n);
                std::vector<float> left(at(n + 1), 0.25F), right = left;
                Bytes sent(at(2 * n * bytes + 1), kGuard);
                float* const channels[] = {left.data(), right.data()};
                const float* const sources[] = {x.data(), x.data() + n};
                EXPECT_EQ(Vantoro_pcm_width(format), bytes);
                EXPECT_EQ(Vantoro_pcm_read(in.data(), channels, 2, n, format, big), RT_OK);
                EXPECT_EQ(Vantoro_pcm_write(sources, sent.data(), 2, n, format, big), RT_OK);
                for (int k = 0; k < 2 * n; ++k) {
                    const auto exact = static_cast<float>(word_of(in, k) / full);
                    ASSERT_EQ((k % 2 == 0 ? left : right)[at(k / 2)], exact) << k;
                    const float v = sources[k % 2][k / 2];
                    const double clipped = std::isnan(v) ? 0.0 : std::clamp(static_cast<double>(v), -1.0, 1.0);
                    const double scaled =
                        bits == 32 ? clipped * full : static_cast<double>(static_cast<float>(clipped * full));
                    ASSERT_EQ(word_of(sent, k), static_cast<std::int32_t>(std::round(scaled))) << k << ' ' << v;
                    const int sign = sent[at(k * bytes + (big == 1 ? 0 : bytes - 1))];
                    ASSERT_TRUE(bytes * 8 == bits || sign == (word_of(sent, k) < 0 ? 0xff : 0)) << k;
                }
                EXPECT_EQ(left.back(), 0.25F);
                EXPECT_EQ(sent.back(), kGuard);
            }
    EXPECT_EQ(Vantoro_pcm_width(VANTORO_PCM_COUNT), 0);
    EXPECT_EQ(Vantoro_pcm_read(nullptr, nullptr, 1, 1, -1, 0), RT_ERR_VALUE);
}

// Frames of one, two and three channels.
TEST(Pcm, FramesHoldTheWordsOfTheirChannelsInTurn)
{
    for (int n : kSizes)
        for (int bits : {8, 16, 24})
            for (int chan : {1, 2, 3}) {
                SCOPED_TRACE(testing::Message() << n << " frames, " << bits << " bits, " << chan << " channels");
                const int bytes = bits == 8 ? 4 : width(bits);  // raw output is the float itself
                const Bytes in = random_bytes(n * chan * width(bits));
                const std::vector<float> x = any_floats(n * chan);
                std::vector<float> stream(x.size()), point(x.size()), source = x;
                std::vector<int> words(x.size());
                std::vector<float*> pins, sources;
                std::vector<int*> word_pins;
                for (int c = 0; c < chan; ++c) {
                    pins.push_back(point.data() + c * n);
                    sources.push_back(source.data() + c * n);
                    word_pins.push_back(words.data() + c * n);
                    for (int f = 0; f < n; ++f)
                        words[at(c * n + f)] = word_at(in, f * chan + c, bits, 1);
                }
                Bytes joined(in.size()), truncated(at(n * chan * bytes + 1), kGuard), nearest = truncated;
                EXPECT_EQ(lbx_bytes2floats_datastream(in.data(), stream.data(), chan, n, bits), n);
                EXPECT_EQ(lbx_bytes2floats_datapoint(in.data(), pins.data(), chan, n, bits), n);
                EXPECT_EQ(lbx_ints2bytes_ch(word_pins.data(), joined.data(), n, bits, 1, chan), n * chan * width(bits));
                EXPECT_EQ(lbx_floats2bytes_datastream(x.data(), truncated.data(), chan, n, bits), n * chan * bytes);
                EXPECT_EQ(lbx_floats2bytes_datapoint(sources.data(), nearest.data(), chan, n, bits), n * chan * bytes);
                EXPECT_EQ(joined, in);
                EXPECT_EQ(point, stream);
                EXPECT_EQ((Bytes{truncated.back(), nearest.back()}), Bytes(2, kGuard));
                for (int k = 0; k < n * chan; ++k) {
                    const int frame = k % n * chan + k / n;
                    const float v = x[at(k)], clipped = bits == 16 ? std::clamp(v, -1.0F, 1.0F) : v;
                    ASSERT_EQ(stream[at(k)], static_cast<float>(word_at(in, frame, bits, 0)) / scale(bits)) << k;
                    ASSERT_EQ(rig::bits({&source[at(k)], 1}), rig::bits({&clipped, 1}))
                        << k;  // the clip is written back
                    if (bits == 8) {
                        ASSERT_EQ(std::memcmp(&truncated[at(4 * frame)], &v, 4), 0) << k;
                        ASSERT_EQ(std::memcmp(&nearest[at(4 * frame)], &v, 4), 0) << k;
                    } else {
                        ASSERT_EQ(word_at(truncated, frame, bits, 0), sent(v, bits, false)) << k;
                        ASSERT_EQ(word_at(nearest, frame, bits, 0), sent(clipped, bits, true)) << k;
                    }
                }
            }
}

TEST(Pcm, UnknownByteOrderWritesNothingOrScalesInPlace)
{
    float f[] = {32767.0F, -16383.5F};
    EXPECT_EQ(lbx_bytes2floats(nullptr, f, 2, 16, 2), 2);
    EXPECT_EQ(f[0], 1.0F);
    EXPECT_EQ(f[1], -0.5F);
    f[0] = 8388607.0F;
    EXPECT_EQ(lbx_bytes2floats(nullptr, f, 1, 24, -1), 1);
    EXPECT_EQ(f[0], 1.0F);

    Bytes out(8, kGuard);
    const Bytes untouched = out;
    const short s[] = {1, 2};
    int w[] = {1, 2};
    int* channels[] = {w};
    EXPECT_EQ(lbx_floats2bytes(f, out.data(), 2, 16, 2), 4);
    EXPECT_EQ(lbx_floats2bytes(f, out.data(), 2, 24, 2), 6);
    EXPECT_EQ(lbx_shorts2bytes(s, out.data(), 2, 24, 2), 6);
    EXPECT_EQ(lbx_ints2bytes(w, out.data(), 2, 16, 2), 4);
    EXPECT_EQ(lbx_ints2bytes_ch(channels, out.data(), 2, 16, 2, 1), 4);
    EXPECT_EQ(lbx_bytes2ints(out.data(), w, 2, 16, 2), 2);
    EXPECT_EQ(lbx_floats2bytes(f, out.data(), -2, 16, 0), -4);
    EXPECT_EQ(lbx_bytes2floats(out.data(), f, -2, 16, 0), -2);
    EXPECT_EQ(out, untouched);
    EXPECT_EQ(w[0], 1);
}

TEST(Pcm, DatapointClipsAndRoundsHalvesAwayFromZero)
{
    // Half a step scales to exactly 0.5 or 1.5 only for some values; take those.
    float half = 0.5F / 32767.0F;
    while (half * 32767.0F < 0.5F)
        half = std::nextafter(half, 1.0F);
    float in[] = {1.5F, -7.0F, 1.0F, half, -half, std::nextafter(half, 0.0F), 0.25F, std::nanf("")};
    float* pins[] = {in};
    Bytes out(16);
    EXPECT_EQ(lbx_floats2bytes_datapoint(pins, out.data(), 1, 8, 16), 16);
    const int expected[] = {32767, -32767, 32767, 1, -1, 0, 8192, 0};
    for (int k = 0; k < 8; ++k)
        EXPECT_EQ(word_at(out, k, 16, 0), expected[k]) << k;
}

TEST(Text, NumbersCaseAndDates)
{
    char text[12];
    for (int value : {0, 7, -40, 2147483647, -2147483647 - 1}) {
        lbx_itoa(value, text);
        EXPECT_EQ(std::string(text), std::to_string(value));
    }
    char mixed[] = "AbZ@[`{\xC4 9";
    EXPECT_EQ(lbx_strlwr(mixed), mixed);
    EXPECT_STREQ(mixed, "abz@[`{\xC4 9");

    ::setenv("TZ", "UTC-3", 1);  // three hours ahead of UTC, no summer time
    ::tzset();
    EXPECT_EQ(lbx_datestr2sec("1970-01-01 03:00:00"), 0);
    EXPECT_EQ(lbx_datestr2sec("2024/03/14T18.12.07"), 1710429127);  // 15:12:07 UTC
    EXPECT_EQ(lbx_datestr2sec("2024-08-09 08:09:10"), lbx_datestr2sec("2024-08-09") + 8 * 3600 + 9 * 60 + 10);
    ::setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);  // in summer, standard time still counts
    ::tzset();
    EXPECT_EQ(lbx_datestr2sec("2024-07-01 01:00:00"), 1719792000);
    EXPECT_EQ(lbx_datestr2sec("99999999999999999999"), -1);
}

}  // namespace
