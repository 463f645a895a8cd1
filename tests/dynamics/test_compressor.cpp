// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>

#include "support/rig.h"

namespace {

constexpr double kRamp = 64 * 3e-8;  // a gain is reached by 64 additions, half a digit of rounding each

float db(double decibels) { return static_cast<float>(rig::from_db(decibels)); }

std::vector<float> curve(std::vector<float> in, const std::vector<float>& out, float hold_ms = 0)
{
    std::vector<float> vector = {200, hold_ms, 200, 0, 0, static_cast<float>(in.size())};
    vector.insert(vector.end(), in.begin(), in.end());
    vector.insert(vector.end(), out.begin(), out.end());
    return vector;
}

// The gain on a steady signal: a square wave, whose peak and mean square are alike.
double settled_gain(rig::Rig& blk, float amplitude)
{
    for (std::size_t i = 0; i < blk.in(0).size(); ++i)
        blk.in(0)[i] = i % 2 == 0 ? amplitude : -amplitude;
    blk.process(600);
    return static_cast<double>(blk.out(0).back()) / static_cast<double>(blk.in(0).back());
}

const std::vector<float> kIn = {-80, -60, -35, -20, -3}, kOut = {-70, -60, -30, -25, -14};

double drawn(double level)
{
    std::size_t k = 0;
    while (k + 2 < kIn.size() && level > static_cast<double>(kIn[k + 1]))
        ++k;
    const auto x = static_cast<double>(kIn[k]), y = static_cast<double>(kOut[k]);
    return y + (level - x) * (static_cast<double>(kOut[k + 1]) - y) / (static_cast<double>(kIn[k + 1]) - x);
}

}  // namespace

TEST(Compressor, FollowsTheDrawnCurve)
{
    // Half a table step of 0.77 dB on slopes at most 0.67 off 1, and the logarithm's 0.0014 octaves.
    constexpr double kTolerance = 0.385 * 0.67 + 0.01;
    for (const int type : {EN_DP_COMPRESSOR_RMS, EN_DP_COMPRESSOR_PEAK}) {
        rig::Rig blk(type, 1, 1);
        blk.set(curve(kIn, kOut));
        for (double level = -79.3; level < -3.5; level += 2.7) {
            const double gain = 20 * std::log10(settled_gain(blk, db(level)));
            EXPECT_NEAR(level + gain, drawn(level), kTolerance) << type << " at " << level << " dB";
        }
        EXPECT_NEAR(20 * std::log10(settled_gain(blk, db(-88))), 10, 0.01);  // below: the first point's gain
        EXPECT_NEAR(settled_gain(blk, db(-2.5)), 1.0, kRamp);                // above: unity, not the last point's
        EXPECT_NEAR(settled_gain(blk, 1.0F), 1.0, kRamp);
    }
}

// Curves set one after another in the same block, and the gain in dB at levels in dB.
TEST(Compressor, CurvesWithOddPoints)
{
    std::vector<float> in, out;
    for (int k = 0; k < 10; ++k) {
        in.push_back(static_cast<float>(-80 + 8 * k));
        out.push_back(in.back() - 5);
    }
    const float half = -6.0206F;  // what 0.5 measures
    const struct {
        std::vector<float> in, out;
        std::vector<std::pair<double, double>> gains;
    } cases[] = {
        {in, out, {{-20, -5}}},
        {{-40, half, -1}, {-40, -16, -11}, {{-6.0206, 6.0206 - 16}}},                  // an inner point exactly met
        {{-60, -30, 0, 10}, {-70, -40, -10, -10}, {{-15, -10}, {-0.1, -10}, {0, 0}}},  // 0 dB ends a curve
        {{-60, -30, -30, -10}, {-70, -40, -60, -60}, {{-31, -10}, {-20, 0}}},          // so does a repeated level
        // At once at an end: the table of the curve before stays, and only its first entry is reached.
        {{0, -30, -10}, {-20, -50, -30}, {{-6.0206, -10}}},
        // A segment shorter than a step of the table ends the table.
        {{-80, -40, -39.9F, -10}, {-80, -46, -70, -70}, {{-20, -6}, {-40.2, -6}}},
        {{-60}, {-90}, {{-20, 0}}},  // fewer than two points are no curve
        {{}, {}, {{-20, 0}}},
        {{-60, -10}, {-70, -20}, {{-20, -10}}},
    };
    rig::Rig blk(EN_DP_COMPRESSOR_PEAK, 1, 1);
    for (const auto& c : cases) {
        blk.set(curve(c.in, c.out));
        for (const auto& [level, gain] : c.gains)
            EXPECT_NEAR(settled_gain(blk, db(level)), rig::from_db(gain), 1e-4) << c.in.size() << " at " << level;
    }
    rig::Log log;
    std::vector<float> eleven = curve(std::vector<float>(11, -90), std::vector<float>(11, -99));
    eleven[kCompressorPostGain] = 20;
    EXPECT_EQ(blk.set(eleven), 0);
    ASSERT_EQ(log.text(), "ERROR:Exceed limit table length\n");
    EXPECT_EQ(log.lines()[0].rfind("LOG (Compressor_param_set(): ,", 0), 0U);
    EXPECT_NEAR(settled_gain(blk, db(-20)), db(-10), 1e-4) << "as before";
    EXPECT_EQ(blk->pParam[kCompressorPostGain], 20.0F) << "but the entries before the curve are taken";
    blk.set({200, 0, 200, 0, 0, -3});
    EXPECT_NEAR(settled_gain(blk, db(-20)), 1.0, kRamp);
}

TEST(Compressor, WeightsFollowOneLawAtInitAndAnotherWhenSet)
{
    rig::Rig blk(EN_DP_COMPRESSOR_RMS, 1, 1, {.block = 256});
    EXPECT_NEAR(blk.core<Compressor_Core>().rmstc_coeff, 0.056979, 5e-7);
    EXPECT_NEAR(blk.core<Compressor_Core>().decay_coeff, 0.056979, 5e-7);
    std::vector<float> vector = curve({-60, -10}, {-60, -10});
    vector[kCompressorPostGain] = 6;
    blk.set(vector);
    EXPECT_NEAR(blk.core<Compressor_Core>().rmstc_coeff, 0.27840, 5e-6);
    EXPECT_NEAR(blk.core<Compressor_Core>().decay_coeff, 0.45883, 5e-6);
    blk.fill(0, 0.1F);
    blk.process();
    EXPECT_NEAR(blk.out(0)[255], 0.398107, 1e-6);  // 6 dB of power
}

TEST(Compressor, OneHoldCounterServesAllChannels)
{
    const auto blocks_held = [](int channels, bool neighbour_rises) {
        rig::Rig blk(EN_DP_COMPRESSOR_PEAK, channels, channels);
        blk.set(curve({-60, 0}, {-60, 0}, 64 * 8 / 48.0F));  // eight blocks
        blk.fill(0, 0.5F);
        blk.process();
        blk.fill(0, 0.1F);
        int held = 0;
        for (; held < 50 && blk.core<Compressor_Core>().smooth_rms[0] == 0.5F; ++held) {
            if (neighbour_rises)
                blk.fill(1, 0.01F * static_cast<float>(held + 1));
            blk.process();
        }
        return held;
    };
    EXPECT_EQ(blocks_held(1, false), 8);
    EXPECT_EQ(blocks_held(2, false), 4);  // counted down once per channel
    EXPECT_EQ(blocks_held(2, true), 50);  // and up again by any
}

TEST(Compressor, ChannelsSideBySideAreThoseOfOneChannelAlone)
{
    for (const int type : {EN_DP_COMPRESSOR_RMS, EN_DP_COMPRESSOR_PEAK})
        for (const int channels : {2, 5, 9})
            for (const int block : {5, 64, 257}) {
                rig::Rig all(type, channels, channels, {48000, block});
                all.set(curve(kIn, kOut));
                std::vector<std::vector<float>> x;
                for (int c = 0; c < channels; ++c)
                    x.push_back(rig::noise(8 * block, static_cast<unsigned>(c + 1)));
                const auto y = all.run(x);
                for (std::size_t c = 0; c < x.size(); ++c) {
                    rig::Rig one(type, 1, 1, {48000, block});
                    one.set(curve(kIn, kOut));
                    EXPECT_EQ(rig::bits(y[c]), rig::bits(one.run({x[c]})[0]))
                        << type << " " << channels << " " << block;
                }
            }
}
