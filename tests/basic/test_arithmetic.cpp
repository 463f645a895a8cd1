// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>

#include "support/rig.h"

namespace {

// What a block makes of one sample per pin.
std::vector<float> once(int type, std::vector<float> inputs, int outputs)
{
    rig::Rig blk(type, static_cast<int>(inputs.size()), outputs, {.block = 1});
    for (std::size_t pin = 0; pin < inputs.size(); ++pin)
        blk.fill(static_cast<int>(pin), inputs[pin]);
    EXPECT_EQ(blk.process(), RT_OK);
    std::vector<float> result;
    for (int pin = 0; pin < outputs; ++pin)
        result.push_back(blk.out(pin)[0]);
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
    for (int target = 0; target < 3; ++target) {
        rig::Rig blk(EN_BASIC_ARITH_ADD, 3, 1, {.block = kBlock});
        for (int pin = 0; pin < 3; ++pin)
            std::ranges::copy(rig::noise(kBlock, static_cast<std::uint32_t>(pin + 1)), blk.in(pin).begin());
        std::vector<float> expected;
        for (std::size_t i = 0; i < kBlock; ++i)
            expected.push_back((blk.in(0)[i] + blk.in(1)[i]) + blk.in(2)[i]);
        blk.alias(0, target);
        blk.process();
        EXPECT_EQ(rig::bits(blk.in(target)), rig::bits(expected)) << target;
    }
}

TEST(SmoothedLevel, IsAOnePoleAverageOfTheMagnitude)
{
    rig::Rig blk(EN_BASIC_ARITH_RMS, 2, 2);
    const auto& rate = static_cast<RmsWithTcSt*>(blk->AlgoCore)->rms_rate;
    EXPECT_NEAR(rate, std::pow(10.0, 72.0 / 480000.0) - 1, 1e-7);
    blk.fill(0, -0.5F);
    blk.fill(1, 2.0F);
    blk.process();
    // By the closed form of the step response; 64 roundings of values below 1e-2.
    const double left = std::pow(1.0 - static_cast<double>(rate), 64);
    EXPECT_NEAR(blk.out(0)[63], 0.5 * (1 - left), 1e-8);
    EXPECT_NEAR(blk.out(1)[63], 2.0 * (1 - left), 4e-8);
    const float reached = blk.out(0)[63];
    EXPECT_EQ(blk.set({121, 0}), RT_OK);  // the level goes on
    blk.process();
    EXPECT_NEAR(blk.out(0)[0], reached, 3e-4);
}

TEST(SmoothedLevel, TakesAnExcessiveTimeAsGivenUntilItIsUpdated)
{
    rig::Log log;
    rig::Rig blk(EN_BASIC_ARITH_RMS, 1, 1);
    const auto& rate = static_cast<RmsWithTcSt*>(blk->AlgoCore)->rms_rate;
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
    for (rig::Rig* blk : {&sum, &squares}) {
        blk->fill(0, {0, 0, 1e-30F, 0});
        blk->fill(1, {2, -3, 5, 7});
        blk->process();
    }
    EXPECT_EQ(rig::bits(sum.out(0)), rig::bits(Values{2, -1, 0, 7}));
    EXPECT_EQ(rig::bits(squares.out(0)), rig::bits(Values{4, 13, 0, 49}));
    sum.fill(0, 0);
    sum.process();  // goes on from block to block
    EXPECT_EQ(rig::bits(sum.out(0)), rig::bits(Values{9, 6, 11, 18}));
    rig::Rig lonely(EN_BASIC_ARITH_SUMMAT, 1, 1);
    lonely.fill(0, 1);
    lonely.process();
    EXPECT_EQ(lonely.out(0)[0], 0.0F);
}

TEST(Polynomial, FollowsItsCoefficients)
{
    constexpr int kBlock = 100;
    rig::Rig blk(EN_BASIC_POLY, 1, 1, {.block = kBlock});
    blk.fill(0, 0.3F);
    blk.process();
    EXPECT_EQ(blk.out(0)[99], 1.0F);
    const std::vector<float> c = {5, 0.1F, -0.7F, 0.3F, 2, -1.5F};
    blk.set(c);
    std::ranges::copy(rig::noise(kBlock), blk.in(0).begin());
    blk.alias(0, 0);
    const std::vector<float> x(blk.in(0).begin(), blk.in(0).end());
    blk.process();
    for (std::size_t i = 0; i < kBlock; ++i) {
        float expected = c[1];
        for (int m = 1; m < 5; ++m)
            expected = std::fma(c[static_cast<std::size_t>(m) + 1],
                                static_cast<float>(std::pow(static_cast<double>(x[i]), m)), expected);
        EXPECT_EQ(blk.in(0)[i], expected) << i;
    }
    rig::Log log;
    blk.set({1, 4, 5});  // too short: clamped to two coefficients
    blk.invoke();
    EXPECT_EQ(log.messages(),
              (std::vector<std::string>{"poly:1.000000 out of range:2.000000~ 10000.000000, be set to 2.000000\n\n",
                                        "BASIC_POLY param = 2.000000\n\n", "4.000000,\n", "5.000000,\n"}));
    blk.set({NAN, 4, 5});
    blk.process();
    EXPECT_EQ(blk.in(0)[50], 0.0F);  // no coefficients
}
