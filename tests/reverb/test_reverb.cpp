// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>

#include "support/rig.h"

namespace {

TEST(Reverb, DelayLengthsByRateAndChannel)
{
    rig::Rig blk(EN_QVALGO_REVERB, 5, 5);
    const Reverb_Core& core = blk.core<Reverb_Core>();
    EXPECT_EQ(core.combs[0][0].bufSize, 1212);
    EXPECT_EQ(core.combs[0][7].bufSize, 1760);
    EXPECT_EQ(core.allpasss[0][0].bufSize, 604);
    EXPECT_EQ(core.combs[1][0].bufSize, 1240);    // 25.8768 ms
    EXPECT_EQ(core.combs[2][0].bufSize, 1192);    // 24.8432 ms
    EXPECT_EQ(core.allpasss[3][3].bufSize, 196);  // 4.13644 ms
    EXPECT_EQ(core.allpasss[4][3].bufSize, 196);  // the last entry of the spread serves all further channels
    EXPECT_EQ(core.allpasss[4][3].decay, 1.0F);
    blk.set({1, 80, 40, 0.5F, 0.2F, 50});
    EXPECT_EQ(core.wet2, 0.0F) << "two channels have a cross term";
    EXPECT_EQ(rig::Rig(EN_QVALGO_REVERB, 2, 2, {.rate = 100}).core<Reverb_Core>().allpasss[0][3].bufSize, 4);
}

TEST(Reverb, TailsSurviveChangesAndDisabledOutputsStay)
{
    rig::Rig blk(EN_QVALGO_REVERB, 2, 2);
    std::ranges::fill(blk.out(0), 0.5F);
    blk.process();
    EXPECT_EQ(blk.out(0)[10], 0.5F) << "off as created";
    blk.set({1, 0, 100, 1, 0, 100});
    blk.run({rig::noise(3200), rig::noise(3200, 2)});
    blk.set({0, 0, 100, 1, 0, 100});
    std::ranges::fill(blk.out(1), 0.25F);
    blk.process();
    EXPECT_EQ(blk.out(1)[63], 0.25F);
    blk.set({1, 0, 100, 0.5F, 0.9F, 100});
    blk.fill(0, 0.0F);
    blk.fill(1, 0.0F);
    blk.process(100);
    EXPECT_GT(rig::rms(blk.out(0)), 0.03) << "the tail went on";
}

TEST(Reverb, LeavesOutputsWithoutAnInput)
{
    for (const auto& [inputs, outputs] : {std::pair{2, 1}, {1, 0}, {1, 3}, {2, 4}, {0, 2}}) {
        rig::Rig blk(EN_QVALGO_REVERB, inputs, outputs);
        blk.set({1, 80, 40, 0.5F, 0.2F, 50});
        for (int c = 0; c < outputs; ++c)
            std::ranges::fill(blk.out(c), -3.0F);
        EXPECT_EQ(blk.process(), 0);
        for (int c = 0; c < outputs; ++c)
            EXPECT_EQ(blk.out(c)[0], c < inputs ? 0.0F : -3.0F);
    }
}

TEST(Comb, SizesAndSingleSamples)
{
    qv_comb* comb = comb_init();
    ASSERT_TRUE(comb);
    EXPECT_EQ(comb_process_ff(comb, 0.3F, 0.5F), 0.3F);
    EXPECT_EQ(comb_process_fb(comb, 0.3F, 0.5F), 0.3F);
    comb_setsize(comb, 0);
    EXPECT_EQ(comb_getsize(comb), 0);
    comb_setsize(comb, 3);
    const float x[] = {1, 0, 0, 2, 0, 0, 1};
    const float forward[] = {1, 0, 0, 2.5F, 0, 0, 2}, back[] = {1, 0, 0, 2.5F, 0, 0, 2.25F};
    for (int i = 0; i < 7; ++i)
        EXPECT_EQ(comb_process_ff(comb, x[i], 0.5F), forward[i]) << i;
    comb_setsize(comb, 3);  // the current size clears, too
    for (int i = 0; i < 7; ++i)
        EXPECT_EQ(comb_process_fb(comb, x[i], 0.5F), back[i]) << i;
    EXPECT_EQ(comb_getfeedback(comb), 0.5F);
    float y[4];
    comb_process(comb, x, y);  // shorter than a group: passes
    EXPECT_EQ(y[3], 2.0F);

    comb_setsize(comb, 8);
    comb_setdamp(comb, 0.25F);
    for (int i = 0; i < 5; ++i)
        comb_process_fb(comb, 1, 0);  // leaves the position where a group no longer fits
    comb_process(comb, x, y);
    EXPECT_EQ(y[0], 1.0F);
    EXPECT_EQ(comb->filterstore[0], 0.75F);
    EXPECT_EQ(comb->filterstore[3], 1 - 1 / 256.0F) << "carried on in the last entry";
    EXPECT_EQ(comb_getdamp(comb), 0.25F) << "the setting stays the setting";
    comb_setsize(comb, 8);
    EXPECT_EQ(comb->filterstore[3], 0.0F) << "the current size clears, too";
    comb_process_fb(comb, 1, 0);
    comb_process(comb, x, y);
    comb_process(comb, x, y);
    EXPECT_NE(comb->filterstore[3], 0.0F);
    comb_mute(comb);
    comb_process(comb, x, y);
    EXPECT_EQ(y[0], 0.0F);
    EXPECT_EQ(comb->filterstore[3], 0.0F);
    rig::Allocator::fail_at(0);
    EXPECT_EQ(comb_setsize(comb, 100), RT_ERR_MALLOC);
    EXPECT_EQ(comb_getsize(comb), 8);
    EXPECT_EQ(comb_destroy(comb), 1);
    EXPECT_EQ(comb_destroy(nullptr), 0);
}

TEST(Allpass, VariantsAndSizes)
{
    rig::Log log;
    qv_allpass* allpass = allpass_init();
    ASSERT_TRUE(allpass);
    EXPECT_EQ(allpass_getdecay(allpass), 1.0F);
    EXPECT_EQ(allpass_process_ov(allpass, 0.3F), 0.3F);
    EXPECT_EQ(allpass_setsize(allpass, 2), RT_OK);
    allpass_setfeedback(allpass, 0.5F);
    allpass_setdecay(allpass, 0.75F);
    const struct {
        float (*process)(qv_allpass*, float);
        float response[5];
    } variants[] = {
        {allpass_process_freeverb, {-1, 0, 1, 0, 0.5F}},
        {allpass_process_dc, {-0.5F, 0, 0.5F, 0, 0.25F}},    // b D - g (x + b g)
        {allpass_process_ov, {-0.5F, 0, 0.75F, 0, 0.375F}},  // b D - g x
    };
    for (const auto& [process, response] : variants) {
        allpass_mute(allpass);
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(process(allpass, i == 0 ? 1.0F : 0.0F), response[i]);
    }
    EXPECT_EQ(allpass_get_z(allpass, 1), 0.25F);
    EXPECT_EQ(allpass_getlast(allpass), 0.0F);
    EXPECT_EQ(allpass_get_z(allpass, 2), 0.0F) << "once around the line";
    EXPECT_EQ(allpass_get_z(allpass, 3), 0.0F);

    allpass_setsize(allpass, 2);  // the current size is refused like a wrong one, and the line stays
    allpass_setsize(allpass, 0);
    EXPECT_EQ(log.text(), "error in allpass set,size 2 must larger than 0\n|"
                          "error in allpass set,size 0 must larger than 0\n");
    EXPECT_EQ(allpass_get_z(allpass, 1), 0.25F);

    allpass_setsize(allpass, 8);  // the group form is an allpass: energy in is energy out
    double energy = 0;
    for (int i = 0; i < 40; ++i) {
        float y[4] = {i == 0 ? 1.0F : 0.0F, 0, 0, 0};
        allpass_process(allpass, y, y);
        energy += static_cast<double>(y[0]) * y[0];
    }
    EXPECT_NEAR(energy, 1.0, 1e-6);
    EXPECT_EQ(allpass_getsize(allpass), 8);
    EXPECT_EQ(allpass_getfeedback(allpass), 0.5F);
    EXPECT_EQ(allpass_destroy(allpass), 1);
    EXPECT_EQ(allpass_destroy(nullptr), 0);
}

}  // namespace
