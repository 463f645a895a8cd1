// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/rig.h"

// The entry point's update applies what is stored, the module's does nothing.
TEST(AdjustableGain, OnlyTheEntryPointUpdates)
{
    rig::Rig blk(EN_VC_SIG_CONTROL, 2, 2);
    blk.fill(0, 1.0F);
    blk.set({-6});
    blk->pParam[0] = 0.0F;
    EXPECT_EQ(AdjustableGain_param_update(blk.block()), 0);
    EXPECT_EQ(blk.process(), 1);
    EXPECT_FLOAT_EQ(blk.out(0)[0], 0.501187F);
    blk.update();
    blk.process();
    EXPECT_EQ(blk.out(0)[0], 1.0F);
}

// From silence to 1, and to what is set. The glide between is held to its plain loop elsewhere.
TEST(AdjustableGain, SlewsToTheExactGain)
{
    for (const int type : {EN_VC_SIG_CONTROL_SLEW, EN_VC_MULTI_CONTROL_SLEW}) {
        rig::Rig blk(type, 9, 9);
        blk.fill(7, 1.0F);
        blk.fill(8, 1.0F);
        EXPECT_EQ(blk.process(5000), 1);
        EXPECT_EQ(blk.core<AdjustableGain_Core>().attack_gain, SlewAlphaGet(12, 48000, 64));
        EXPECT_EQ(blk.out(8)[0], 1.0F);
        blk.set({9, -20, -20, -20, -20, -20, -20, -20, -20, -60});
        EXPECT_EQ(blk.core<AdjustableGain_Core>().attack_gain, SlewAlphaGet(9, 48000, 64));
        blk.process(5000);
        EXPECT_EQ(blk.out(7)[0], 0.1F) << type;
        EXPECT_EQ(blk.out(8)[63], type == EN_VC_SIG_CONTROL_SLEW ? 0.1F : 0.001F);
    }
}

// Out of an infinite gain no step is a number, nor out of none; the next target is taken at once.
TEST(AdjustableGain, RecoversFromGainsThatAreNoNumber)
{
    for (const int type : {EN_VC_SIG_CONTROL_SLEW, EN_VC_MULTI_CONTROL_SLEW, EN_MIXERS_MULTI_SLEW})
        for (const float db : {1000.0F, NAN}) {
            rig::Rig blk(type, 1, 1);
            blk.fill(0, 1.0F);
            blk.set({12, db});
            blk.process();
            blk.set({12, 0});
            blk.process(5000);
            EXPECT_NEAR(blk.out(0)[0], 1.0, 0.03) << type << ", " << db;  // a mixer's decibels are coarse
        }
}

TEST(AdjustableGain, ControlPinNeverSettlesAndIsInDecibelsIfToldSo)
{
    rig::Rig blk(EN_VC_SIG_EXT_CONTROL_SLEW, 3, 2);
    blk.set({8});
    blk.fill(1, 1.0F);
    blk.fill(0, {0.5F, 9.0F});  // only the first sample counts
    blk.process(3);
    EXPECT_LT(blk.out(0)[63], 1.0F);
    blk.fill(0, 1.0F);
    blk.process(5000);
    EXPECT_LT(blk.core<AdjustableGain_Core>().value[0], 1.0F) << "never settles";
    blk.core<AdjustableGain_Core>().old_value[0] = 1.0F;  // the control in dB
    blk.fill(0, 6.0F);
    blk.process(200);
    EXPECT_NEAR(blk.out(0)[63], rig::from_db(6), 0.03 * rig::from_db(6));  // the fast exponential's 3 %
}

TEST(Mute, ExactAtOnceAndAfterTheSlew)
{
    rig::Rig blk(EN_VC_MUTE, 2, 2);
    blk.fill_noise();
    blk.fill(1, 1.0F);
    blk.process();
    EXPECT_NEAR(blk.out(1)[63], 0.02 * 64 / 65, 1e-8);
    blk.process(2000);
    EXPECT_EQ(rig::bits(blk.out(0)), rig::bits(blk.in(0)));
    blk.set({1, 1});
    blk.process();
    EXPECT_NEAR(blk.out(1)[63], 1 - 0.02 * 64 / 65, 1e-6);
    EXPECT_EQ(blk.process(2000), 0);
    EXPECT_EQ(rig::rms(blk.out(1)), 0.0);
    const float states[][3] = {{1, 0, 0}, {2, 1, 0}, {0, 1, 1}, {2, 1, 1}};  // only 1 mutes, only 0 and 1 aim
    for (const auto& [state, gain, aim] : states) {
        blk.set({state, 0});
        blk.process();
        EXPECT_EQ(blk.out(1)[0], gain) << "without slew at once";
        EXPECT_EQ(blk.core<Mute_Core>().gain_now, aim);
    }
}

// Blocks of one sample show the curve itself.
TEST(GainEnvelope, FollowsItsPointsOnceAndInALoop)
{
    for (const float loop : {0.0F, 1.0F}) {
        rig::Rig blk(EN_VC_GAINENVELOPE, 2, 1, {.rate = 1000, .block = 1});
        blk.fill(1, 1.0F);
        blk.set({loop, 3, 0, 10, 30, -20, 0, -40});
        for (int sample = 1; sample <= 95; ++sample) {
            EXPECT_EQ(blk.process(), 0);
            const int t = loop == 1.0F ? (sample - 1) % 30 + 1 : std::min(sample, 30);
            const double db = t <= 10 ? -20 + 2.0 * t : -2.0 * (t - 10);
            // Between whole dB the table is straight in gain: 0.17 % off at most.
            EXPECT_NEAR(blk.out(0)[0], rig::from_db(db), 0.002 * rig::from_db(db)) << sample;
        }
    }
}

TEST(GainEnvelope, EndsExactlyAndStartsAgainWithASet)
{
    rig::Rig blk(EN_VC_GAINENVELOPE, 2, 1);
    blk.fill(1, 1.0F);
    blk.process(828);  // blocks of 64: the length of the curve
    EXPECT_EQ(blk.out(0)[0], 1.0F) << "the last block is at the end gain from its first sample";
    EXPECT_EQ(blk.out(0)[63], 1.0F);
    blk.set({0, 1, 5, -6});
    blk.process();
    EXPECT_NEAR(blk.out(0)[0], rig::from_db(-6), 1e-6) << "a set restarts the curve";
}

TEST(GainEnvelope, OddCurvesStaySafeAndFinite)
{
    const std::vector<float> curves[] = {{1, 0},
                                         {0, 0},
                                         {0, 1, 0, 0},
                                         {1, -4},
                                         {0, 4, 9, 3, 3, 1, 0, -150, 60, -3},
                                         {1, 3, -3e9F, 3e9F, 1, 0, 1e9F, 0},
                                         {1, 2, NAN, 4, NAN, 0}};
    for (const std::vector<float>& curve : curves)
        for (const int block : {1, 7, 64}) {
            rig::Rig blk(EN_VC_GAINENVELOPE, 2, 1, {.block = block});
            blk.fill(1, 1.0F);
            EXPECT_EQ(blk.set(curve), 0);
            for (int b = 0; b < 700; ++b) {
                blk.process();
                ASSERT_TRUE(std::isfinite(blk.out(0)[0]));
            }
            if (curve.size() == 2) {
                EXPECT_EQ(blk.out(0)[0], 1.0F) << "no points";
            }
        }
    rig::Rig blk(EN_VC_GAINENVELOPE, 2, 1);
    blk.set({0, 2, 0, 5, -150, -3});
    EXPECT_EQ(blk->pParam[4], -120.0F);
    float* table = blk.core<GainEnvelope_Core>().gains_table;
    EXPECT_FLOAT_EQ(GainTableFindNeast(table, -5.5F), (table[114] + table[115]) / 2);
    for (const float db : {25.0F, 26.0F, 1e30F})
        EXPECT_EQ(GainTableFindNeast(table, db), table[145]);
    for (const float db : {-120.0F, -121.0F, -1e30F, NAN})
        EXPECT_EQ(GainTableFindNeast(table, db), table[0]);
}

TEST(GainEnvelope, CountsSamplesExactlyOnLongCurves)
{
    rig::Rig blk(EN_VC_GAINENVELOPE, 2, 1, {.block = 1});
    blk.fill(1, 1.0F);
    blk.set({0, 2, 400'000, 400'001, 0, -48});  // 1 dB per sample, beyond 2^24 samples
    blk.core<GainEnvelope_Core>().counter = 19'200'001;
    blk.process();
    EXPECT_FLOAT_EQ(blk.out(0)[0], static_cast<float>(rig::from_db(-1)));
}
