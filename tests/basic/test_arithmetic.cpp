// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>

#include "support/rig.h"

namespace {

// What a block makes of one sample per pin.
std::vector<float> once(int type, const std::vector<float>& inputs, int outputs)
{
    rig::Rig blk(type, static_cast<int>(inputs.size()), outputs, {.block = 1});
    std::vector<std::vector<float>> pins;
    for (const float x : inputs)
        pins.push_back({x});
    std::vector<float> result;
    for (const auto& pin : blk.run(pins))
        result.push_back(pin[0]);
    return result;
}

using Values = std::vector<float>;

}  // namespace

TEST(Arithmetic, ComputesEveryPin)
{
    EXPECT_EQ(once(EN_BASIC_ARITH_ABS, {-2, 3}, 2), (Values{2, 3}));
    EXPECT_EQ(once(EN_BASIC_ARITH_INV_SQRT, {4, 0, -4}, 3), (Values{0.5F, 0, 0}));
    EXPECT_EQ(once(EN_BASIC_ARITH_EXP2, {0, 1, -1}, 3), (Values{0.97100782F, 1.94201565F, 0.48550367F}));
    EXPECT_EQ(once(EN_BASIC_ARITH_LOG2, {8, 0.25F, 3}, 3), (Values{3, -2, 1.584962F}));
    EXPECT_EQ(once(EN_BASIC_ARITH_LOG10, {1024}, 1), (Values{3.0102998F}));
    EXPECT_EQ(once(EN_BASIC_ARITH_SQRT, {2.25F}, 1), (Values{1.5F}));
    EXPECT_TRUE(std::isnan(once(EN_BASIC_ARITH_SQRT, {-1}, 1)[0]));
    EXPECT_EQ(once(EN_BASIC_ARITH_INVERT, {4, -0.5F}, 2), (Values{-4, 0.5F}));
    EXPECT_EQ(once(EN_BASIC_ARITH_ADD, {1, 2, -5}, 1), (Values{-2}));
    EXPECT_EQ(once(EN_BASIC_ARITH_SUB, {1, 2, -5}, 1), (Values{4}));
    EXPECT_EQ(once(EN_BASIC_ARITH_DIV, {6, 4, 0, 5, 5, 0}, 3), (Values{1.5F, 0, 0}));
    EXPECT_EQ(once(EN_BASIC_ARITH_MUL, {6, 4, 3, 5, 9}, 2), (Values{24, 15}));  // the fifth pin has no partner
}

// Sums and differences run in the order of the pins, past one tile, and onto any of their inputs.
TEST(Arithmetic, AddsInOrderOverAnyInput)
{
    constexpr int kBlock = 131;
    const std::vector<Values> x = {rig::noise(kBlock, 1), rig::noise(kBlock, 2), rig::noise(kBlock, 3)};
    Values expected;
    for (std::size_t i = 0; i < kBlock; ++i)
        expected.push_back((x[0][i] + x[1][i]) + x[2][i]);
    for (int target = 0; target < 3; ++target) {
        rig::Rig blk(EN_BASIC_ARITH_ADD, 3, 1, {.block = kBlock});
        blk.alias(0, target);
        EXPECT_EQ(blk.run(x)[0], expected) << target;
    }
}

TEST(Arithmetic, LeavesMemoryAloneWithoutSamples)
{
    Values a(64, 2.0F), b(64, 3.0F), y(64, 7.0F);
    float *in[] = {a.data() + 32, b.data() + 32}, *out[] = {y.data() + 32, y.data() + 32};
    for (auto* call : {Basic_Arith_Abs, Basic_Arith_Multiply, Basic_Arith_Add, Basic_Logic_AbsMax})
        for (const int size : {0, -1, -8, -9})
            EXPECT_EQ(call(2, size, in, out), RT_OK);
    EXPECT_EQ(y, Values(64, 7.0F));
}

TEST(SmoothedLevel, RateFollowsItsTime)
{
    rig::Rig blk(EN_BASIC_ARITH_RMS, 2, 2);
    const auto& rate = static_cast<RmsWithTcSt*>(blk->AlgoCore)->rms_rate;
    EXPECT_EQ(blk->pParam[kBasicRMSTime], 121.0F);
    EXPECT_NEAR(rate, std::pow(10.0, 72.0 / 480000.0) - 1, 1e-7);
    const std::vector<Values> signal = {Values(64, -0.5F), Values(64, 2.0F)};
    const auto y = blk.run(signal);
    EXPECT_EQ(blk.set({121, 0}), RT_OK);  // the level goes on
    EXPECT_NEAR(blk.run(signal)[0][0], y[0][63], 3e-4);

    // A time too long acts as given until it is applied again.
    rig::Log log;
    blk.set({20000, 1});
    EXPECT_NE(log.all().find("rmsWIthTcTime:20000.000000 out of range:1.000000~ 8686.000000"), std::string::npos);
    EXPECT_NEAR(rate, std::pow(10.0, 20000.0 / 480000.0) - 1, 1e-6);
    blk.update();
    EXPECT_NEAR(rate, std::pow(10.0, 8686.0 / 480000.0) - 1, 1e-6);
    blk.set({3474.4F, 0});  // 8686 / 3474.4 = 2.5: halves round away from zero
    EXPECT_NEAR(rate, std::pow(10.0, 3.0 / 480000.0) - 1, 1e-7);
}

TEST(RunningSum, IsClearedByAnythingButZero)
{
    rig::Rig sum(EN_BASIC_ARITH_SUMMAT, 2, 1, {.block = 4}), squares(EN_BASIC_ARITH_SQUARE_SUMMAT, 2, 1, {.block = 4});
    const Values reset = {0, 0, 1e-30F, 0, 0, 0, 0, 0}, x = {2, -3, 5, 7, 2, -3, 5, 7};
    EXPECT_EQ(sum.run({reset, x})[0], (Values{2, -1, 0, 7, 9, 6, 11, 18}));  // goes on from block to block
    EXPECT_EQ(squares.run({reset, x})[0], (Values{4, 13, 0, 49, 53, 62, 87, 136}));
    EXPECT_EQ(rig::Rig(EN_BASIC_ARITH_SUMMAT, 1, 1).run({Values(64, 1)})[0], Values(64));  // nothing to sum
}

TEST(RunningSum, HasAnAccumulatorForEveryChannel)
{
    for (const int type : {EN_BASIC_ARITH_SUMMAT, EN_BASIC_ARITH_SQUARE_SUMMAT})
        for (const int channels : {2, 3, 5, 9}) {
            const auto signal = rig::stimulus(channels + 1, 77);
            const auto y = rig::Rig(type, channels + 1, channels, {.block = 11}).run(signal);
            for (std::size_t c = 0; c < y.size(); ++c)
                EXPECT_EQ(y[c], rig::Rig(type, 2, 1, {.block = 11}).run({signal[0], signal[c + 1]})[0]) << c;
        }
}

TEST(Polynomial, HasTwoCoefficientsAtLeast)
{
    rig::Rig blk(EN_BASIC_POLY, 1, 1, {.block = 100});
    const Values x = rig::noise(100);
    EXPECT_EQ(blk.run({x})[0], Values(100, 1.0F));
    blk.alias(0, 0);
    rig::Log log;
    blk.set({1, 4, 5});  // too short: clamped to two coefficients
    EXPECT_EQ(log.messages()[0], "poly:1.000000 out of range:2.000000~ 10000.000000, be set to 2.000000\n\n");
    EXPECT_EQ(blk.run({Values(100, 1.0F)})[0], Values(100, 9.0F));
    blk.set({NAN, 4, 5});  // no coefficients
    EXPECT_EQ(blk.run({x})[0], Values(100));
}
