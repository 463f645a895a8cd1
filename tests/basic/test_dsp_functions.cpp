// SPDX-License-Identifier: Apache-2.0
// Holds, delays, gains, and what the category does around its modules.
#include <gtest/gtest.h>

#include <cmath>

#include "support/rig.h"

namespace {

using Values = std::vector<float>;

Values output(rig::Rig& blk, int pin = 0) { return {blk.out(pin).begin(), blk.out(pin).end()}; }

}  // namespace

TEST(Hold, FollowsTheSignalAndKeepsWhatItsLawSays)
{
    const struct {
        int type;
        Values expected;
    } cases[] = {
        {EN_BASIC_DSP_HOLD_VALUE, {2, -1, 3, 3, 3, 6, -8}},
        {EN_BASIC_DSP_HOLD_ABSMAX, {2, -1, 3, 5, 5, 6, 8}},
        {EN_BASIC_DSP_HOLD_MAX, {2, -1, 3, 3, 4, 6, -8}},
        {EN_BASIC_DSP_HOLD_MIN, {2, -1, 3, -5, -5, 6, -8}},
    };
    for (const auto& [type, expected] : cases) {
        rig::Rig blk(type, 3, 2, {.block = 7});
        blk.fill(0, {0, 0, 1, 1, -2, 0, 1});
        blk.fill(1, {2, -1, 3, -5, 4, 6, -8});
        blk.fill(2, 0.5F);
        blk.alias(1, 0);  // an output may even replace the control
        blk.process();
        EXPECT_EQ(output(blk), expected) << type;
        EXPECT_EQ(blk.in(0)[3], 0.5F) << type;
    }
}

TEST(Hold, ExtremesStartFromSixteen)
{
    rig::Rig most(EN_BASIC_DSP_HOLD_MAX, 2, 1, {.block = 3}), least(EN_BASIC_DSP_HOLD_MIN, 2, 1, {.block = 3});
    most.fill(0, {0, 1, 1});
    most.fill(1, {5, -20, -30});
    most.process();
    EXPECT_EQ(output(most), (Values{5, -16, -16}));
    least.fill(0, {1, 0, 1});
    least.fill(1, {20, 20, 20});
    least.process();
    EXPECT_EQ(output(least), (Values{0, 20, 16})) << "before the control was ever 0, the held value is 0";
}

TEST(Delay, OutputsTheInputOfThatManySamplesAgo)
{
    constexpr int kBlock = 16, kLength = 10 * kBlock;
    const auto first = rig::noise(kLength, 1), second = rig::noise(kLength, 2);
    for (const auto& [longest, delay] : {std::pair{1, 1}, {4, 0}, {4, 3}, {40, 17}, {100, 100}}) {
        rig::Rig blk(EN_BASIC_DSP_DELAY, 2, 2, {.block = kBlock});
        blk.alias(0, 0);
        blk.set({static_cast<float>(longest), static_cast<float>(delay), 0});
        const auto out = blk.run({first, second});
        const int ago = delay == 0 ? longest : delay;  // 0 is the whole line
        for (int i = 0; i < kLength; ++i) {
            const auto then = static_cast<std::size_t>(i - ago), now = static_cast<std::size_t>(i);
            ASSERT_EQ(out[0][now], i < ago ? 0.0F : first[then]) << longest << ' ' << delay << ' ' << i;
            ASSERT_EQ(out[1][now], i < ago ? 0.0F : second[then]) << longest << ' ' << delay << ' ' << i;
        }
    }
}

TEST(Delay, KeepsItsClampedValuesInTheirUnit)
{
    rig::Log log;
    rig::Rig blk(EN_BASIC_DSP_DELAY, 1, 1);
    const auto* core = static_cast<DelaySt*>(blk->AlgoCore);
    blk.set({2000, 10, 1});
    EXPECT_EQ(core->maxDelay, 72000);
    EXPECT_EQ(core->delay, 480);
    blk.update();
    blk.invoke();
    EXPECT_EQ(core->delay, 480);
    blk.set({20, 30, 0});
    blk.set({NAN, 30, 0});  // passes the clamps, but not out of the line
    EXPECT_EQ(core->maxDelay, 1);
    EXPECT_EQ(core->delay, 1);
    const auto messages = log.messages();
    EXPECT_EQ(messages[0], "maxDelay:2000.000000 out of range:1.000000~ 1500.000000, be set to 1500.000000\n\n");
    EXPECT_EQ(messages[1], "BASIC_LOGIC_Delay param = 1500.000000:10.000000:1.000000\n\n");
    EXPECT_EQ(messages[2], "delay:30.000000 out of range:0.000000~ 20.000000, be set to 20.000000\n\n");
}

TEST(Delay, ResizingKeepsTheNewestSamplesOfEveryPin)
{
    rig::Rig blk(EN_BASIC_DSP_DELAY, 2, 2, {.block = 4});
    blk.set({4, 4, 0});
    blk.fill(0, {1, 2, 3, 4});
    blk.fill(1, {5, 6, 7, 8});
    blk.process();
    blk.set({2, 2, 0});
    blk.process();
    EXPECT_EQ(output(blk), (Values{3, 4, 1, 2}));
    EXPECT_EQ(output(blk, 1), (Values{7, 8, 5, 6}));
}

TEST(MultiTapDelay, ReadsEveryTapFromOneLine)
{
    rig::Log log;
    rig::Rig blk(EN_BASIC_DSP_VOL_DELAY, 3, 2, {.block = 4});
    blk.set({3});
    blk.fill(0, {1, 1, 2, 0});
    blk.fill(1, {3.9F, 3, -1, 4});
    blk.fill(2, {10, 20, 30, 40});
    blk.process();
    EXPECT_EQ(output(blk, 0), (Values{0, 10, 10, 10}));
    EXPECT_EQ(output(blk, 1), (Values{0, 0, 0, 10}));
    EXPECT_EQ(log.all(), "LOG (ParamAdapt(): ,17), Delay:-1 out of range:0~ 3, be set to 0\n\n"
                         "LOG (ParamAdapt(): ,17), Delay:4 out of range:0~ 3, be set to 3\n\n");
}

TEST(Gain, IsSilentUntilSetAndLivesInItsField)
{
    rig::Rig blk(EN_BASIC_GAIN, 1, 1);
    blk.fill(0, 0.5F);
    blk.process();
    EXPECT_EQ(blk.out(0)[0], 0.0F);
    for (const auto& [vector, expected] :
         {std::pair{Values{-6, 0}, 0.5F * 0.48635912F}, {Values{0.3F, 1}, 0.15F}, {Values{1, -1.5F}, 0.5F}}) {
        blk.set(vector);
        blk.process();
        EXPECT_EQ(blk.out(0)[63], expected);
    }
    blk.set({0, 1});
    EXPECT_EQ(blk->AlgoCore, nullptr);
    BlockPro pro = {48000, 16, 64, 0, 0};
    BlockAlgo* muted = BlockAlgo_init(&pro, 1, 1, EN_BASIC_GAIN);
    Values vector = {0, 1};
    BlockAlgo_param_reset(muted, vector.data());
    EXPECT_EQ(BlockAlgo_destroy(muted), RT_OK) << "a gain of 0 is no missing state";
}

TEST(GlidingGain, TakesOneSmoothingStepPerBlock)
{
    rig::Rig blk(EN_BASIC_GAIN_SLEW, 1, 1);
    auto* core = static_cast<GainSlewSt*>(blk->AlgoCore);
    EXPECT_EQ(core->attack_gain, SlewAlphaGet(12, 48000, 64));
    blk.fill(0, 1.0F);
    blk.set({1, 1, 10});
    EXPECT_NEAR(core->attack_gain, 0.93932F, 5e-6F);
    float reached = 0;
    for (int block = 0; block < 3; ++block) {
        blk.process();
        const float target = reached + (1 - 0.93932F) * (1 - reached);
        EXPECT_NEAR(blk.out(0)[0], reached + (target - reached) / 65, 1e-6F) << block;
        EXPECT_NEAR(blk.out(0)[63], reached + (target - reached) * 64 / 65, 1e-5F) << block;
        reached = core->old_gain;
        EXPECT_NEAR(reached, target, 1e-5F);
    }
    for (int block = 0; block < 1000 && core->old_gain != 1.0F; ++block)
        blk.process();
    EXPECT_EQ(core->old_gain, 1.0F) << "snaps";
    core->old_gain = 0;
    core->attack_gain = 0;
    blk.process();
    EXPECT_NEAR(blk.out(0)[63], 64.0F / 65.0F, 1e-5F);
    blk.process();
    EXPECT_EQ(blk.out(0)[0], 1.0F);
}

TEST(BasicCategory, PrintsItsParameters)
{
    const struct {
        int type, inputs;
        Values vector;
        const char* line;
    } cases[] = {
        {EN_BASIC_ARITH_RMS, 1, {}, "Basic Arith Rms param = 121.000000, 0.000000\n\n"},
        {EN_BASIC_LOGIC_AB, 2, {2}, "BASIC_LOGIC_AB param = 2.000000\n\n"},
        {EN_BASIC_LOGIC_ABCD, 4, {}, "BASIC_LOGIC_ABCD param = 0.000000\n\n"},
        {EN_BASIC_LOGIC_BUFFER_GATE, 1, {7.5F}, "BASIC_LOGIC_Buffer param = 7.500000\n\n"},
        {EN_BASIC_LOGIC_ZERO_COMP, 1, {7}, "BASIC_LOGIC_ZERO param = 7.000000\n\n"},
        {EN_BASIC_LOGIC_ONESHOT_FALL, 1, {4}, "BASIC_LOGIC_OneShot_Fall param = 16.000000\n\n"},
        {EN_BASIC_LOGIC_ONESHOT_FALLRST, 2, {4}, "BASIC_LOGIC_OneShot_FallRst param = 16.000000\n\n"},
        {EN_BASIC_LOGIC_ONESHOT_RISERST, 2, {4}, "BASIC_LOGIC_OneShot_RiseRst param = 16.000000\n\n"},
        {EN_BASIC_LOGIC_CALC, 2, {1}, "BASIC_LOGIC_CALC param = 1.000000\n\n"},
        {EN_BASIC_DSP_VOL_DELAY, 2, {}, "BASIC_LOGIC_Delay param = 1.000000\n\n"},
        {EN_BASIC_GAIN, 1, {-3, 0}, "BASIC_GAIN param = -3.000000:0.000000\n\n"},
        {EN_BASIC_GAIN_SLEW, 1, {}, "BASIC_GAIN param = 0.000000:0.000000, slew=12.000000\n\n"},
        {EN_BASIC_ARITH_ADD, 2, {}, "Model = 266 have't param to print\n\n"},
        {EN_BASIC_DSP_HOLD_MIN, 2, {}, "Model = 286 have't param to print\n\n"},
    };
    for (const auto& [type, inputs, vector, line] : cases) {
        rig::Rig blk(type, inputs, 1);
        if (!vector.empty())
            blk.set(vector);
        blk.update();
        rig::Log log;
        EXPECT_EQ(blk.invoke(), RT_OK);
        ASSERT_EQ(log.messages(), std::vector<std::string>{line});
        EXPECT_EQ(log.all().rfind("LOG (BlockAlgo_Basic_param_invoke(): ,", 0), 0U);
    }
}

TEST(BasicCategory, RefusesNullPointersAndUnservedTypes)
{
    rig::Log log;
    float* pins[1] = {};
    rig::Rig blk(EN_BASIC_GAIN, 1, 1);
    EXPECT_EQ(BlockAlgo_Basic_process(nullptr, pins, pins), RT_ERR_NULL_PTR);
    EXPECT_EQ(BlockAlgo_process(blk.block(), nullptr, pins), RT_ERR_NULL_PTR);
    EXPECT_EQ(BlockAlgo_process(blk.block(), pins, nullptr), RT_ERR_NULL_PTR);
    EXPECT_EQ(log.messages(), (std::vector<std::string>(3, "Input is NULL\n\n")));
    log.clear();
    BlockAlgo stray = {};
    stray.method_type = EN_BASIC_DSP;
    EXPECT_EQ(BlockAlgo_process(&stray, pins, pins), 0);
    EXPECT_EQ(log.lines()[0].rfind("LOG (Basic_Atirh_process(): ,", 0), 0U);
    stray.method_type = EN_BASIC_POLY + 1;
    EXPECT_EQ(BlockAlgo_process(&stray, pins, pins), RT_ERR_VALUE);
    EXPECT_EQ(log.lines()[1].rfind("LOG (Basic_DSP_process(): ,", 0), 0U);
    EXPECT_EQ(log.messages()[1], "wrong input type in basic, type = 292\n\n");
    EXPECT_EQ(BlockAlgo_param_reset(&stray, nullptr), 1);
    EXPECT_EQ(BlockAlgo_param_update(&stray), 1);
    EXPECT_EQ(BlockAlgo_destroy(&stray), 1);
}
