// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>

#include "support/rig.h"

namespace {

// What a meter shows for a mean square: twice the level in dB, and the block's mean is taken by one sample too many.
double shown(double mean_square, int block = 64) { return 20 * std::log10(mean_square * block / (block + 1)); }

constexpr double kLogError = 0.0014 * 6.0206;

std::vector<float> levels(rig::Rig& blk)
{
    int count = -1;
    const float* level = LevelDetector_levels(blk.block(), &count);
    return {level, level + count};
}

void feed(rig::Rig& blk, float value, int blocks)
{
    blk.fill(0, value);
    EXPECT_EQ(blk.process(blocks), 0);
}

double angle(double hz) { return 2 * std::numbers::pi * hz / 48000; }

}  // namespace

TEST(LevelDetector, ShowsSteadySignalsAndPassesThem)
{
    rig::Rig blk(EN_DETECTORS_SINGLE_BAND, 1, 1);
    EXPECT_EQ(levels(blk), std::vector<float>{0.0F});
    feed(blk, 0.5F, 1500);
    EXPECT_NEAR(levels(blk)[0], shown(0.25), 0.01 + kLogError);
    const std::vector<float> tone = rig::sine(96000, 3000, 48000, 0.5);
    EXPECT_EQ(blk.run({tone})[0], tone);
    EXPECT_NEAR(levels(blk)[0], shown(0.125), 0.01 + kLogError);
    feed(blk, 0.0F, 3000);
    EXPECT_NEAR(levels(blk)[0], -180, 0.01);
    feed(blk, 0.5F, 20);
    const float before = levels(blk)[0];
    blk.set({0, 200, 0, 200});
    feed(blk, 0.9F, 20);
    EXPECT_EQ(blk.out(0)[63], 0.9F);
    EXPECT_EQ(levels(blk)[0], before);
}

TEST(LevelDetector, EveryRiseEarnsOneBlockOfHoldAndTheFallHasTheWeightOfTheRise)
{
    rig::Rig blk(EN_DETECTORS_SINGLE_BAND, 1, 1);
    const float& level = blk.core<SingleLevelDetector_Core>().smooth_rms;
    blk.set({1, 50, 64 * 5 / 48.0F, 1e6F});  // five blocks at most; the decay time has no say
    for (const auto& [rises, held] : {std::pair{1, 0}, std::pair{3, 2}, std::pair{9, 4}}) {
        feed(blk, 0.0F, 4000);
        feed(blk, 0.5F, rises);
        const float top = level;
        feed(blk, 0.0F, held);
        EXPECT_EQ(level, top) << rises;
        feed(blk, 0.0F, 1);
        EXPECT_NEAR(level / top, std::exp(-2200.0 * 64 / (48000 * 50)), 1e-6) << rises;
    }
}

TEST(LevelDetector, SevenBandsSitWhereTheyShould)
{
    constexpr double kCentre[] = {100, 250, 500, 1000, 2500, 5000, 10000};
    // A second-order pass filter has its Q at the corner. The 10 kHz band is divided by its neighbour's 1 + alpha, not
    // by its own, but for the leading 1 of the denominator.
    const double w5 = angle(5000), w10 = angle(10000), alpha = std::sin(w10) / 1.4;
    const double divisor = 1 + std::sin(w5) * std::sinh(0.41588834 * w5 / std::sin(w5));
    const std::complex<double> z = std::polar(1.0, -w10);
    const double high = std::abs((1 + std::cos(w10)) / 2 * (1.0 - z) * (1.0 - z) / divisor /
                                 (1.0 + (-2 * std::cos(w10) * z + (1 - alpha) * z * z) / divisor));
    for (std::size_t band = 0; band < 7; ++band) {
        rig::Rig blk(EN_DETECTORS_SEVEN_BAND, 1, 1);
        const std::vector<float> tone = rig::sine(96000, kCentre[band], 48000, 0.5);
        EXPECT_EQ(blk.run({tone})[0], tone);
        const std::vector<float> level = levels(blk);
        ASSERT_EQ(level.size(), 7U);
        const double gain = band == 0 ? 0.7 : band == 6 ? high : 1.0;
        EXPECT_NEAR(level[band], shown(0.125 * gain * gain), 0.15) << band;  // 100 Hz ripples by 0.9 %
        for (std::size_t other = 0; other < 7; ++other)
            if (kCentre[other] > 4.5 * kCentre[band] || kCentre[other] * 4.5 < kCentre[band]) {
                EXPECT_LT(level[other], level[band] - 2 * 10) << band << " in " << other;
            }
        EXPECT_EQ(blk->pState + 14, LevelDetector_levels(blk.block(), nullptr));
    }
}

TEST(LevelDetector, BandsOfTheVector)
{
    rig::Rig blk(EN_DETECTORS_MULTI_BAND, 1, 1);
    const std::vector<std::vector<float>> tone = {rig::sine(96000, 1000, 48000, 0.5)};
    blk.run(tone);
    ASSERT_EQ(levels(blk).size(), 1U);
    EXPECT_EQ(LevelDetector_levels(blk.block(), nullptr), blk->pState);
    EXPECT_NEAR(levels(blk)[0], shown(0.125), 0.02);
    std::vector<float> vector = {1, 200, 0, 200, 12};
    for (int k = 0; k < 12; ++k)
        for (const float entry : {static_cast<float>(k % 3), 1000.0F, k < 3 ? 0.8F : 0.5F})
            vector.push_back(entry);
    rig::Log log;
    EXPECT_EQ(blk.set(vector), 0);
    EXPECT_EQ(log.text(), "MultiLevelDetector_param_set: numBand is too large, set to 10\n");
    EXPECT_EQ(blk->pParam[kMultiLevelDetectorsNumBand], 10.0F);
    blk.run(tone);
    const std::vector<float> level = levels(blk);
    ASSERT_EQ(level.size(), 10U);
    for (std::size_t k = 0; k < 10; ++k) {
        const double gain = k % 3 == Detector_BP ? 1.0 : k < 3 ? 0.8 : 0.5;  // the passes have their Q at the corner
        EXPECT_NEAR(level[k], shown(0.125 * gain * gain), 0.02) << k;
    }
    // A third of an octave off the centre of a band of half an octave: the analogue prototype, warped hardly at all.
    blk.set({1, 200, 0, 200, 1, 0, 794.328F, 0.5F});
    blk.run(tone);
    const double detune = (1000 / 794.328 - 794.328 / 1000) / (2 * std::sinh(0.25 * std::numbers::ln2));
    EXPECT_NEAR(levels(blk)[0], shown(0.125 / (1 + detune * detune)), 0.1);
    blk.set({1, 200, 0, 200, -4});
    feed(blk, 1.0F, 2);
    EXPECT_TRUE(levels(blk).empty());
}

TEST(LevelDetector, AnUnknownBandEndsTheProcess)
{
    rig::Rig blk(EN_DETECTORS_MULTI_BAND, 1, 1);
    EXPECT_EXIT(blk.set({1, 200, 0, 200, 1, 3, 1000, 1}), testing::ExitedWithCode(255),
                "calculateDetectorCoeffs.*ErrorXXX: You should choose a filter type!\n\n");
}

TEST(LevelDetector, AnswersOnlyForDetectors)
{
    rig::Rig other(EN_DETECTORS_LOOKUP_RMS, 1, 1);
    for (const BlockAlgo* blk : {other.block(), static_cast<BlockAlgo*>(nullptr)}) {
        int count = 5;
        EXPECT_EQ(LevelDetector_levels(blk, &count), nullptr);
        EXPECT_EQ(count, 0);
    }
}

TEST(LevelDetector, MayLackPins)
{
    // A meter may stand at the end of a chain, without an output, or have nothing to measure.
    rig::Rig sink(EN_DETECTORS_SINGLE_BAND, 1, 0);
    feed(sink, 0.5F, 2000);
    EXPECT_NEAR(levels(sink)[0], shown(0.25), 0.02);
    EXPECT_EQ(rig::Rig(EN_DETECTORS_SEVEN_BAND, 0, 0).process(), 0);
    EXPECT_EQ(rig::Rig(EN_DETECTORS_LOOKUP_RMS, 0, 0).process(), 0);
}

TEST(LookUpTable, IndexIsTruncatedAndClamped)
{
    rig::Rig blk(EN_DETECTORS_LOOKUP_INDEX, 1, 1);
    blk.fill(0, {-3.7F, 2.9F, 100.0F, NAN, 1e30F, -0.9F});
    blk.process();
    const float expected[] = {1, 3, 6, 1, 6, 1};
    for (std::size_t i = 0; i < 6; ++i)
        EXPECT_EQ(blk.out(0)[i], expected[i]) << i;
    EXPECT_EQ(LookUpTable_Index_param_set(blk.block(), nullptr), 0);
    EXPECT_EQ(blk.set({9, 0, 1, 2, 3, 4, 5, 6, 7, 80}), 0);
    feed(blk, 8.0F, 1);
    EXPECT_EQ(blk.out(0)[0], 80.0F);
    for (const auto& [size, value] : {std::pair{1.0F, 7.0F}, std::pair{0.0F, 0.0F}, std::pair{-1.0F, 0.0F}}) {
        blk.set({size, 7});
        feed(blk, 8.0F, 1);
        EXPECT_EQ(blk.out(0)[0], value) << size;
    }
}

TEST(LookUpTable, LevelsInsideTheGridAllUseTheLastSegment)
{
    rig::Rig blk(EN_DETECTORS_LOOKUP_RMS, 1, 1);
    blk.set({20, 0, 20, 6, 1, 2, 4, 8, 16, 32});
    feed(blk, 0.0F, 2);
    EXPECT_EQ(blk.out(0)[63], 1.0F);
    // Each dB is worth 16 / 19.2, and the logarithm is up to 0.0042 dB short.
    for (const double level : {-50.0, -5.0, 3.0}) {
        feed(blk, static_cast<float>(rig::from_db(level)), 1500);
        const double f = (6 - shown(std::pow(10.0, level / 10)) / 2) / 19.2;
        EXPECT_NEAR(blk.out(0)[63], f * 16 + (1 - f) * 32, 0.005) << level;
    }
    feed(blk, 4.0F, 1500);
    EXPECT_EQ(blk.out(0)[0], 32.0F);
    for (const auto& [size, value] : {std::pair{1.0F, 7.0F}, std::pair{0.0F, 0.0F}}) {
        blk.set({20, 0, 20, size, 7});
        feed(blk, 0.5F, 500);
        EXPECT_EQ(blk.out(0)[0], value);
    }
}

TEST(LookUpTable, TwoIndexesPickAnEntryInDecibelsOrLinear)
{
    rig::Rig blk(EN_DETECTORS_LOOKUP_2D, 2, 1);
    feed(blk, 1.0F, 1);
    EXPECT_EQ(blk.out(0)[0], 1.0F);  // six entries of 0 dB
    for (const float flag : {0.0F, 1.0F}) {
        blk.set({flag, 2, 3, 0, -6, -12, -18, -24, -30});
        blk.fill(0, {1.0F, 0.0F, 1.9F, -5.0F, 9.0F});
        blk.fill(1, {2.0F, 1.0F, 0.0F, 0.5F, 9e9F});
        blk.process();
        const float entry[] = {-30, -12, -6, 0, -30};
        for (std::size_t i = 0; i < 5; ++i)
            EXPECT_NEAR(blk.out(0)[i], flag != 0.0F ? entry[i] : std::pow(10.0F, entry[i] / 20.0F), 1e-6) << i;
    }
    rig::Log log;
    EXPECT_EQ(blk.set({0, 1e9F, 1e9F}), RT_ERR_MALLOC);
    EXPECT_EQ(blk.process(), 0);
    EXPECT_EQ(blk.out(0)[0], -30.0F);
    blk.set({0, 0, 3});
    EXPECT_EQ(blk.process(), 0);
    EXPECT_EQ(blk.out(0)[0], 0.0F) << "no entry";
}

TEST(LevelDetector, ABandThatJoinsStartsFromSilence)
{
    rig::Rig blk(EN_DETECTORS_MULTI_BAND, 1, 1);
    feed(blk, 0.9F, 3);
    blk.set({1, 20, 0, 20, 2, Detector_BP, 1000, 1, Detector_LP, 100, 1});
    feed(blk, 0.0F, 1);
    EXPECT_NEAR(LevelDetector_levels(blk.block(), nullptr)[1], -180.0F, 0.1F);
}
