// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "common/params.h"
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
    EXPECT_EQ(lbx::to_int(2.9F), 2);
    EXPECT_EQ(lbx::to_int(-2.9F), -2);
    EXPECT_EQ(lbx::to_int(kInf), 2147483647);
    EXPECT_EQ(lbx::to_int(2147483648.0F), 2147483647);
    EXPECT_EQ(lbx::to_int(2147483520.0F), 2147483520);
    EXPECT_EQ(lbx::to_int(-3e9), -2147483647 - 1);
    EXPECT_EQ(lbx::to_int(std::nanf("")), 0);
    EXPECT_EQ(lbx::to_uint(-1.0F), 0U);
    EXPECT_EQ(lbx::to_uint(4294967296.0F), 4294967295U);
}

TEST(EntryPoints, TerminalsAndUnknownCategories)
{
    rig::Log log;
    rig::Rig out(0x0C01, 2, 0);
    ASSERT_TRUE(out);
    EXPECT_EQ(out.set({}), 0);
    EXPECT_EQ(out.update(), 0);
    EXPECT_EQ(out.invoke(), 0);
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(out.process(), 0);
    EXPECT_EQ(log.all(), "LOG (BlockAlgo_process(): ,284), wrong input type\n");
    log.clear();
    EXPECT_FALSE(rig::Rig(0x0D02, 1, 1));
    EXPECT_EQ(log.all(), "LOG (BlockAlgo_init(): ,101), wrong input type\n");
    log.clear();
    BlockAlgo stray = {};
    stray.method_type = 0x0801;
    EXPECT_EQ(BlockAlgo_param_reset(&stray, nullptr), 0);
    EXPECT_EQ(BlockAlgo_param_update(&stray), 0);
    EXPECT_EQ(BlockAlgo_param_invoke(&stray), 0);
    EXPECT_EQ(BlockAlgo_destroy(&stray), 0);
    EXPECT_EQ(log.all(), "LOG (BlockAlgo_param_reset(): ,148), wrong input type\n"
                         "LOG (BlockAlgo_param_update(): ,194), wrong input type\n"
                         "LOG (BlockAlgo_param_invoke(): ,240), wrong input type\n"
                         "LOG (BlockAlgo_destroy(): ,332), wrong input type\n");
}

TEST(EntryPoints, ReportsATerminalAtABlockSizeOfZeroToo)
{
    rig::Log log;
    BlockPro pro = {48000, 16, 0, 0, 0};
    BlockAlgo terminal = {};
    terminal.block_pro = &pro;
    terminal.method_type = EN_IN_AUDIO_INPUT;
    EXPECT_EQ(BlockAlgo_process(&terminal, nullptr, nullptr), 0);
    EXPECT_EQ(log.all(), "LOG (BlockAlgo_process(): ,284), wrong input type\n");
}
