// SPDX-License-Identifier: Apache-2.0
// Long FIR filters: the convolution they mean, whatever the block size, and the way between the two arithmetics.
#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "vantoro.h"
#include "vantoro_quiet.h"

namespace {

using Samples = std::vector<float>;

Samples noise(int n, std::uint32_t seed)
{
    Samples x(static_cast<std::size_t>(n));
    for (float& v : x)
        v = static_cast<float>(static_cast<std::int32_t>(seed = seed * 1664525U + 1013904223U)) * 0x1p-31F;
    return x;
}

// As an impulse response of a room.
Samples room(int taps, std::uint32_t seed)
{
    Samples h = noise(taps, seed);
    for (int k = 0; k < taps; ++k)
        h[static_cast<std::size_t>(k)] *=
            static_cast<float>(1.0 - k / (taps + 1.0)) / std::sqrt(static_cast<float>(taps));
    return h;
}

class Fir {
public:
    Fir(const Samples& taps, int block, int channels = 1) : channels_(channels)
    {
        pro_.nSamplingRate = 48000;
        pro_.nBlockSize = block;
        block_ = BlockAlgo_init(&pro_, channels, channels, EN_FILTER_FIR);
        set(taps);
    }
    ~Fir()
    {
        Vantoro_quiet_destroy(quiet_);
        BlockAlgo_destroy(block_);
    }
    Fir(const Fir&) = delete;
    Fir& operator=(const Fir&) = delete;

    void set(const Samples& taps, bool at_once = true)
    {
        Samples vector{static_cast<float>(taps.size())};
        vector.insert(vector.end(), taps.begin(), taps.end());
        EXPECT_EQ(BlockAlgo_param_reset(block_, vector.data()), RT_OK);
        if (quiet_ && at_once)
            prepare();
    }
    void prepare() { EXPECT_EQ(Vantoro_quiet_prepare(quiet_), RT_OK); }
    void make_quiet() { quiet_ = Vantoro_quiet_create(block_); }
    void clear() { EXPECT_EQ(Vantoro_quiet_clear(quiet_), RT_OK); }

    // Samples from..to of each channel, in place.
    void run(std::vector<Samples>& x, int from, int to, bool documented = false)
    {
        std::vector<float*> at(static_cast<std::size_t>(channels_));
        for (int k = from; k + pro_.nBlockSize <= to; k += pro_.nBlockSize) {
            for (std::size_t ch = 0; ch < at.size(); ++ch)
                at[ch] = x[ch].data() + k;
            documented ? BlockAlgo_process(block_, at.data(), at.data())
                       : Vantoro_quiet_process(quiet_, at.data(), at.data());
        }
    }
    Samples run(const Samples& x)
    {
        std::vector<Samples> y{x};
        run(y, 0, static_cast<int>(x.size()));
        return y[0];
    }

private:
    BlockPro pro_ = {};
    BlockAlgo* block_ = nullptr;
    VantoroQuiet* quiet_ = nullptr;
    int channels_;
};

// In dB re signal, of a few hundred samples from `from` on, against double precision.
double error_of(const Samples& y, const Samples& x, const Samples& h, int from, int to)
{
    double error = 0, signal = 0;
    for (int at = from; at < to; at += 1 + (to - from) / 211) {
        double exact = 0;
        for (int k = 0; k < static_cast<int>(h.size()) && k <= at; ++k)
            exact += static_cast<double>(h[static_cast<std::size_t>(k)]) *
                     static_cast<double>(x[static_cast<std::size_t>(at - k)]);
        const double difference = exact - static_cast<double>(y[static_cast<std::size_t>(at)]);
        error += difference * difference;
        signal += exact * exact;
    }
    return 10 * std::log10(error / signal);
}

}  // namespace

TEST(Convolution, IsThatOfTheTapsWhateverTheBlockSize)
{
    for (const int taps : {257, 3000, 65536}) {
        const Samples h = room(taps, 3);
        const Samples x = noise(taps < 10000 ? 25600 : 76800 + 25600, 9);  // whole blocks of all sizes
        Samples first;
        for (const int block : {64, 16, 100, 1024}) {
            Fir fir(h, block);
            fir.make_quiet();
            const Samples y = fir.run(x);
            if (first.empty())
                first = y;
            else
                EXPECT_EQ(y, first) << taps << " taps, blocks of " << block;
        }
        EXPECT_LT(error_of(first, x, h, 0, static_cast<int>(x.size())), -130) << taps;
    }
}

TEST(Convolution, TakesOverInMidRunAndGivesBack)
{
    for (const int taps : {600, 18000}) {
        const Samples h = room(taps, 5), other = room(taps, 6), more = room(taps + 700, 7);
        const Samples x = noise(80000, 11);
        std::vector<Samples> y{x};
        Fir fir(h, 100);
        fir.run(y, 0, 2000, true);
        fir.make_quiet();
        fir.run(y, 2000, 30100);
        fir.run(y, 30100, 30700, true);
        fir.run(y, 30700, 40000);
        EXPECT_LT(error_of(y[0], x, h, 2000, 30100), -130) << taps;
        EXPECT_LT(error_of(y[0], x, h, 30700, 40000), -130) << taps;
        fir.set(other);  // the past stays
        fir.run(y, 40000, 50000);
        EXPECT_LT(error_of(y[0], x, other, 40000, 50000), -130) << taps;
        fir.set(h, false);  // found little by little
        fir.run(y, 50000, 70000);
        EXPECT_LT(error_of(y[0], x, h, 66000, 70000), -130) << taps;
        fir.set(more, false);  // from silence, and as documented
        fir.run(y, 70000, 71000);
        fir.prepare();
        fir.run(y, 71000, 75000);
        fir.clear();
        fir.run(y, 75000, 80000);
        const auto since = [&](const Samples& all, int from) {
            return Samples(all.begin() + from, all.begin() + from + 5000);
        };
        EXPECT_LT(error_of(since(y[0], 70000), since(x, 70000), more, 1000, 5000), -130) << taps;
        EXPECT_LT(error_of(since(y[0], 75000), since(x, 75000), more, 0, 5000), -130) << taps;
    }
}

// To the bit what a new one would do.
TEST(Convolution, BeginsAnewAfterClear)
{
    const Samples h = room(18000, 8), x = noise(25600, 2);
    Fir used(h, 64), fresh(h, 64);
    used.make_quiet();
    fresh.make_quiet();
    used.run(noise(30016, 5));
    used.clear();
    EXPECT_EQ(used.run(x), fresh.run(x));
}

TEST(Convolution, NoticesDocumentedBlocksThatFillTheRingExactly)
{
    const Samples h = room(600, 5), x = noise(4096 + 1024 + 2048, 11);  // a ring of 1,024
    std::vector<Samples> y{x};
    Fir fir(h, 64);
    fir.make_quiet();
    fir.run(y, 0, 4096);
    fir.run(y, 4096, 5120, true);
    fir.run(y, 5120, 7168);
    EXPECT_LT(error_of(y[0], x, h, 5120, 7168), -130);
}

// Each channel as if it were alone; outputs may be the inputs. The sum of the bits holds machines to the same ones.
TEST(Convolution, HasTheSameBitsInEveryChannelAndOnEveryMachine)
{
    const Samples h = room(20000, 4);
    std::vector<Samples> all{noise(19200, 1), noise(19200, 2), noise(19200, 3)};
    const auto in = all;
    Fir three(h, 64, 3);
    three.make_quiet();
    three.run(all, 0, 19200);
    std::uint64_t sum = 0;
    for (std::size_t ch = 0; ch < all.size(); ++ch) {
        Fir one(h, 64);
        one.make_quiet();
        EXPECT_EQ(one.run(in[ch]), all[ch]) << ch;
        for (const float v : all[ch])
            sum = sum * 0x100000001b3U + std::bit_cast<std::uint32_t>(v);
    }
    EXPECT_EQ(sum, 7873688053720074452U);
}
