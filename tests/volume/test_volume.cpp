// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/rig.h"

TEST(AdjustableGain, ExactGainsAtOnce)
{
    rig::Rig one(EN_VC_SIG_CONTROL, 2, 2), many(EN_VC_MULTI_CONTROL, 3, 3);
    for (int pin = 0; pin < 2; ++pin)
        one.fill(pin, 1.0F);
    EXPECT_EQ(one.process(), 1);
    EXPECT_EQ(one.out(1)[63], 1.0F) << "1 before any set";
    one.set({-6});
    one.process();
    EXPECT_FLOAT_EQ(one.out(1)[63], 0.501187F);
    many.alias(2, 2);
    many.set({-6, 20, -200});
    for (int pin = 0; pin < 3; ++pin)
        many.fill(pin, 2.0F);
    many.process();
    EXPECT_FLOAT_EQ(many.out(0)[0], 2 * 0.501187F);
    EXPECT_FLOAT_EQ(many.out(1)[0], 20.0F);
    EXPECT_FLOAT_EQ(many.in(2)[63], 2e-10F);
    one->pParam[0] = 0.0F;  // the entry point's update applies what is stored, the module's does nothing
    EXPECT_EQ(AdjustableGain_param_update(one.block()), 0);
    one.process();
    EXPECT_LT(one.out(0)[0], 0.6F);
    one.update();
    one.process();
    EXPECT_EQ(one.out(0)[0], 1.0F);
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

TEST(AdjustableGain, ControlPinIsALinearGain)
{
    rig::Rig blk(EN_VC_SIG_EXT_CONTROL_SLEW, 3, 2);
    blk.set({8});
    blk.fill(0, {0.5F, 9.0F});
    blk.fill(1, 1.0F);
    blk.fill(2, 0.25F);
    double gain = 1;
    for (int b = 0; b < 3; ++b) {
        EXPECT_EQ(blk.process(), 1);
        const double to = 0.5 + (gain - 0.5) * static_cast<double>(SlewAlphaGet(8, 48000, 64));
        for (const int t : {1, 30, 64}) {
            const auto i = static_cast<std::size_t>(t - 1);
            EXPECT_NEAR(blk.out(0)[i], gain + (to - gain) * t / 65, 1e-6);
            EXPECT_EQ(blk.out(1)[i], 0.25F * blk.out(0)[i]);
        }
        gain = to;
    }
    blk.fill(0, 1.0F);
    blk.process(5000);
    EXPECT_LT(blk.core<AdjustableGain_Core>().value[0], 1.0F) << "never settles";
    blk.core<AdjustableGain_Core>().old_value[0] = 1.0F;  // the control in dB
    blk.fill(0, 6.0F);
    blk.process(200);
    EXPECT_NEAR(blk.out(0)[63], rig::from_db(6), 0.03 * rig::from_db(6));  // the fast exponential's 3 %
}

TEST(AdjustableGain, LimitsItsRateSilently)
{
    rig::Log log;
    rig::Rig blk(EN_VC_MULTI_CONTROL_SLEW, 1, 1);
    for (const auto& [rate, held] : {std::pair{40.0F, 23.0F}, {0.5F, 1.0F}}) {
        blk.set({rate, 3});
        EXPECT_EQ(blk->pParam[kAdjustableGainSlewRate], held);
    }
    EXPECT_TRUE(log.lines().empty());
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

TEST(GainEnvelope, RampsBetweenTheEdgesOfABlock)
{
    rig::Rig blk(EN_VC_GAINENVELOPE, 3, 2);
    blk.fill(1, 1.0F);
    blk.fill(2, -1.0F);
    blk.alias(1, 2);
    blk.process();
    // -100 dB to 0 dB in 96 samples: the first sample of the block is one in, the last one 64.
    const double first = rig::from_db(-100 + 100 / 96.0), last = rig::from_db(-100 + 6400 / 96.0);
    EXPECT_NEAR(blk.out(0)[0], first, 0.002 * first);
    EXPECT_NEAR(blk.out(0)[32], first + (last - first) / 2, 0.002 * last);
    EXPECT_NEAR(blk.in(2)[63], -(first + (last - first) * 63 / 64), 0.002 * last);
    blk.process();
    EXPECT_NEAR(blk.out(0)[0], rig::from_db(-100 + 6500 / 96.0), 0.002);
    for (int b = 2; b < 828; ++b)  // 828 blocks of 64 are the curve's length
        blk.process();
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
