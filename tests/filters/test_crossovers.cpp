// SPDX-License-Identifier: Apache-2.0
// Crossovers: designs against their prototypes, sums of bands, pins, and what a change of type does to the state.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/filters.h"
#include "support/rig.h"

namespace {

using Vector = std::vector<float>;
using rig::db, rig::kPi;
constexpr double kRate = 48000.0;

// `power` of the same filters in series. Where they are filters of their own, the gain is of each of them.
struct Type {
    int order, algorithm, power, gains, sections;
} const kTypes[] = {
    {1, kDesignButterworth, 2, 1, 1},  // LR12
    {2, kDesignButterworth, 1, 1, 1},  // Butter12
    {2, kDesignBessel, 1, 1, 1},       // Bessel12
    {3, kDesignButterworth, 1, 1, 2},  // Butter18
    {3, kDesignBessel, 1, 1, 2},       // Bessel18
    {2, kDesignButterworth, 2, 2, 2},  // LR24
    {4, kDesignButterworth, 1, 1, 2},  // Butter24
    {4, kDesignBessel, 1, 1, 2},       // Bessel24
    {3, kDesignButterworth, 2, 2, 4},  // LR36
    {4, kDesignButterworth, 2, 2, 4},  // LR48
};

Vector two_way(int type, float fc, float low_db, float high_db, float polarity)
{
    return {static_cast<float>(type), fc, low_db, static_cast<float>(type), fc, high_db, polarity};
}

// The two bands' answers to an impulse.
std::vector<Vector> answers(const Vector& vector)
{
    rig::Rig blk(EN_FILTER_CROSSOVER_2WAY, 1, 2, {.block = 8192});
    blk.set(vector);
    std::vector<Vector> signal = {Vector(8192)};
    signal[0][0] = 1.0F;
    return blk.run(signal);
}

}  // namespace

TEST(Crossover, EveryTypeIsItsPrototype)
{
    for (int type = LR12; type <= LR48; ++type)
        for (const double fc : {300.0, 2000.0, 9000.0}) {
            SCOPED_TRACE(testing::Message() << "type " << type << " at " << fc);
            const auto bands = answers(two_way(type, static_cast<float>(fc), 6, -3, 0));
            const auto [order, algorithm, power, gains, sections] = kTypes[type];
            for (double hz = fc / 8.0; hz < std::min(8.0 * fc, 0.49 * kRate); hz *= 1.3)
                for (const bool high : {false, true}) {
                    const double W = std::tan(kPi * hz / kRate) / std::tan(kPi * fc / kRate);
                    const double ideal_db =
                        10.0 * power * std::log10(rig::ideal_power(order, algorithm, 0, high ? 1.0 / W : W));
                    if (ideal_db < (high ? -60.0 : -80.0))
                        continue;
                    // Coefficients near 1 and 2 are rounded to 2^-24, as every sum is; in the response they stand
                    // against the square of the distance from 0 Hz, once per section.
                    const double w = 2.0 * kPi * std::min(hz, fc) / kRate;
                    EXPECT_NEAR(db(rig::spectrum(bands[high ? 1 : 0], 2.0 * kPi * hz / kRate)),
                                ideal_db + (high ? -3.0 : 6.0) * gains,
                                0.005 + 8.686 * sections * std::exp2(-21.0) / (w * w))
                        << hz;
                }
        }
}

TEST(Crossover, LinkwitzRileyPairsSumFlat)
{
    for (const auto& [type, polarity] : {std::pair{LR12, 1.0F}, {LR24, 0.0F}, {LR36, 1.0F}, {LR48, 0.0F}}) {
        auto bands = answers(two_way(type, 700, 0, 0, polarity));
        std::ranges::transform(bands[0], bands[1], bands[0].begin(), std::plus<>());
        for (double hz = 20.0; hz < 24000.0; hz *= 1.3)
            // 1.4142 for the root of 2, twice: 0.0002 dB; the rest is single precision.
            EXPECT_NEAR(db(rig::spectrum(bands[0], 2.0 * kPi * hz / kRate)), 0.0, 0.003) << type << " at " << hz;
    }
}

TEST(Crossover, EveryChannelHasItsBandsInOrder)
{
    rig::Rig stereo(EN_FILTER_CROSSOVER_3WAY, 2, 6), mono(EN_FILTER_CROSSOVER_3WAY, 1, 3),
        crossed(EN_FILTER_CROSSOVER_3WAY, 2, 6);
    for (rig::Rig* blk : {&stereo, &mono, &crossed})
        blk->set({LR48, 500, 0, Bessel18, 4000, 2, Butter12, 4000, LR36, 500, -1, 1, 1});
    crossed.alias(0, 1);  // the first low band into the second input
    crossed.alias(4, 0);
    const auto signal = std::vector{rig::noise(640, 1), rig::noise(640, 2)};
    const auto six = stereo.run(signal), three = mono.run({signal[1]});
    EXPECT_EQ(std::vector(six.begin() + 3, six.end()), three);
    EXPECT_EQ(crossed.run(signal), six);
    const float* last = crossed.core<Crossover3Way_Core>().inputBuffer;  // of every input
    EXPECT_EQ(Vector(last, last + 2), (Vector{signal[0].back(), signal[1].back()}));

    // The same from two-way blocks, the middle band from two in series. Polarity turns low and mid, never high.
    rig::Rig ends(EN_FILTER_CROSSOVER_2WAY, 1, 2), below(EN_FILTER_CROSSOVER_2WAY, 1, 2),
        above(EN_FILTER_CROSSOVER_2WAY, 1, 2);
    ends.set({LR48, 500, 0, Bessel18, 4000, 2, 1});
    below.set({Butter12, 4000, -1, LR12, 9, 9, 1});
    above.set({LR12, 9, 9, LR36, 500, 0, 0});
    auto expected = ends.run({signal[1]});
    expected.push_back(above.run({below.run({signal[1]})[0]})[1]);
    EXPECT_EQ(three, expected);
}

TEST(Crossover, ANewTypeKeepsTheWordsItHasAndAddsSilence)
{
    rig::Rig blk(EN_FILTER_CROSSOVER_2WAY, 2, 4);
    blk.set(two_way(LR12, 700, 0, 0, 0));
    blk.run({rig::noise(64, 1), rig::noise(64, 2)});
    const auto* core = static_cast<const Crossover2Way_Core*>(blk->AlgoCore);
    const Vector before(core->stateArray, core->stateArray + 8);
    for (const auto& [type, sections] : {std::pair{int{LR48}, 4}, {-3, 1}, {11, 4}}) {  // any type reserves
        blk.set({static_cast<float>(type), 700, 0, LR12, 700, 0, 2});
        EXPECT_EQ(std::tuple(core->sos_low, core->sos_high, core->invert1), std::tuple(sections, 1, 2)) << type;
        Vector expected = before;
        expected.resize(static_cast<std::size_t>(4 * (sections + 1)));
        EXPECT_EQ(Vector(core->stateArray, core->stateArray + expected.size()), expected) << type;
    }
}

TEST(Crossover, UnknownTypesWriteNothing)
{
    Vector coeff(20, 7.0F), ba(17, 7.0F);
    for (const int type : {-1, 10}) {
        calculateLP(coeff.data(), ba.data(), 48000, type, 1000, 1);
        calculateHP(coeff.data(), ba.data(), 48000, type, 1000, 1);
    }
    EXPECT_EQ(coeff, Vector(20, 7.0F));
    rig::Rig blk(EN_FILTER_CROSSOVER_2WAY, 1, 2);
    blk.set(two_way(LR12, 700, 0, 0, 0));
    blk.set({100, 700, 0, LR12, 700, 0, 0});  // four sections: the two of before, then two that are silent
    EXPECT_EQ(blk.run({rig::noise(64)})[0], Vector(64));
}

TEST(Crossover, ClampsGainsAndLivesThroughAnyCorner)
{
    for (int type = LR12; type <= LR48; ++type)
        for (const float fc : {0.0F, 1.0F, 24000.0F}) {
            rig::Rig blk(EN_FILTER_CROSSOVER_3WAY, 1, 3);
            const auto t = static_cast<float>(type);
            blk.set({t, fc, 60, t, fc, -60, t, fc, t, fc, 51, 0, 0});
            EXPECT_EQ(blk->pParam[kCrossover3WayLowGainDB], 50.0F);
            EXPECT_EQ(blk->pParam[kCrossover3WayHighGainDB], -50.0F);
            EXPECT_EQ(blk->pParam[kCrossover3WayMedGainDB], 50.0F);
            const std::span coeff(blk->pStateB, static_cast<std::size_t>(20 * kTypes[type].sections));
            EXPECT_TRUE(std::ranges::all_of(coeff, [](float c) { return std::isfinite(c); })) << type << " at " << fc;
        }
}

// Up to 4 n - 1 outputs, of which 3 n are written.
TEST(Crossover, LeavesSpareOutputsAlone)
{
    rig::Rig spare(EN_FILTER_CROSSOVER_3WAY, 2, 7);
    std::ranges::fill(spare.out(6), 0.5F);
    spare.run({rig::noise(64), rig::noise(64)});
    EXPECT_EQ(rig::bits(spare.out(6)), rig::bits(Vector(64, 0.5F)));
}

TEST(Crossover, GainsScaleTheNumeratorBeforeTheDivision)
{
    float coeff[5], ba[17];
    for (float fc = 40; fc < 20000; fc *= 1.3F) {
        calculateHP(coeff, ba, 48000, Butter12, fc, 0.3F);
        const float t = std::tan(static_cast<float>(kPi * static_cast<double>(fc)) / 48000);
        EXPECT_EQ(coeff[1], -0.6F / (t * t + 1.4142F * t + 1)) << fc;
    }
}
