// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/rig.h"

namespace {

TEST(HardClip, FollowsItsLimitPins)
{
    rig::Rig blk(EN_NLP_CLIPPERS_HARD, 4, 2);
    blk.fill(0, {0.5F, 0.5F, 0.5F, -0.2F, -0.2F, 0.9F});
    blk.fill(1, {-0.5F, -0.5F, -0.5F, 0.3F, 0.3F, -0.9F});
    blk.fill(2, {0.7F, -0.7F, 0.2F, 0.1F, -0.8F, 0.9F});
    blk.fill(3, 0.25F);
    EXPECT_EQ(blk.process(), 0);
    // Where the limits cross (fourth and fifth), the upper one is tested first, then the lower one lifts.
    const float expected[] = {0.5F, -0.5F, 0.2F, -0.2F, 0.3F, 0.9F};
    EXPECT_TRUE(std::equal(std::begin(expected), std::end(expected), blk.out(0).begin()));
    EXPECT_EQ(blk.out(1)[0], 0.25F);
    EXPECT_EQ(blk.out(1)[3], -0.2F);
}

TEST(SoftClip, CubicWithItsKeptStep)
{
    rig::Rig blk(EN_NLP_CLIPPERS_SOFT, 2, 2);
    blk.alias(1, 1);
    blk.fill(0, {0.25F, 0.5F, 3.0F, -0.6F, -0.5F, 0.0F});
    blk.fill(1, -0.25F);
    EXPECT_EQ(blk.process(), 0);
    const float expected[] = {
        static_cast<float>(0.5 * (0.5 - 0.3333 * 0.125)), 0.33335F, 0.33335F, -0.33335F, -0.33335F, 0.0F};
    for (std::size_t i = 0; i < 6; ++i)
        EXPECT_EQ(blk.out(0)[i], expected[i]) << i;
    EXPECT_EQ(blk.in(1)[5], -expected[0]) << "in place";
    // Just inside the end the cubic is at 0.6667 - that is what 1 - 0.3333 gives - and never above it.
    blk.set({1.0F});
    blk.fill(0, std::nextafter(1.0F, 0.0F));
    blk.process();
    EXPECT_NEAR(blk.out(0)[0], 1 - 0.3333, 1e-7);
    blk.set({0.0F});
    blk.fill(0, {0.0F, 1.0F, -1.0F});
    blk.process();
    EXPECT_TRUE(std::ranges::all_of(blk.out(0), [](float v) { return v == 0.0F; }));
}

TEST(ChannelCopy, FansOut)
{
    rig::Rig blk(EN_NLP_CHANNEL_COPY, 1, 4);
    blk.fill_noise();
    EXPECT_EQ(blk.process(), 0);
    for (int pin = 0; pin < 4; ++pin)
        EXPECT_EQ(rig::bits(blk.out(pin)), rig::bits(blk.in(0)));
    EXPECT_EQ(blk.set({0.3F}), 0);
    EXPECT_EQ(blk->pParam, nullptr);
}

TEST(Nlp, RefusesUnknownTypes)
{
    rig::Rig blk(EN_NLP_CLIPPERS_SOFT, 1, 1);
    rig::Log log;
    blk->method_type = 0x0704;
    EXPECT_EQ(blk.process(), 1);
    EXPECT_EQ(Nlp_process(blk.block(), nullptr, nullptr), 0);
    EXPECT_EQ(log.text(), "wrong input type in NLP\n|wrong method type in NLP\n");
    blk->method_type = EN_NLP_CLIPPERS_SOFT;
}

TEST(Nlp, QuickForms)
{
    float upper = 0.4F, lower = -0.1F, x = 0.5F, y = 0.0F;
    float *in[] = {&upper, &lower, &x}, *out[] = {&y};
    EXPECT_EQ(HardClip_Controll_Quick(in, nullptr, 2, 1, 16), 0);
    EXPECT_EQ(HardClip_Controll_Quick(in, out, 3, 1, 16), 0);
    EXPECT_EQ(y, 0.4F);
    EXPECT_EQ(SoftClip_Controll_Quick(in + 2, out, 1, 1.0F, 1, 16), 0);
    EXPECT_EQ(y, static_cast<float>(0.5 - 0.3333 * 0.125));
}

}  // namespace
