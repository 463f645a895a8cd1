// SPDX-License-Identifier: Apache-2.0
// Holds, delays, gains, and what the category does around its modules.
#include <gtest/gtest.h>

#include <cmath>

#include "support/rig.h"

namespace {

using Values = std::vector<float>;
using Signals = std::vector<Values>;

}  // namespace

TEST(Hold, FollowsTheSignalAndKeepsWhatItsLawSays)
{
    const Values control = {0, 0, 1, 1, -2, 0, 1}, x = {2, -1, 3, -5, 4, 6, -8};
    const struct {
        int type;
        Values control, x, expected;
    } rows[] = {
        {EN_BASIC_DSP_HOLD_VALUE, control, x, {2, -1, 3, 3, 3, 6, -8}},
        {EN_BASIC_DSP_HOLD_ABSMAX, control, x, {2, -1, 3, 5, 5, 6, 8}},
        {EN_BASIC_DSP_HOLD_MAX, control, x, {2, -1, 3, 3, 4, 6, -8}},
        {EN_BASIC_DSP_HOLD_MIN, control, x, {2, -1, 3, -5, -5, 6, -8}},
        // Extremes start from 16; before the control was ever 0, the held value is 0.
        {EN_BASIC_DSP_HOLD_MAX, {0, 1, 1}, {5, -20, -30}, {5, -16, -16}},
        {EN_BASIC_DSP_HOLD_MIN, {1, 0, 1}, {20, 20, 20}, {0, 20, 16}},
    };
    for (const auto& row : rows) {
        rig::Rig blk(row.type, 3, 2, {.block = static_cast<int>(row.x.size())});
        blk.alias(0, 2);  // an output may replace a signal that is read after it, and the control
        blk.alias(1, 0);
        const auto out = blk.run({row.control, row.x, Values(row.x.size(), 20.0F)});
        EXPECT_EQ(out[0], row.expected) << row.type;
        EXPECT_EQ(out[1][0], row.control[0] == 0 ? 20.0F : 0.0F) << row.type;
    }
}

TEST(Delay, OutputsTheInputOfThatManySamplesAgo)
{
    const Signals x = {rig::noise(160, 1), rig::noise(160, 2)};
    for (const auto& [longest, delay] : {std::pair{1, 1}, {4, 0}, {4, 3}, {40, 17}, {100, 100}}) {
        rig::Rig blk(EN_BASIC_DSP_DELAY, 2, 2, {.block = 16});
        blk.alias(0, 0);
        blk.set({static_cast<float>(longest), static_cast<float>(delay), 0});
        Signals expected = x;
        for (Values& pin : expected) {
            pin.insert(pin.begin(), static_cast<std::size_t>(delay == 0 ? longest : delay), 0.0F);  // 0: the whole line
            pin.resize(160);
        }
        EXPECT_EQ(blk.run(x), expected) << longest << ' ' << delay;
    }
}

TEST(Delay, KeepsItsClampedValuesInTheirUnit)
{
    rig::Log log;
    rig::Rig blk(EN_BASIC_DSP_DELAY, 1, 1);
    const auto* core = static_cast<DelaySt*>(blk->AlgoCore);
    blk.set({2000, 10, 1});
    for (int update = 0; update < 2; ++update, blk.update())
        EXPECT_EQ(std::pair(core->maxDelay, core->delay), std::pair(72000, 480));
    blk.set({20, 30, 0});
    blk.set({NAN, 30, 0});  // passes the clamps, but not out of the line
    EXPECT_EQ(std::pair(core->maxDelay, core->delay), std::pair(1, 1));
    const auto messages = log.messages();
    EXPECT_EQ(messages[0], "maxDelay:2000.000000 out of range:1.000000~ 1500.000000, be set to 1500.000000\n\n");
    EXPECT_EQ(messages[1], "delay:30.000000 out of range:0.000000~ 20.000000, be set to 20.000000\n\n");
}

TEST(Delay, ResizingKeepsTheNewestSamplesOfEveryPin)
{
    rig::Rig blk(EN_BASIC_DSP_DELAY, 2, 2, {.block = 4});
    const Signals x = {{1, 2, 3, 4}, {5, 6, 7, 8}};
    blk.set({4, 4, 0});
    blk.run(x);
    blk.set({2, 2, 0});
    EXPECT_EQ(blk.run(x), (Signals{{3, 4, 1, 2}, {7, 8, 5, 6}}));
}

TEST(MultiTapDelay, ReadsEveryTapFromOneLine)
{
    rig::Log log;
    rig::Rig blk(EN_BASIC_DSP_VOL_DELAY, 3, 2, {.block = 2});
    blk.set({3});
    EXPECT_EQ(blk.run({{1, 1, 2, 0}, {3.9F, 3, -1, 4}, {10, 20, 30, 40}}), (Signals{{0, 10, 10, 10}, {0, 0, 0, 10}}));
    EXPECT_EQ(log.all(), "LOG (ParamAdapt(): ,17), Delay:-1 out of range:0~ 3, be set to 0\n\n"
                         "LOG (ParamAdapt(): ,17), Delay:4 out of range:0~ 3, be set to 3\n\n");
}

TEST(Gain, IsSilentUntilSetAndLivesInItsField)
{
    rig::Rig blk(EN_BASIC_GAIN, 1, 1);
    const Signals halves = {Values(64, 0.5F)};
    EXPECT_EQ(blk.run(halves)[0], Values(64));
    for (const auto& [vector, expected] :
         {std::pair{Values{-6, 0}, 0.5F * 0.48635912F}, {Values{0.3F, 1}, 0.15F}, {Values{1, -1.5F}, 0.5F}}) {
        blk.set(vector);
        EXPECT_EQ(blk.run(halves)[0], Values(64, expected));
    }
    BlockPro pro = {48000, 16, 64, 0, 0};
    BlockAlgo* muted = BlockAlgo_init(&pro, 1, 1, EN_BASIC_GAIN);
    Values vector = {0, 1};
    BlockAlgo_param_reset(muted, vector.data());
    EXPECT_EQ(muted->AlgoCore, nullptr);
    EXPECT_EQ(BlockAlgo_destroy(muted), RT_OK) << "a gain of 0 is no missing state";
}

TEST(GlidingGain, SnapsToItsGain)
{
    rig::Rig blk(EN_BASIC_GAIN_SLEW, 1, 1);
    auto* core = static_cast<GainSlewSt*>(blk->AlgoCore);
    EXPECT_EQ(core->attack_gain, SlewAlphaGet(12, 48000, 64));
    EXPECT_EQ(core->set_gain, 1.0F);
    const Signals ones = {Values(64, 1.0F)};
    blk.set({1, 1, 10});
    for (int block = 0; block < 1000 && core->old_gain != 1.0F; ++block)
        blk.process();
    EXPECT_EQ(core->old_gain, 1.0F) << "snaps";
    EXPECT_EQ(blk.run(ones), ones);
    core->set_gain = 0.5F;  // and down again, without smoothing
    core->attack_gain = 0;
    EXPECT_NEAR(blk.run(ones)[0][63], 1 - 0.5 * 64 / 65, 1e-5);
    EXPECT_EQ(blk.run(ones)[0], Values(64, 0.5F));
    rig::Log log;
    blk.set({1, 1, 24});
    EXPECT_EQ(log.messages(), (std::vector<std::string>{"GainSlewRate:24.000000 out of range:1.000000~ 23.000000, be "
                                                        "set to 23.000000\n\n"}));
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
