// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <numbers>
#include <numeric>

#include "support/rig.h"

namespace {

constexpr double kTwoPi = 2 * std::numbers::pi;
constexpr int kBlock = 64;

// `blocks` blocks of one source's first pin.
std::vector<float> play(rig::Rig& blk, int blocks)
{
    std::vector<float> signal;
    for (int i = 0; i < blocks; ++i) {
        EXPECT_EQ(blk.process(), 0);
        signal.insert(signal.end(), blk.out(0).begin(), blk.out(0).end());
    }
    return signal;
}

// Mean frequency between the first and the last rising zero crossing, interpolated.
double frequency(std::span<const float> x, double rate)
{
    double first = -1, last = -1;
    int periods = -1;
    for (std::size_t i = 1; i < x.size(); ++i)
        if (x[i - 1] < 0 && x[i] >= 0) {
            last = static_cast<double>(i) - static_cast<double>(x[i]) / (static_cast<double>(x[i]) - x[i - 1]);
            first = first < 0 ? last : first;
            ++periods;
        }
    return periods * rate / (last - first);
}

double rms(std::span<const float> x)
{
    double sum = 0;
    for (float v : x)
        sum += static_cast<double>(v) * v;
    return std::sqrt(sum / static_cast<double>(x.size()));
}

TEST(Sources, ConstantsReachEveryPin)
{
    rig::Rig dc(EN_SOURCE_DC, 0, 3);
    dc.process();
    EXPECT_EQ(dc.out(2)[63], 1.0F);
    dc.set({-0.3F});
    dc.process();
    for (int pin = 0; pin < 3; ++pin)
        EXPECT_TRUE(std::ranges::all_of(dc.out(pin), [](float v) { return v == -0.3F; }));
    EXPECT_EQ(static_cast<DCInput_Core_S*>(dc->AlgoCore)->input_hex, static_cast<int>(0xBE99999A));

    rig::Rig number(EN_SOURCE_SWITCH, 0, 2);
    number.set({-2.9F});
    number.process();
    EXPECT_EQ(number.out(1)[0], -2.0F);
}

// Full-scale waves: their period from the crossings, their level from the wave's own integral.
TEST(Oscillator, FrequencyAndLevel)
{
    const struct {
        int type;
        double level;
    } waves[] = {{EN_SOURCE_OSC_SINE, std::sqrt(0.5)},
                 {EN_SOURCE_OSC_BEEQ, std::sqrt(0.5)},
                 {EN_SOURCE_OSC_SAWTOOTH, std::sqrt(1.0 / 3)},
                 {EN_SOURCE_OSC_SQUARE, 1.0},
                 {EN_SOURCE_OSC_TRIANGLE, std::sqrt(1.0 / 3)}};
    for (const auto& wave : waves)
        for (float hz : {31.7F, 500.0F, 2999.0F}) {
            SCOPED_TRACE(testing::Message() << wave.type << " at " << hz);
            rig::Rig blk(wave.type, 0, 1, {.rate = 44100, .block = kBlock});
            blk.set({1, hz});
            const std::vector<float> x = play(blk, 2000);
            // The step is rounded to float: 6e-8; a square's crossings are uncertain by a sample in 2.9 s: 8e-6.
            EXPECT_NEAR(frequency(x, 44100) / static_cast<double>(hz), 1.0, 2e-5);
            EXPECT_NEAR(rms(x), wave.level, 2e-3);  // a part of a period, and a square's odd half
            EXPECT_LE(*std::ranges::max_element(x), 1.0F);
            EXPECT_GE(*std::ranges::min_element(x), -1.0F);
        }
}

TEST(Oscillator, ShapesPointByPoint)
{
    const auto first = [](int type, float hz) {
        rig::Rig blk(type, 0, 1);
        blk.set({1, hz});
        blk.process();
        return std::vector<float>(blk.out(0).begin(), blk.out(0).begin() + 8);
    };
    EXPECT_EQ(first(EN_SOURCE_OSC_SQUARE, 12000), (std::vector<float>{1, 1, -1, -1, 1, 1, -1, -1}));
    const float eps = 1e-6F;  // the phase is a float: half an ulp of 2 pi
    const float triangle[] = {-1, -0.5, 0, 0.5, 1, 0.5, 0, -0.5};
    const float saw[] = {-1, -0.75, -0.5, -0.25, 0, 0.25, 0.5, 0.75};
    const auto t = first(EN_SOURCE_OSC_TRIANGLE, 6000), s = first(EN_SOURCE_OSC_SAWTOOTH, 6000);
    const auto sine = first(EN_SOURCE_OSC_SINE, 6000);
    for (std::size_t i = 0; i < 8; ++i) {
        EXPECT_NEAR(t[i], triangle[i], eps);
        EXPECT_NEAR(s[i], saw[i], eps);
        EXPECT_NEAR(sine[i], std::sin(kTwoPi * static_cast<double>(i) / 8), 1.7e-4);  // the fast sine's error
    }
}

TEST(Oscillator, RestartsOnEveryChangeAndRunsOnWhileOff)
{
    rig::Rig blk(EN_SOURCE_OSC_TRIANGLE, 0, 1);
    play(blk, 3);
    blk.update();
    EXPECT_EQ(play(blk, 1)[0], -1.0F);
    blk.set({0, 500});
    EXPECT_EQ(rms(play(blk, 3)), 0.0);
    EXPECT_GT(static_cast<OSC_Core_S*>(blk->AlgoCore)->phi, 0.0F);
}

TEST(Sweep, DerivedValuesOfTheDefaults)
{
    rig::Rig blk(EN_SOURCE_SWEEP, 0, 1);
    const auto* core = static_cast<Sweep_Core_S*>(blk->AlgoCore);
    EXPECT_NEAR(core->k, 4.128917917333368, 1e-14);
    EXPECT_NEAR(core->p, 88.61942476384769, 1e-12);
    EXPECT_EQ(core->sweep_point, 240000);
}

// The phase is the integral of start * (end / start)^(t / T); after the sweep the end frequency holds.
TEST(Sweep, FrequencyOverTime)
{
    rig::Rig blk(EN_SOURCE_SWEEP, 0, 1);
    blk.set({100, 10000, 1, 1.0F, 0, 1.5F, 0.5F, 1});
    const std::vector<float> x = play(blk, 72000 / kBlock);
    for (std::size_t i = 0; i < 48000; ++i) {
        const double phase = kTwoPi * 100 / std::log(100.0) * (std::pow(100.0, static_cast<double>(i) / 48000) - 1);
        ASSERT_NEAR(x[i], 0.5 * std::sin(phase), 1e-6) << i;  // 48000 rounded steps of a phase below 14000 rad
    }
    EXPECT_NEAR(frequency(std::span(x).subspan(48100), 48000), 10000, 0.5);
    EXPECT_NEAR(rms(std::span(x).subspan(48100)), 0.5 * std::sqrt(0.5), 1e-3);
}

TEST(Sweep, PlaysItsRepetitionsThenFallsSilentUntilReset)
{
    const double quarter = std::numbers::pi / 2;  // a start phase makes starts visible as the peak
    rig::Rig blk(EN_SOURCE_SWEEP, 0, 1);
    const std::vector<float> vector{1000, 2000, 2, 0.002F, static_cast<float>(quarter), 0.003F, 0.25F, 1};
    blk.set(vector);
    const std::vector<float> x = play(blk, 10);
    for (std::size_t start : {0U, 144U})
        EXPECT_FLOAT_EQ(x[start], 0.25F);
    for (std::size_t i = 0; i < 144; ++i)
        ASSERT_EQ(x[i], x[i + 144]) << "both sweeps alike";
    EXPECT_FLOAT_EQ(x[288], 0.25F);  // the sample that ends the last sweep
    EXPECT_TRUE(std::all_of(x.begin() + 289, x.end(), [](float v) { return v == 0.0F; }));
    EXPECT_EQ(blk->pParam[kSweepRepeatCounter], 2.0F);
    blk.update();
    EXPECT_EQ(play(blk, 1)[0], x[0]);

    blk.set({1000, 1000, 1, 1, 0, 1, 1, 1});  // no growth: a plain tone
    EXPECT_NEAR(frequency(play(blk, 100), 48000), 1000, 0.01);
    blk.set({1000, 2000, 0, 1, 1, 1, 1, 1});
    EXPECT_EQ(rms(play(blk, 5)), 0.0);
    blk.set({1000, 2000, 1, 1, 1, 1, 1, 0});
    EXPECT_EQ(rms(play(blk, 5)), 0.0);
}

TEST(Vco, FrequencyPerPinWithItsLimits)
{
    rig::Rig blk(EN_SOURCE_VCO, 4, 4);
    const auto run = [&blk](std::initializer_list<float> controls, int blocks) {
        int pin = 0;
        for (float control : controls)
            blk.fill(pin++, {control, 9.0F});  // only the first sample counts
        std::vector<std::vector<float>> out(4);
        for (int i = 0; i < blocks; ++i) {
            blk.process();
            for (int c = 0; c < 4; ++c)
                out[static_cast<std::size_t>(c)].insert(out[static_cast<std::size_t>(c)].end(), blk.out(c).begin(),
                                                        blk.out(c).end());
        }
        return out;
    };
    const auto a = run({0.1F, 1.5F, -1.0F, 0.995F}, 1000);
    EXPECT_NEAR(frequency(a[0], 48000), 2400, 0.01);
    EXPECT_NEAR(frequency(a[1], 48000), 0.99 * 24000, 0.5);  // close to half the rate a crossing is a sample wide
    EXPECT_EQ(rms(a[2]), 0.0);
    EXPECT_NEAR(frequency(a[3], 48000), 0.995 * 24000, 0.5);
    // A control at 0 holds the phase where it is, and NaN does not stick.
    const float held = static_cast<float>(std::sin(static_cast<VCO_Core_S*>(blk->AlgoCore)->phi[0]));
    const auto b = run({0.0F, std::nanf(""), 0.2F, 0.2F}, 2);
    EXPECT_TRUE(std::ranges::all_of(b[0], [held](float v) { return v == held; }));
    EXPECT_NEAR(frequency(run({0.1F, 0.1F, 0.1F, 0.1F}, 500)[1], 48000), 2400, 0.02);

    rig::Rig fewer(EN_SOURCE_VCO, 1, 3);
    fewer.fill(0, 0.5F);
    fewer.process();
    EXPECT_EQ(rms(fewer.out(2)), 0.0);
}

TEST(WhiteNoise, ExactSequenceOfASeed)
{
    rig::Rig blk(EN_SOURCE_WHITENOISE, 0, 2);
    blk.set({1, 0.5F, 4.0F});
    std::srand(42);
    blk.process();
    std::srand(42);
    for (std::size_t i = 0; i < kBlock; ++i) {
        long long s = std::rand();
        double sum = 0;
        for (int k = 0; k < 12; ++k) {
            s = (s * 2045 + 1) % 1048576;
            sum += static_cast<double>(s) / 1048576;
        }
        ASSERT_EQ(blk.out(0)[i], 0.5F + lbx_fast_sqrtf(4.0F) * static_cast<float>(sum - 6)) << i;
        ASSERT_EQ(blk.out(1)[i], blk.out(0)[i]);
    }
}

TEST(WhiteNoise, MeanVarianceAndBounds)
{
    std::srand(1);
    rig::Rig blk(EN_SOURCE_WHITENOISE, 0, 1);
    const std::vector<float> x = play(blk, 4000);
    const auto n = static_cast<double>(x.size());
    const double mean = std::accumulate(x.begin(), x.end(), 0.0) / n;
    EXPECT_NEAR(mean, 0.0, 5 * 0.1 / std::sqrt(n));        // five standard errors
    EXPECT_NEAR(rms(x), 0.1, 5 * 0.1 / std::sqrt(2 * n));  // sigma is the variance
    EXPECT_LE(*std::ranges::max_element(x), 0.6F);
    EXPECT_GE(*std::ranges::min_element(x), -0.6F);
    blk.set({1, 0.25F, 0});
    EXPECT_EQ(play(blk, 1), std::vector<float>(kBlock, 0.25F));  // no variance: the mean
    blk.set({0, 0.25F, 1});
    EXPECT_EQ(rms(play(blk, 1)), 0.0);
}

// The phase is the integral of a piecewise linear frequency: 100 .. 1000 Hz over 100 ms, then 1000 .. 500 over 50.
TEST(Clime, FollowsItsBreakpoints)
{
    const std::vector<float> vector{3,
                                    150,
                                    9,
                                    12,
                                    6,
                                    1,
                                    /* dB */ 0,
                                    -20,
                                    -20,
                                    /* ms */ 0,
                                    100,
                                    150,
                                    /* Hz */ 100,
                                    1000,
                                    500};
    rig::Rig blk(EN_SOURCE_CLIME, 0, 2);
    blk.set(vector);
    const std::vector<float> x = play(blk, 300);
    const auto cycles = [](double t) {
        if (t < 0.1)
            return 100 * t + 4500 * t * t;
        if (t < 0.15)
            return 55 + 1000 * (t - 0.1) - 5000 * (t - 0.1) * (t - 0.1);
        return 92.5 + 500 * (t - 0.15);
    };
    for (std::size_t i = 0; i < x.size(); i += 7) {
        const double t = static_cast<double>(i) / 48000;
        const double gain = std::pow(10.0, -std::min(t / 0.1, 1.0));
        // Summing the phase step by step, from each step's start, is behind the integral by half a step's change:
        // up to 450 Hz / 48 kHz of a turn; the float phase adds little.
        ASSERT_NEAR(x[i], gain * std::sin(kTwoPi * cycles(t)), gain * 0.06 + 1e-6) << i;
    }
    EXPECT_NEAR(frequency(std::span(x).subspan(8000), 48000), 500, 0.01);
    blk.update();  // restarts over the block's own copy of the arrays
    EXPECT_EQ(play(blk, 300), x);
}

TEST(Clime, TablesThatDoNotFit)
{
    rig::Log log;
    rig::Rig blk(EN_SOURCE_CLIME, 0, 1);
    const std::vector<float> as_created = play(blk, 10);
    blk.set({5, 1004, 6, -1, 6, 1, 1, 2, 3, 4, 5});
    EXPECT_EQ(log.messages(), std::vector<std::string>{"negative array index -1, the old arrays are kept\n\n"});
    EXPECT_EQ(play(blk, 10), as_created);

    log.clear();
    std::vector<float> long_vector(6 + 20, 440.0F);
    std::ranges::copy(std::vector<float>{20, 0, 6, 6, 6, 1}, long_vector.begin());
    blk.set(long_vector);
    EXPECT_EQ(log.messages(), std::vector<std::string>{"array_length:20 out of range:0~ 15, be set to 15\n\n"});
    EXPECT_EQ(blk->pParam[kClimeArrayLength], 15.0F);

    for (const auto& vector : {std::vector<float>{0, 10, 6, 6, 6, 1}, {-3, 10, 6, 6, 6, 1}}) {
        blk.set(vector);
        EXPECT_EQ(rms(play(blk, 10)), 0.0);
    }
    blk.set({1, 1000, 6, 7, 8, 1, 0, 1000, -6});  // one point: its tone at once
    EXPECT_NEAR(frequency(play(blk, 200), 48000), 1000, 0.01);
    blk.set({3, 1000, 6, 9, 12, 1, 100, 100, 100, 1000, 2000, 3000, 0, 0, 0});  // no time between the points
    EXPECT_TRUE(std::ranges::all_of(play(blk, 200), [](float v) { return std::isfinite(v); }));
    blk.set({1, 1000, 6, 7, 8, 0, 0, 1000, -6});
    EXPECT_EQ(rms(play(blk, 10)), 0.0);
}

TEST(Sources, PrintsAndRefusals)
{
    rig::Log log;
    for (int type = EN_SOURCE_CLIME; type <= EN_SOURCE_SWITCH; ++type)
        rig::Rig(type, 1, 1).invoke();
    EXPECT_EQ(log.messages(),
              (std::vector<std::string>{
                  "Clime param is 5.000000,1004.000000,1.000000\n\n", "DCinput param is 1.000000\n",
                  "OSC param is 500.000000,1.000000\n\n", "OSC param is 500.000000,1.000000\n\n",
                  "OSC param is 500.000000,1.000000\n\n", "OSC param is 500.000000,1.000000\n\n",
                  "OSC param is 500.000000,1.000000\n\n", "WhiteNoise param is 0.000000, 0.010000\n\n",
                  "Sweep param is 20.000000, 24000.000000, 2.000000, 5.000000, 0.000000, 5.000000, 1.000000\n",
                  "Switch param is 0.000000\n"}));
    log.clear();
    rig::Rig blk(EN_SOURCE_OSC_SINE, 0, 1);
    blk->method_type = 0x09FF;
    float vector[] = {1, 2};
    EXPECT_EQ(BlockAlgo_param_reset(blk.block(), vector), -1);
    EXPECT_EQ(blk.update(), -1);
    EXPECT_EQ(blk.invoke(), -1);
    EXPECT_EQ(blk.process(), RT_ERR_FATAL_THREAD);
    EXPECT_EQ(BlockAlgo_SOURCE_destroy(blk.block()), -1);
    EXPECT_EQ(OscillatorSource_ProcessAudioSample(blk.block(), nullptr, nullptr), -1);
    EXPECT_EQ(BlockAlgo_SOURCE_init(0, 1, nullptr, EN_SOURCE), nullptr);
    EXPECT_EQ(log.messages(), std::vector<std::string>(7, "This case is not supported. Please check your spelling\n"));
    blk->method_type = EN_SOURCE_OSC_SINE;
    EXPECT_EQ(SweepSource_Invoke(nullptr), 0);
    EXPECT_EQ(SweepSource_Destroy(nullptr), 0);
}

}  // namespace
