// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "framework/params.h"
#include "support/rig.h"

TEST(ParamAdapt, ClampsWithAReport)
{
    rig::Log log;
    EXPECT_EQ(ParamAdapt(0, 10, 10, "x"), 10);
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(ParamAdapt(0, 10, 11, "x"), 10);
    EXPECT_EQ(ParamAdapt(0, 10, -1, "x"), 0);
    EXPECT_EQ(log.all(), "LOG (ParamAdapt(): ,17), x:11 out of range:0~ 10, be set to 10\n\n"
                         "LOG (ParamAdapt(): ,17), x:-1 out of range:0~ 10, be set to 0\n\n");
    log.clear();
    EXPECT_EQ(ParamAdaptFloat(0, 1, 2, "y"), 1.0F);
    EXPECT_TRUE(std::isnan(ParamAdaptFloat(0, 1, std::nanf(""), "y")));
    ASSERT_EQ(log.lines().size(), 2U);
    EXPECT_EQ(log.lines()[0],
              "LOG (ParamAdaptFloat(): ,30), y:2.000000 out of range:0.000000~ 1.000000, be set to 1.000000\n\n");
}

TEST(Conversion, TruncatesAndSaturates)
{
    constexpr float kInf = std::numeric_limits<float>::infinity();
    for (const auto& [value, whole] : {std::pair{2.9F, 2},
                                       {-2.9F, -2},
                                       {kInf, 2147483647},
                                       {2147483648.0F, 2147483647},
                                       {2147483520.0F, 2147483520},
                                       {-2147483648.0F, -2147483647 - 1},
                                       {std::nanf(""), 0}})
        EXPECT_EQ(lbx::to_int(value), whole);
    EXPECT_EQ(lbx::to_int(-3e9), -2147483647 - 1);
    EXPECT_EQ(lbx::to_uint(-1.0F), 0U);
    EXPECT_EQ(lbx::to_uint(4294967296.0F), 4294967295U);
}

// Categories without modules, and terminals, which have no process: at a block size of 0, too.
TEST(EntryPoints, TerminalsAndUnknownCategories)
{
    rig::Log log;
    BlockPro pro = {48000, 16, 0, 0, 0};
    BlockAlgo* out = BlockAlgo_init(&pro, 2, 0, EN_OUT_SINK);
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(BlockAlgo_param_reset(out, nullptr), 0);
    EXPECT_EQ(BlockAlgo_param_update(out), 0);
    EXPECT_EQ(BlockAlgo_param_invoke(out), 0);
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(BlockAlgo_process(out, nullptr, nullptr), 0);
    EXPECT_EQ(BlockAlgo_destroy(out), 0);
    EXPECT_EQ(BlockAlgo_init(&pro, 1, 1, 0x0D02), nullptr);
    BlockAlgo stray = {};
    stray.method_type = 0x0801;
    EXPECT_EQ(BlockAlgo_param_reset(&stray, nullptr), 0);
    EXPECT_EQ(BlockAlgo_param_update(&stray), 0);
    EXPECT_EQ(BlockAlgo_param_invoke(&stray), 0);
    EXPECT_EQ(BlockAlgo_destroy(&stray), 0);
    EXPECT_EQ(log.all(), "LOG (BlockAlgo_process(): ,284), wrong input type\n"
                         "LOG (BlockAlgo_init(): ,101), wrong input type\n"
                         "LOG (BlockAlgo_param_reset(): ,148), wrong input type\n"
                         "LOG (BlockAlgo_param_update(): ,194), wrong input type\n"
                         "LOG (BlockAlgo_param_invoke(): ,240), wrong input type\n"
                         "LOG (BlockAlgo_destroy(): ,332), wrong input type\n");
}
