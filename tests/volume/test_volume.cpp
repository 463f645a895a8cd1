// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/rig.h"

namespace {

template <class Core>
Core* core_of(rig::Rig& blk)
{
    return static_cast<Core*>(blk->AlgoCore);
}

// One gain of a slewed block, as the rule is written.
struct SlewLaw {
    float alpha, pre_div;
    float old = 0.0F, set = 1.0F, step = 0.0F;

    // The gains of one block; then stands where the next one starts.
    std::vector<float> block(int n)
    {
        const float to = std::fma(old, alpha, (1.0F - alpha) * set);
        step = old == set ? 0.0F : (to - old) * pre_div;
        std::vector<float> gains;
        for (float g = old; static_cast<int>(gains.size()) < n;)
            gains.push_back(g = g + step);
        old = std::abs(step) >= 1e-10F && to != old ? to : set;
        return gains;
    }
};

SlewLaw law_of(float rate, int block)
{
    return {SlewAlphaGet(rate, 48000, static_cast<float>(block)), 1.0F / static_cast<float>(block + 1)};
}

double db_gain(double db) { return std::pow(10.0, db / 20.0); }

}  // namespace

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

TEST(AdjustableGain, SlewsByTheLawToTheExactGain)
{
    for (const int block : {1, 3, 64, 150})
        for (const int channels : {1, 4, 9}) {
            rig::Rig one(EN_VC_SIG_CONTROL_SLEW, channels, channels, {.block = block});
            rig::Rig many(EN_VC_MULTI_CONTROL_SLEW, channels, channels, {.block = block});
            SlewLaw single = law_of(12, block);
            std::vector<SlewLaw> each(static_cast<std::size_t>(channels), single);
            std::vector<float> vector(static_cast<std::size_t>(channels) + 1, 0.0F);
            for (int b = 0; b < 9; ++b) {
                if (b == 4) {
                    vector[0] = 9;
                    for (std::size_t ch = 0; ch < each.size(); ++ch) {
                        vector[ch + 1] = -3.0F * static_cast<float>(ch + 1);
                        each[ch].set = std::pow(10.0F, static_cast<float>(static_cast<double>(vector[ch + 1]) * 0.05));
                        each[ch].alpha = law_of(9, block).alpha;
                    }
                    many.set(vector);
                    single = {each[0].alpha, single.pre_div, single.old, each[0].set};
                    one.set({9, vector[1]});
                }
                for (rig::Rig* blk : {&one, &many}) {
                    for (int ch = 0; ch < channels; ++ch)
                        std::ranges::copy(rig::noise(block, static_cast<std::uint32_t>(ch)), blk->in(ch).begin());
                    EXPECT_EQ(blk->process(), 1);
                }
                const std::vector<float> gains = single.block(block);
                for (int ch = 0; ch < channels; ++ch) {
                    const std::vector<float> own = each[static_cast<std::size_t>(ch)].block(block);
                    for (std::size_t t = 0; t < gains.size(); ++t) {
                        ASSERT_EQ(one.out(ch)[t], one.in(ch)[t] * gains[t]) << block << ", " << ch << ", " << t;
                        ASSERT_EQ(many.out(ch)[t], many.in(ch)[t] * own[t]) << block << ", " << ch << ", " << t;
                    }
                }
            }
            for (int b = 0; core_of<AdjustableGain_Core>(many)->old_value[0] != each[0].set && b < 100000; ++b)
                many.process();
            many.process();
            EXPECT_EQ(many.out(0)[0], many.in(0)[0] * each[0].set);
        }
}

// Out of an infinite gain no step is a number; the next target is taken at once.
TEST(AdjustableGain, RecoversFromAnInfiniteGain)
{
    rig::Rig blk(EN_VC_SIG_CONTROL_SLEW, 1, 1);
    blk.fill(0, 1.0F);
    blk.set({12, 1e9F});
    blk.process();
    blk.set({12, 0});
    for (int b = 0; b < 3; ++b)
        blk.process();
    EXPECT_EQ(blk.out(0)[0], 1.0F);
}

TEST(AdjustableGain, ControlPinIsALinearGain)
{
    rig::Rig blk(EN_VC_SIG_EXT_CONTROL_SLEW, 3, 2);
    auto* core = core_of<AdjustableGain_Core>(blk);
    blk.set({8});
    blk.fill(0, {0.5F, 9.0F});
    blk.fill(1, 1.0F);
    blk.fill(2, 0.25F);
    SlewLaw law = law_of(8, 64);
    law.old = 1.0F;
    law.set = 0.5F;
    for (int b = 0; b < 3; ++b) {
        EXPECT_EQ(blk.process(), 1);
        const std::vector<float> gains = law.block(64);
        for (std::size_t t = 0; t < 64; ++t) {
            ASSERT_EQ(blk.out(0)[t], gains[t]);
            ASSERT_EQ(blk.out(1)[t], 0.25F * gains[t]);
        }
    }
    EXPECT_EQ(core->value[0], law.old);
    core->old_value[0] = 1.0F;  // the control in dB: 6 dB, within the exponential's 3 %
    blk.fill(0, 6.0F);
    for (int b = 0; b < 200; ++b)
        blk.process();
    EXPECT_NEAR(blk.out(0)[63], db_gain(6), 0.03 * db_gain(6));
}

TEST(AdjustableGain, LimitsPinsAndPrints)
{
    rig::Log log;
    rig::Rig slew(EN_VC_MULTI_CONTROL_SLEW, 1, 1), plain(EN_VC_SIG_CONTROL, 1, 1);
    slew.set({40, 3});
    EXPECT_EQ(slew->pParam[kAdjustableGainSlewRate], 23.0F);
    slew.set({0.5F, 3});
    EXPECT_EQ(slew->pParam[kAdjustableGainSlewRate], 1.0F);
    EXPECT_TRUE(log.lines().empty()) << "silently";
    slew.invoke();
    plain.invoke();
    const std::vector<std::string> expected = {
        "AdjustableGain param: \n\n", "Volume: 1.000000 \n\n", "SlewRate: 3.000000 \n\n", "\n\n",
        "AdjustableGain param: \n\n", "Volume: 0.000000 \n\n", "SlewRate: 0.000000 \n\n", "\n\n"};
    EXPECT_EQ(log.messages(), expected);
    log.clear();
    EXPECT_FALSE(rig::Rig(EN_VC_MULTI_CONTROL, 3, 2));
    EXPECT_FALSE(rig::Rig(EN_VC_SIG_CONTROL, 0, 0));
    EXPECT_FALSE(rig::Rig(EN_VC_SIG_EXT_CONTROL_SLEW, 2, 2));
    EXPECT_FALSE(rig::Rig(EN_VC_MUTE, 2, 1));
    EXPECT_FALSE(rig::Rig(EN_VC_GAINENVELOPE, 2, 2));
    EXPECT_EQ(log.messages(),
              (std::vector<std::string>{"wrong input pin number in AdjustableGain\n",
                                        "wrong input pin number in AdjustableGain\n",
                                        "wrong input pin number in AdjustableGain\n",
                                        "wrong input pin number in Mute\n", "wrong input pin number in Input_pin\n"}));
    EXPECT_NE(log.lines()[1].find("Adjust_Gain_init()"), std::string::npos);
    EXPECT_NE(log.lines()[2].find("Adjust_SlewGain_init()"), std::string::npos);
}

TEST(Mute, ExactAtOnceAndAfterTheSlew)
{
    rig::Rig blk(EN_VC_MUTE, 2, 2);
    SlewLaw law = {0.98F, 1.0F / 65.0F};
    std::ranges::copy(rig::noise(64), blk.in(0).begin());
    blk.fill(1, 1.0F);
    const auto expect_law = [&](int blocks) {
        for (int b = 0; b < blocks; ++b) {
            EXPECT_EQ(blk.process(), 0);
            const std::vector<float> gains = law.block(64);
            for (std::size_t t = 0; t < 64; ++t)
                ASSERT_EQ(blk.out(0)[t], blk.in(0)[t] * gains[t]) << b << ", " << t;
        }
    };
    expect_law(2000);  // from silence to exactly 1
    EXPECT_EQ(core_of<Mute_Core>(blk)->old_gain, 1.0F);
    EXPECT_EQ(rig::bits(blk.out(0)), rig::bits(blk.in(0)));
    blk.set({1, 1});
    law.set = 0.0F;
    expect_law(2000);
    EXPECT_EQ(core_of<Mute_Core>(blk)->old_gain, 0.0F);
    const auto is_zero = [](float v) { return v == 0.0F; };
    EXPECT_TRUE(std::ranges::all_of(blk.out(1), is_zero));
    blk.set({0, 0});
    blk.process();
    EXPECT_EQ(blk.out(1)[0], 1.0F) << "without slew at once";
    blk.set({1, 0});
    blk.process();
    EXPECT_TRUE(std::ranges::all_of(blk.out(1), is_zero));
    blk.set({2, 0});
    blk.process();
    EXPECT_EQ(blk.out(1)[0], 1.0F) << "only 1 mutes";
    EXPECT_EQ(core_of<Mute_Core>(blk)->gain_now, 0.0F) << "and only 0 and 1 aim";
    rig::Log log;
    blk.invoke();
    EXPECT_EQ(log.messages(), (std::vector<std::string>{"Mute param: \n\n", "Switch: 2.000000 \n\n",
                                                        "SlewFlag: 0.000000 \n\n", "\n\n"}));
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
            EXPECT_NEAR(blk.out(0)[0], db_gain(db), 0.002 * db_gain(db)) << sample;
        }
    }
}

TEST(GainEnvelope, RampsBetweenTheEdgesOfABlock)
{
    rig::Rig blk(EN_VC_GAINENVELOPE, 3, 2);
    blk.fill(1, 1.0F);
    blk.fill(2, -1.0F);
    blk.alias(1, 2);
    const auto* core = core_of<GainEnvelope_Core>(blk);
    EXPECT_EQ(core->maxPoint, 52992) << "1104 ms";
    blk.process();
    // -100 dB to 0 dB in 96 samples: the first sample of the block is one in, the last one 64.
    const double first = db_gain(-100 + 100 / 96.0), last = db_gain(-100 + 6400 / 96.0);
    EXPECT_NEAR(blk.out(0)[0], first, 0.002 * first);
    EXPECT_NEAR(blk.out(0)[32], first + (last - first) / 2, 0.002 * last);
    EXPECT_NEAR(blk.in(2)[63], -(first + (last - first) * 63 / 64), 0.002 * last);
    blk.process();
    EXPECT_NEAR(blk.out(0)[0], db_gain(-100 + 6500 / 96.0), 0.002);
    for (int b = 2; b < 828; ++b)  // 828 blocks of 64 are the curve's length
        blk.process();
    EXPECT_EQ(blk.out(0)[0], 1.0F) << "the last block is at the end gain from its first sample";
    EXPECT_EQ(blk.out(0)[63], 1.0F);
    blk.set({0, 1, 5, -6});
    blk.process();
    EXPECT_NEAR(blk.out(0)[0], db_gain(-6), 1e-6) << "a set restarts the curve";
}

TEST(GainEnvelope, OddCurvesStaySafeAndFinite)
{
    const std::vector<float> curves[] = {{1, 0},
                                         {0, 0},
                                         {1, 1, 3, -6},
                                         {0, 1, 0, 0},
                                         {1, -4},
                                         {0, 4, 9, 3, 3, 1, 0, -150, 60, -3},
                                         {1, 4, 9, 0, -5, 12, 3e9F, -3e9F, 1e30F, -3},
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
    EXPECT_EQ(core_of<GainEnvelope_Core>(blk)->Gains_dB[0], -120.0F);
    EXPECT_EQ(blk->pParam[4], -120.0F);
    float* table = core_of<GainEnvelope_Core>(blk)->gains_table;
    EXPECT_EQ(GainTableFindNeast(table, -120.0F), table[0]);
    EXPECT_FLOAT_EQ(GainTableFindNeast(table, -5.5F), (table[114] + table[115]) / 2);
    for (const float db : {25.0F, 26.0F, 1e30F})
        EXPECT_EQ(GainTableFindNeast(table, db), table[145]);
    for (const float db : {-121.0F, -1e30F, NAN})
        EXPECT_EQ(GainTableFindNeast(table, db), table[0]);
    rig::Log log;
    blk.invoke();
    EXPECT_EQ(log.messages(), (std::vector<std::string>{"GainEnvelope param:\n\n", "LoopFlag: 0.000000\n",
                                                        "NumPoints: 2.000000\n", "\n\n"}));
}

TEST(GainEnvelope, CountsSamplesExactlyOnLongCurves)
{
    rig::Rig blk(EN_VC_GAINENVELOPE, 2, 1, {.block = 1});
    blk.fill(1, 1.0F);
    blk.set({0, 2, 400'000, 400'001, 0, -48});  // 1 dB per sample, beyond 2^24 samples
    core_of<GainEnvelope_Core>(blk)->counter = 19'200'001;
    blk.process();
    EXPECT_FLOAT_EQ(blk.out(0)[0], static_cast<float>(db_gain(-1)));
}
