// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/rig.h"

namespace {

TEST(SoftClip, MeetsItsEndsAndIsSilentAtZero)
{
    rig::Rig blk(EN_NLP_CLIPPERS_SOFT, 1, 1);
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
