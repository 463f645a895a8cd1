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

// Up to 4 n - 1 outputs, of which 3 n are written.
TEST(Crossover, LeavesSpareOutputsAloneAndKeepsItsLastInputs)
{
    rig::Rig spare(EN_FILTER_CROSSOVER_3WAY, 2, 7);
    std::ranges::fill(spare.out(6), 0.5F);
    const auto signal = rig::stimulus(2, 64);
    spare.run(signal);
    EXPECT_EQ(rig::bits(spare.out(6)), rig::bits(Vector(64, 0.5F)));
    const float* last = spare.core<Crossover3Way_Core>().inputBuffer;
    EXPECT_EQ(Vector(last, last + 2), (Vector{signal[0].back(), signal[1].back()}));
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

TEST(Crossover, LivesThroughAnyCorner)
{
    for (int type = LR12; type <= LR48; ++type)
        for (const float fc : {0.0F, 1.0F, 24000.0F}) {
            rig::Rig blk(EN_FILTER_CROSSOVER_3WAY, 1, 3);
            const auto t = static_cast<float>(type);
            blk.set({t, fc, 60, t, fc, -60, t, fc, t, fc, 51, 0, 0});
            const std::span coeff(blk->pStateB, static_cast<std::size_t>(20 * kTypes[type].sections));
            EXPECT_TRUE(std::ranges::all_of(coeff, [](float c) { return std::isfinite(c); })) << type << " at " << fc;
        }
}
