// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "support/rig.h"

namespace {

constexpr double kTwoPi = 2 * std::numbers::pi;
constexpr int kBlock = 64;

// `blocks` blocks of one source's first pin.
std::vector<float> play(rig::Rig& blk, int blocks)
{
    const std::vector<std::vector<float>> clock = {std::vector<float>(static_cast<std::size_t>(blocks * kBlock))};
    return blk.run(clock)[0];
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

TEST(Sources, Constants)
{
    rig::Rig dc(EN_SOURCE_DC, 0, 3), number(EN_SOURCE_SWITCH, 0, 2);
    EXPECT_EQ(play(dc, 1), std::vector<float>(kBlock, 1.0F));
    dc.set({-0.3F});
    number.set({-2.9F});
    EXPECT_EQ(dc.process(), 0);
    EXPECT_EQ(number.process(), 0);
    EXPECT_TRUE(std::ranges::all_of(dc.out(2), [](float v) { return v == -0.3F; }));
    EXPECT_EQ(dc.core<DCInput_Core_S>().input_hex, static_cast<int>(0xBE99999A));
    EXPECT_EQ(dc.core<DCInput_Core_S>().decimal_bit, 24);
    EXPECT_EQ(number.out(1)[0], -2.0F);
}

// An eighth of a period apart.
TEST(Oscillator, HasItsShapeAtItsFrequency)
{
    const double root = std::sqrt(0.5);
    const struct {
        int type;
        double tolerance;
        std::vector<double> period;
    } waves[] = {
        {EN_SOURCE_OSC_SQUARE, 0, {1, 1, 1, 1, -1, -1, -1, -1}},
        {EN_SOURCE_OSC_TRIANGLE, 1e-6, {-1, -0.5, 0, 0.5, 1, 0.5, 0, -0.5}},  // half an ulp of 2 pi
        {EN_SOURCE_OSC_SAWTOOTH, 1e-6, {-1, -0.75, -0.5, -0.25, 0, 0.25, 0.5, 0.75}},
        {EN_SOURCE_OSC_SINE, 1.7e-4, {0, root, 1, root, 0, -root, -1, -root}},  // the fast sine's error
        {EN_SOURCE_OSC_BEEQ, 1.7e-4, {0, root, 1, root, 0, -root, -1, -root}},
    };
    for (const auto& wave : waves) {
        rig::Rig blk(wave.type, 0, 1, {.rate = 44100});
        blk.set({1, 44100 / 8.0F});
        const std::vector<float> once = play(blk, 1);
        for (std::size_t i = 0; i < 8; ++i)
            EXPECT_NEAR(once[i], wave.period[i], wave.tolerance) << wave.type << ", " << i;
    }
}

TEST(Oscillator, RestartsOnEveryChangeAndRunsOnWhileOff)
{
    rig::Rig blk(EN_SOURCE_OSC_TRIANGLE, 0, 1);
    play(blk, 3);
    blk.update();
    EXPECT_EQ(play(blk, 1)[0], -1.0F);
    blk.set({0, 500});
    EXPECT_EQ(rig::rms(play(blk, 3)), 0.0);
    EXPECT_GT(blk.core<OSC_Core_S>().phi, 0.0F);
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
    EXPECT_NEAR(rig::rms(std::span(x).subspan(48100)), 0.5 * std::sqrt(0.5), 1e-3);
}

TEST(Sweep, PlaysItsRepetitionsThenFallsSilentUntilReset)
{
    const float quarter = std::numbers::pi_v<float> / 2;  // a start phase makes starts visible as the peak
    rig::Rig blk(EN_SOURCE_SWEEP, 0, 1);
    blk.set({1000, 2000, 2, 0.002F, quarter, 0.003F, 0.25F, 1});
    const std::vector<float> x = play(blk, 10);
    EXPECT_FLOAT_EQ(x[0], 0.25F);
    EXPECT_TRUE(std::equal(x.begin(), x.begin() + 144, x.begin() + 144)) << "both sweeps alike";
    EXPECT_FLOAT_EQ(x[288], 0.25F);  // the sample that ends the last sweep
    EXPECT_TRUE(std::all_of(x.begin() + 289, x.end(), [](float v) { return v == 0.0F; }));
    EXPECT_EQ(blk->pParam[kSweepRepeatCounter], 2.0F);
    blk.update();
    EXPECT_EQ(play(blk, 10), x);
    blk.set({1000, 1000, 1, 1, 0, 0.1F, 1, 1});  // no growth: a plain tone, to the end of the sweep
    const std::vector<float> tone = play(blk, 150);
    EXPECT_NEAR(frequency(tone, 48000), 1000, 0.01);
    EXPECT_NEAR(rig::rms(tone), std::sqrt(0.5), 1e-3);
    for (const auto& [repeats, on] : {std::pair{0.0F, 1.0F}, {1.0F, 0.0F}}) {
        blk.set({1000, 2000, repeats, 1, 1, 1, 1, on});
        EXPECT_EQ(rig::rms(play(blk, 5)), 0.0);
    }
}

TEST(Vco, FrequencyPerPinWithItsLimits)
{
    rig::Rig blk(EN_SOURCE_VCO, 4, 5);
    const auto run = [&blk](const std::vector<float>& controls, int blocks) {
        std::vector<std::vector<float>> signal;
        for (const float control : controls) {  // only a block's first sample counts
            signal.emplace_back(static_cast<std::size_t>(blocks * kBlock), 9.0F);
            for (std::size_t i = 0; i < signal.back().size(); i += kBlock)
                signal.back()[i] = control;
        }
        return blk.run(signal);
    };
    const auto a = run({0.1F, 1.5F, -1.0F, 0.995F}, 1000);
    EXPECT_NEAR(frequency(a[0], 48000), 2400, 0.01);
    EXPECT_NEAR(frequency(a[1], 48000), 0.99 * 24000, 0.5);  // close to half the rate a crossing is a sample wide
    EXPECT_NEAR(frequency(a[3], 48000), 0.995 * 24000, 0.5);
    EXPECT_EQ(rig::rms(a[2]), 0.0);
    EXPECT_EQ(rig::rms(a[4]), 0.0) << "without a control";
    // A control at 0 holds the phase where it is, and NaN does not stick.
    const auto held = static_cast<float>(std::sin(static_cast<double>(blk.core<VCO_Core_S>().phi[0])));
    EXPECT_EQ(run({0.0F, NAN, 0.2F, 0.2F}, 2)[0], std::vector<float>(2 * kBlock, held));
    EXPECT_NEAR(frequency(run({0.1F, 0.1F, 0.1F, 0.1F}, 500)[1], 48000), 2400, 0.02);
}

TEST(WhiteNoise, IsItsMeanWithoutVarianceAndSilentWhenOff)
{
    rig::Rig blk(EN_SOURCE_WHITENOISE, 0, 2);
    blk.set({1, 0.25F, 0});
    EXPECT_EQ(play(blk, 1), std::vector<float>(kBlock, 0.25F));  // no variance: the mean
    blk.set({0, 0.25F, 1});
    EXPECT_EQ(rig::rms(play(blk, 1)), 0.0);
}

TEST(Clime, RestartsAndTakesWhatIsEditedWithAnUpdate)
{
    rig::Rig blk(EN_SOURCE_CLIME, 0, 2);
    blk.set({3, 150, 9, 12, 6, 1, 0, -20, -20, 0, 100, 150, 100, 1000, 500});
    const std::vector<float> x = play(blk, 300);
    EXPECT_NEAR(frequency(std::span(x).subspan(8000), 48000), 500, 0.01);
    blk.update();  // restarts over the block's own copy of the arrays
    EXPECT_EQ(play(blk, 300), x);
    EXPECT_EQ(std::vector<float>(blk->pParam, blk->pParam + 15),
              (std::vector<float>{3, 150, 6, 9, 12, 1, 0, 100, 150, 100, 1000, 500, 0, -20, -20}));
    blk->pParam[10] = 300;
    blk->pParam[14] = -6;
    blk.update();
    const std::vector<float> edited = play(blk, 300);
    EXPECT_NE(edited, x);
    blk.set({3, 150, 6, 9, 12, 1, 0, 100, 150, 100, 300, 500, 0, -20, -6});
    EXPECT_EQ(play(blk, 300), edited);
}

TEST(Clime, TablesThatDoNotFit)
{
    rig::Log log;
    rig::Rig blk(EN_SOURCE_CLIME, 0, 1);
    const std::vector<float> as_created = play(blk, 10);
    blk.set({5, 1004, 6, -1, 6, 1, 1, 2, 3, 4, 5});
    EXPECT_EQ(log.text(), "negative array index -1, the old arrays are kept\n\n");
    EXPECT_EQ(play(blk, 10), as_created);
    log.clear();
    blk->pParam[kClimeGainArray] = 47;  // four floats are left there, five are asked for
    blk.update();
    EXPECT_EQ(log.text(), "too large an array index 47, the old arrays are kept\n\n");
    EXPECT_EQ(play(blk, 10), as_created);
    log.clear();
    std::vector<float> long_vector(6 + 20, 440.0F);
    std::ranges::copy(std::vector<float>{20, 0, 6, 6, 6, 1}, long_vector.begin());
    blk.set(long_vector);
    EXPECT_EQ(log.text(), "array_length:20 out of range:0~ 15, be set to 15\n\n");
    EXPECT_EQ(blk->pParam[kClimeArrayLength], 15.0F);
    for (const auto& silent :
         {std::vector<float>{0, 10, 6, 6, 6, 1}, {-3, 10, 6, 6, 6, 1}, {1, 1000, 6, 7, 8, 0, 0, 1000, -6}}) {
        blk.set(silent);
        EXPECT_EQ(rig::rms(play(blk, 10)), 0.0);
    }
    blk.set({1, 1000, 6, 7, 8, 1, 0, 1000, -6});  // one point: its tone at once
    EXPECT_NEAR(frequency(play(blk, 200), 48000), 1000, 0.01);
    blk.set({3, 1000, 6, 9, 12, 1, 100, 100, 100, 1000, 2000, 3000, 0, 0, 0});  // no time between the points
    EXPECT_TRUE(std::isfinite(rig::rms(play(blk, 200))));
}

TEST(Sources, RefuseUnknownTypes)
{
    rig::Log log;
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
