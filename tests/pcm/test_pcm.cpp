// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <ctime>
#include <limits>
#include <numeric>

#include "support/rig.h"

namespace {

using Bytes = std::vector<LBX_BYTE>;

constexpr LBX_BYTE kGuard = 0xA5;
constexpr int kSizes[] = {0, 1, 7, 16, 17, 1000};

int width(int bits) { return bits == 16 ? 2 : bits == 24 ? 3 : 1; }

Bytes random_bytes(int n)
{
    Bytes bytes;
    for (float v : rig::noise(n, 7))
        bytes.push_back(static_cast<LBX_BYTE>(static_cast<int>(v * 8388608.0F) & 0xff));
    return bytes;
}

// The word of sample k by hand: the definition of the formats.
int word_at(const Bytes& bytes, int k, int bits, int bs)
{
    const int n = width(bits);
    unsigned word = 0;
    for (int i = 0; i < n; ++i)
        word |= static_cast<unsigned>(bytes[static_cast<std::size_t>(k * n + (bs == 1 ? n - 1 - i : i))]) << (8 * i);
    if (n == 1)
        return static_cast<int>(word);
    return static_cast<int>(word << (32 - 8 * n)) >> (32 - 8 * n);
}

TEST(Pcm, EveryWordAtEverySizeReadsByItsDefinition)
{
    for (int n : kSizes)
        for (int bits : {8, 16, 24})
            for (int bs : {0, 1}) {
                SCOPED_TRACE(testing::Message() << n << " samples, " << bits << " bits, order " << bs);
                const Bytes in = random_bytes(n * width(bits));
                std::vector<float> f(static_cast<std::size_t>(n) + 1, 0.25F);
                std::vector<short> s(static_cast<std::size_t>(n) + 1, 77);
                std::vector<int> w(static_cast<std::size_t>(n) + 1, 77);
                EXPECT_EQ(lbx_bytes2floats(in.data(), f.data(), n, bits, bs), n);
                EXPECT_EQ(lbx_bytes2shorts(in.data(), s.data(), n, bits, bs), n);
                EXPECT_EQ(lbx_bytes2ints(in.data(), w.data(), n, bits, bs), n);
                const float scale = bits == 16 ? 32767.0F : bits == 24 ? 8388607.0F : 1.0F;
                for (int k = 0; k < n; ++k) {
                    const int word = word_at(in, k, bits, bs);
                    const auto at = static_cast<std::size_t>(k);
                    ASSERT_EQ(f[at], static_cast<float>(word) / scale) << k;
                    ASSERT_EQ(s[at], bits == 24 ? word >> 8 : word) << k;
                    ASSERT_EQ(w[at], word) << k;
                }
                EXPECT_EQ(f.back(), 0.25F);
                EXPECT_EQ(s.back(), 77);
                EXPECT_EQ(w.back(), 77);
            }
}

// There and back keeps the bytes. Floats do so at 16 bits only: w / s * s may fall one ulp short of w, which at 24 bits
// truncates to the neighbour.
TEST(Pcm, RoundTripsKeepTheBytes)
{
    for (int n : kSizes)
        for (int bits : {8, 16, 24})
            for (int bs : {0, 1}) {
                SCOPED_TRACE(testing::Message() << n << " samples, " << bits << " bits, order " << bs);
                const Bytes in = random_bytes(n * width(bits));
                const auto size = static_cast<std::size_t>(n);
                std::vector<int> w(size);
                std::vector<short> s(size);
                Bytes back(in.size() + 1, kGuard);
                Bytes expected = in;
                expected.push_back(kGuard);
                lbx_bytes2ints(in.data(), w.data(), n, bits, bs);
                EXPECT_EQ(lbx_ints2bytes(w.data(), back.data(), n, bits, bs), n * width(bits));
                EXPECT_EQ(back, expected);
                lbx_bytes2shorts(in.data(), s.data(), n, bits, bs);
                EXPECT_EQ(lbx_shorts2bytes(s.data(), back.data(), n, bits, bs), n * width(bits));
                if (bits == 24)  // the low byte is lost on the way
                    for (int k = 0; k < n; ++k)
                        expected[static_cast<std::size_t>(3 * k + (bs == 1 ? 2 : 0))] = 0;
                EXPECT_EQ(back, expected);
            }
    std::vector<short> words(65536);
    std::iota(words.begin(), words.end(), std::numeric_limits<short>::min());
    Bytes in(2 * words.size()), back(2 * words.size());
    std::vector<float> f(words.size());
    lbx_shorts2bytes(words.data(), in.data(), 65536, 16, 0);
    lbx_bytes2floats(in.data(), f.data(), 65536, 16, 0);
    lbx_floats2bytes(f.data(), back.data(), 65536, 16, 0);
    for (std::size_t k = 0; k < words.size(); ++k) {
        const int sent = word_at(back, static_cast<int>(k), 16, 0);
        ASSERT_LE(std::abs(sent - words[k]), 1);
        ASSERT_LE(std::abs(sent), std::abs(words[k])) << "truncation goes toward zero";
    }
    float* pins[] = {f.data()};
    lbx_bytes2floats_datapoint(in.data(), pins, 1, 65536, 16);
    lbx_floats2bytes_datapoint(pins, back.data(), 1, 65536, 16);
    in[0] = 0x01;  // the one word below -1 is clipped
    EXPECT_EQ(back, in);
}

TEST(Pcm, FloatsTruncateAndWrap)
{
    const float inf = std::numeric_limits<float>::infinity();
    // 1.5 wraps; 1e9 and infinities saturate at 32 bits first, so their low bits are all ones or all zeros.
    const float in[] = {1.5F, -1.5F, 1e9F, -inf, std::nanf(""), -0.99999F / 32767.0F};
    Bytes out(6 * 3 + 1, kGuard);
    EXPECT_EQ(lbx_floats2bytes(in, out.data(), 6, 16, 0), 12);
    out.resize(13);
    EXPECT_EQ(out, (Bytes{0xFE, 0xBF, 0x02, 0x40, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0, kGuard}));
    out.assign(19, kGuard);
    EXPECT_EQ(lbx_floats2bytes(in, out.data(), 6, 24, 1), 18);
    EXPECT_EQ(out, (Bytes{0xBF, 0xFF, 0xFE, 0x40, 0, 0x02, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0, kGuard}));
    const float raw[] = {200.9F, -3.0F, 257.0F, 1e20F};
    out.assign(5, kGuard);
    EXPECT_EQ(lbx_floats2bytes(raw, out.data(), 4, 8, 0), 4);
    EXPECT_EQ(out, (Bytes{200, 0, 1, 255, kGuard}));
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

// Frames of one, two and three channels against the flat form of the same interleaved run.
TEST(Pcm, FramesSplitAndJoinLikeTheFlatForm)
{
    for (int n : kSizes)
        for (int bits : {8, 16, 24})
            for (int chan : {1, 2, 3}) {
                SCOPED_TRACE(testing::Message() << n << " frames, " << bits << " bits, " << chan << " channels");
                const Bytes in = random_bytes(n * chan * width(bits));
                std::vector<float> flat(static_cast<std::size_t>(n * chan)), stream = flat, point = flat;
                std::vector<float*> pins;
                for (int c = 0; c < chan; ++c)
                    pins.push_back(point.data() + c * n);
                lbx_bytes2floats(in.data(), flat.data(), n * chan, bits, 0);
                EXPECT_EQ(lbx_bytes2floats_datastream(in.data(), stream.data(), chan, n, bits), n);
                EXPECT_EQ(lbx_bytes2floats_datapoint(in.data(), pins.data(), chan, n, bits), n);
                for (int f = 0; f < n; ++f)
                    for (int c = 0; c < chan; ++c)
                        ASSERT_EQ(stream[static_cast<std::size_t>(c * n + f)],
                                  flat[static_cast<std::size_t>(f * chan + c)]);
                EXPECT_EQ(point, stream);

                std::vector<int> words(static_cast<std::size_t>(n * chan)), split = words;
                std::vector<int*> word_pins;
                lbx_bytes2ints(in.data(), words.data(), n * chan, bits, 1);
                for (int c = 0; c < chan; ++c) {
                    word_pins.push_back(split.data() + c * n);
                    for (int f = 0; f < n; ++f)
                        word_pins.back()[f] = words[static_cast<std::size_t>(f * chan + c)];
                }
                Bytes joined(in.size());
                EXPECT_EQ(lbx_ints2bytes_ch(word_pins.data(), joined.data(), n, bits, 1, chan), n * chan * width(bits));
                EXPECT_EQ(joined, in);

                const int bytes = bits == 8 ? 4 : width(bits);
                Bytes sent(static_cast<std::size_t>(n * chan * bytes) + 1, kGuard);
                Bytes expected = in;
                if (bits == 8) {  // raw output is the float itself
                    expected.resize(flat.size() * sizeof(float));
                    std::copy_n(reinterpret_cast<const LBX_BYTE*>(flat.data()), expected.size(), expected.begin());
                }
                EXPECT_EQ(lbx_floats2bytes_datapoint(pins.data(), sent.data(), chan, n, bits), n * chan * bytes);
                EXPECT_EQ(sent.back(), kGuard);
                EXPECT_TRUE(std::equal(expected.begin(), expected.end(), sent.begin()));
                sent.assign(sent.size(), kGuard);
                EXPECT_EQ(lbx_floats2bytes_datastream(stream.data(), sent.data(), chan, n, bits), n * chan * bytes);
                EXPECT_EQ(sent.back(), kGuard);
                if (bits == 8) {
                    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), sent.begin()));
                }
            }
}

TEST(Pcm, DatapointRoundsClipsAndWritesTheClipBack)
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
    EXPECT_EQ(in[0], 1.0F);
    EXPECT_EQ(in[1], -1.0F);
    EXPECT_EQ(in[6], 0.25F);

    float wide[] = {1.5F, -1.0F};  // 24 bits do not clip: 12582910 keeps its low three bytes
    float* wide_pins[] = {wide};
    lbx_floats2bytes_datapoint(wide_pins, out.data(), 1, 2, 24);
    EXPECT_EQ(word_at(out, 0, 24, 0), 12582910 - 16777216);
    EXPECT_EQ(word_at(out, 1, 24, 0), -8388607);
    EXPECT_EQ(wide[0], 1.5F);

    float stream[] = {1.5F, 0.25F};  // the other form: no clip, no rounding
    lbx_floats2bytes_datastream(stream, out.data(), 1, 2, 16);
    EXPECT_EQ(word_at(out, 0, 16, 0), 49150 - 65536);
    EXPECT_EQ(word_at(out, 1, 16, 0), 8191);
    lbx_floats2bytes_datastream(stream, out.data(), 1, 2, 24);
    EXPECT_EQ(word_at(out, 0, 24, 0), 12582910 - 16777216);
    EXPECT_EQ(word_at(out, 1, 24, 0), 2097151);  // of 2097151.75
}

// A run converts as its samples do one by one, whatever is worked on together: every length, also with what wraps,
// saturates or is no number in it.
TEST(Pcm, RunsConvertLikeSingleSamples)
{
    for (int n : kSizes) {
        std::vector<float> in = rig::noise(n, 5);
        for (std::size_t k = 0; k < in.size(); ++k)
            in[k] *= k % 5 == 0 ? 300.0F : k % 7 == 0 ? 1e30F : 1.5F;
        if (n > 6)
            in[6] = std::nanf("");
        std::vector<float> run = in, single = in;
        float *run_pins[] = {run.data()}, *single_pin[1];
        for (int bits : {8, 16, 24})
            for (int bs : {0, 1}) {
                SCOPED_TRACE(testing::Message() << n << " samples, " << bits << " bits, order " << bs);
                const int size = width(bits), raw_size = bits == 8 ? 4 : size;
                Bytes all(static_cast<std::size_t>(n * size)), each = all;
                Bytes stream(static_cast<std::size_t>(n * raw_size)), point = stream, stream_each = stream,
                                                                      point_each = stream;
                std::vector<float> back(in.size(), 32767.0F), back_each = back;
                lbx_floats2bytes(in.data(), all.data(), n, bits, bs);
                lbx_bytes2floats(all.data(), back.data(), n, bits, bs);
                lbx_floats2bytes_datastream(in.data(), stream.data(), 1, n, bits);
                lbx_floats2bytes_datapoint(run_pins, point.data(), 1, n, bits);
                for (int k = 0; k < n; ++k) {
                    const float* x = in.data() + k;
                    single_pin[0] = single.data() + k;
                    lbx_floats2bytes(x, each.data() + k * size, 1, bits, bs);
                    lbx_bytes2floats(each.data() + k * size, back_each.data() + k, 1, bits, bs);
                    lbx_floats2bytes_datastream(x, stream_each.data() + k * raw_size, 1, 1, bits);
                    lbx_floats2bytes_datapoint(single_pin, point_each.data() + k * raw_size, 1, 1, bits);
                }
                EXPECT_EQ(all, each);
                EXPECT_EQ(back, back_each);
                EXPECT_EQ(stream, stream_each);
                EXPECT_EQ(point, point_each);
                EXPECT_EQ(rig::bits(run), rig::bits(single)) << "written back";
            }
    }
}

TEST(Pcm, RoundingMatchesTheMathLibrary)
{
    std::vector<float> in = rig::noise(20000, 3);
    for (std::size_t k = 0; k < in.size(); k += 2)  // around halves, where a careless rounding carries over
        in[k] = std::nextafter((std::trunc(in[k] * 99.0F) + 0.5F) / 8388607.0F, k % 4 == 0 ? 2.0F : -2.0F);
    float* pins[] = {in.data()};
    Bytes out(3 * in.size());
    lbx_floats2bytes_datapoint(pins, out.data(), 1, static_cast<int>(in.size()), 24);
    for (std::size_t k = 0; k < in.size(); ++k)
        ASSERT_EQ(word_at(out, static_cast<int>(k), 24, 0), static_cast<int>(std::round(in[k] * 8388607.0F)));
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
