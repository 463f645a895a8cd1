// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>

#include "support/rig.h"

namespace {

using Values = std::vector<float>;

// One block of as many samples as the first signal has, into an output that held -7 before.
Values run(int type, const std::vector<Values>& pins, const Values& vector = {})
{
    rig::Rig blk(type, static_cast<int>(pins.size()), 1, {.block = static_cast<int>(pins[0].size())});
    if (!vector.empty())
        blk.set(vector);
    std::ranges::fill(blk.out(0), -7.0F);
    return blk.run(pins)[0];
}

}  // namespace

TEST(Logic, ExtremesOverThePins)
{
    const std::vector<Values> pins = {{1, -9, 0.0F}, {-5, -2, -0.0F}, {3, 8, -0.0F}};
    EXPECT_EQ(run(EN_BASIC_LOGIC_ABSMAX, pins), (Values{5, 9, 0}));
    EXPECT_EQ(run(EN_BASIC_LOGIC_MAX, pins), (Values{3, 8, 0}));
    EXPECT_EQ(run(EN_BASIC_LOGIC_MIN, pins), (Values{-5, -9, 0}));
    for (const int type : {EN_BASIC_LOGIC_MIN, EN_BASIC_LOGIC_MAX})
        EXPECT_FALSE(std::signbit(run(type, pins)[2])) << "a tie keeps the earlier pin's value";
}

TEST(Logic, ComparesAndChooses)
{
    const Values a = {1, 2, 3}, b = {2, 2, 2}, c = {10, 20, 30}, d = {-1, -2, -3};
    const std::vector<Values> chosen = {{-1, -2, 30}, {10, -2, -3}, {-1, 20, 30}, {10, 20, -3}, {-1, 20, -3}};
    const std::vector<Values> of_two = {{2, 2, 3}, {1, 2, 2}, {2, 2, 3}, {1, 2, 2}, b};
    for (std::size_t op = COMPARE_GT; op <= COMPARE_EQ; ++op) {
        EXPECT_EQ(run(EN_BASIC_LOGIC_ABCD, {a, b, c, d}, {static_cast<float>(op)}), chosen[op]) << op;
        EXPECT_EQ(run(EN_BASIC_LOGIC_AB, {a, b}, {static_cast<float>(op)}), of_two[op]) << op;
    }
    EXPECT_EQ(run(EN_BASIC_LOGIC_AB, {a, b}, {-3.5F}), of_two[COMPARE_GT]);
    rig::Log log;
    EXPECT_EQ(run(EN_BASIC_LOGIC_AB, {a, b}, {5}), (Values{0, 0, 0}));
    ASSERT_EQ(log.lines().size(), 3U);
    EXPECT_EQ(log.lines()[2], "LOG (LogicCondition(): ,78), the logic condition is error =5,  <=0 and <= 4\n\n");
}

// -7 is what the output buffer held: hosts keep it, and unwritten samples show it.
TEST(Logic, JoinsAndLeavesSamplesWithoutAResult)
{
    const Values a = {0, 0, 1, 1, 3, 3}, b = {0, 2, 0, 1, 0, 3};
    const std::vector<Values> expected = {{0, -7, -7, 1, -7, 3},   {1, 1, 1, 0, 1, 1},    {-7, 2, 1, 1, 3, 1},
                                          {1, -7, -7, -7, -7, -7}, {-7, 2, 1, -7, 3, -7}, {-7, -7, -7, -7, -7, -7}};
    for (std::size_t op = LOGIC_AND; op <= LOGIC_XOR + 1; ++op)
        EXPECT_EQ(run(EN_BASIC_LOGIC_CALC, {a, b}, {static_cast<float>(op)}), expected[op]) << op;
}

TEST(Logic, GateAndZeroComparator)
{
    EXPECT_EQ(run(EN_BASIC_LOGIC_BUFFER_GATE, {{0.5F, 0, -0.0F, -1}}, {3.9F}), (Values{8, 0, 0, 8}));
    EXPECT_EQ(run(EN_BASIC_LOGIC_BUFFER_GATE, {{1}}, {31}), (Values{2147483648.0F}));
    EXPECT_EQ(run(EN_BASIC_LOGIC_BUFFER_GATE, {{1}}, {33}), (Values{2}));
    EXPECT_EQ(run(EN_BASIC_LOGIC_ZERO_COMP, {{0.5F, 0, -0.0F, 1e-30F}}, {0.25F}), (Values{0, 0.25F, 0.25F, 0}));
}

TEST(OneShot, LatchesAtTheFirstEdge)
{
    EXPECT_EQ(run(EN_BASIC_LOGIC_ONESHOT_RISE, {{0, 0, 1, 0, 1}}, {0}), (Values{0, 0, 2, 2, 2}));
    EXPECT_EQ(run(EN_BASIC_LOGIC_ONESHOT_RISE, {{1, 1, 0, 1}}, {0}), (Values{0, 0, 0, 2})) << "no edge at the start";
    EXPECT_EQ(run(EN_BASIC_LOGIC_ONESHOT_RISE, {{1, 1}}), (Values{1, 1})) << "created, never set: the start is an edge";
    EXPECT_EQ(run(EN_BASIC_LOGIC_ONESHOT_FALL, {{0, 1, 0, 1}}, {1}), (Values{0, 0, 4, 4}));
    EXPECT_EQ(run(EN_BASIC_LOGIC_ONESHOT_RISERST, {{0, 1, 0}, {1, 1, 1}}, {0}), (Values{0, 0, 0}));
    EXPECT_EQ(run(EN_BASIC_LOGIC_ONESHOT_FALLRST, {{0, 0, 0, 1, 0, 0, 0}, {1, 0, 0, 1, 0, 1, 0}}, {0}),
              (Values{0, 2, 2, 0, 2, 2, 2}));
    EXPECT_EQ(run(EN_BASIC_LOGIC_ONESHOT_RISERST, {{0, 1, 0}, {0, 1, 1}}, {0}), (Values{0, 0, 0}))
        << "an edge under reset is lost";
}

TEST(OneShot, PulseIsAPowerOfAPowerOfTwo)
{
    const Values pulses = {2, 4, 16, 256, 65536, 1, 1};
    for (std::size_t bit = 0; bit < pulses.size(); ++bit)
        EXPECT_EQ(run(EN_BASIC_LOGIC_ONESHOT_RISE, {{0, 1}}, {static_cast<float>(bit) + 0.5F})[1], pulses[bit]) << bit;
    rig::Log log;
    rig::Rig blk(EN_BASIC_LOGIC_ONESHOT_RISE, 1, 1, {.block = 2});
    blk.set({3});
    EXPECT_EQ(blk.run({{0, 1, 0, 0}})[0], (Values{0, 256, 256, 256}));
    blk.update();  // clears the latch, keeps the power
    EXPECT_EQ(blk.run({{0, 1}})[0], (Values{0, 256}));
    blk.set({31});
    EXPECT_EQ(log.messages()[0], "oneShotBit:31.000000 out of range:0.000000~ 30.000000, be set to 30.000000\n\n");
    log.clear();
    run(EN_BASIC_LOGIC_ONESHOT_FALL, {{0}, {0}, {0}}, {0});
    EXPECT_EQ(log.all(), "LOG (Basic_Logic_OneShotProcess(): ,167), Logic OneShot only support one channel\n\n");
}
