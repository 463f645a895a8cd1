// SPDX-License-Identifier: Apache-2.0
// The plain rule of every arrangement, sample by sample, is the measure: results must equal it to the bit.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>

#include "support/rig.h"

namespace {

using Signals = std::vector<std::vector<float>>;

struct Arrangement {
    int plain, slewed;
    int inputs, outputs;
    bool sum_first;                            // one gain for the sum of the inputs
    std::function<int(int in, int out)> gain;  // of the path; -1: no path
    int gains;
};

std::vector<Arrangement> arrangements(int n, int m)
{
    return {
        {EN_MIXERS_SINGLE, EN_MIXERS_SINGLE_SLEW, n, 1, true, [](int, int) { return 0; }, 1},
        {EN_MIXERS_MULTI, EN_MIXERS_MULTI_SLEW, n, 1, false, [](int i, int) { return i; }, n},
        {EN_MIXERS_STEREO, EN_MIXERS_STEREO_SLEW, n, 2, false,
         [n](int i, int j) { return i % 2 == j && i / 2 < n / 2 ? i / 2 : -1; }, n / 2},
        {EN_MIXERS_CROSS, EN_MIXERS_CROSS_SLEW, n, m, false, [m](int i, int j) { return i * m + j; }, n * m},
        {EN_SPLIT_SINGLE, EN_SPLIT_SINGLE_SLEW, 1, m, true, [](int, int) { return 0; }, 1},
        {EN_SPLIT_MULTI, EN_SPLIT_MULTI_SLEW, 1, m, true, [](int, int j) { return j; }, m},
    };
}

std::vector<float> levels(int n, std::uint32_t seed)
{
    std::vector<float> db = rig::noise(n, seed);
    for (float& v : db)
        v *= 30.0F;
    return db;
}

// One output sample.
float mix(const Arrangement& a, const Signals& in, const std::vector<float>& gain, int out, std::size_t t)
{
    float y = 0.0F;
    int last = 0;
    for (int i = 0; i < a.inputs; ++i) {
        const int k = a.gain(i, out);
        if (k < 0)
            continue;
        const float x = in[static_cast<std::size_t>(i)][t];
        const float g = gain[static_cast<std::size_t>(k)];
        y = a.sum_first ? y + x : std::fma(g, x, y);
        last = k;
    }
    return a.sum_first ? y * gain[static_cast<std::size_t>(last)] : y;
}

// The law of slewed gains, one at a time.
struct SlewLaw {
    float alpha, pre_div;
    std::vector<float> old, set, now, step;

    void begin()
    {
        now = old;
        step.assign(old.size(), 0.0F);
        for (std::size_t k = 0; k < old.size(); ++k)
            if (old[k] != set[k])
                step[k] = (next(k) - old[k]) * pre_div;
    }
    float next(std::size_t k) const { return std::fma(old[k], alpha, (1.0F - alpha) * set[k]); }
    void advance()
    {
        for (std::size_t k = 0; k < old.size(); ++k)
            now[k] = now[k] + step[k];
    }
    void end()
    {
        for (std::size_t k = 0; k < old.size(); ++k) {
            const bool small = step[k] < 1e-10F && step[k] > -1e-10F;
            old[k] = small || next(k) == old[k] ? set[k] : next(k);
        }
    }
};

const int kBlocks[] = {1, 3, 5, 48, 64, 257};

}  // namespace

TEST(Mixers, PlainFormsAreTheMatrixProduct)
{
    for (const auto& [n, m] : {std::pair{1, 1}, {2, 3}, {5, 2}, {8, 8}, {9, 7}})
        for (const int block : kBlocks)
            for (const Arrangement& a : arrangements(n, m)) {
                SCOPED_TRACE(testing::Message() << a.plain << ": " << n << " x " << m << ", " << block);
                rig::Rig blk(a.plain, a.inputs, a.outputs, {.block = block});
                const std::vector<float> db = levels(a.gains, 3);
                EXPECT_EQ(blk.set(db), RT_OK);
                std::vector<float> gain;
                for (const float v : db)
                    gain.push_back(LBX_DB2Gain(v));
                const Signals in = rig::stimulus(a.inputs, block);
                const Signals out = blk.run(in);
                for (int j = 0; j < a.outputs; ++j)
                    for (std::size_t t = 0; t < static_cast<std::size_t>(block); ++t) {
                        ASSERT_EQ(out[static_cast<std::size_t>(j)][t], mix(a, in, gain, j, t)) << j << ", " << t;
                        double sum = 0;
                        for (int i = 0; i < a.inputs; ++i)
                            if (const int k = a.gain(i, j); k >= 0)
                                sum += static_cast<double>(gain[static_cast<std::size_t>(k)]) *
                                       static_cast<double>(in[static_cast<std::size_t>(i)][t]);
                        // Up to 9 roundings of sums below 9 * 32.
                        ASSERT_NEAR(out[static_cast<std::size_t>(j)][t], sum, 9 * 288 * 6e-8);
                    }
            }
}

TEST(Mixers, SlewedFormsFollowTheLawThroughEveryChange)
{
    for (const auto& [n, m] : {std::pair{1, 1}, {2, 3}, {4, 6}, {9, 7}})
        for (const int block : kBlocks)
            for (const Arrangement& a : arrangements(n, m)) {
                SCOPED_TRACE(testing::Message() << a.slewed << ": " << n << " x " << m << ", " << block);
                rig::Rig blk(a.slewed, a.inputs, a.outputs, {.block = block});
                rig::Rig twin(a.slewed, a.inputs, a.outputs, {.block = block});
                const auto gains = static_cast<std::size_t>(a.gains);
                SlewLaw law = {SlewAlphaGet(15, 48000, static_cast<float>(block)),
                               1.0F / static_cast<float>(block + 1),
                               std::vector<float>(gains),
                               {},
                               {},
                               {}};
                law.set.assign(gains, 1.0F);
                std::vector<float> vector;
                for (int b = 0; b < 12; ++b) {
                    if (b % 4 == 2) {  // fresh values; every other gain stays where it is
                        const float rate = b == 2 ? 8.0F : 11.0F;
                        vector.assign(1, rate);
                        const std::vector<float> db = levels(a.gains, static_cast<std::uint32_t>(b));
                        for (std::size_t k = 0; k < gains; ++k) {
                            vector.push_back(k % 2 == 0 || b == 2 ? db[k] : 0.0F);
                            law.set[k] = LBX_DB2Gain(vector.back());
                        }
                        law.alpha = SlewAlphaGet(rate, 48000, static_cast<float>(block));
                        twin.set(vector);
                    }
                    if (!vector.empty())
                        blk.set(vector);  // again and again: the same value changes nothing
                    const Signals in = rig::stimulus(a.inputs, block);
                    const Signals out = blk.run(in);
                    EXPECT_EQ(out, twin.run(in));
                    law.begin();
                    for (std::size_t t = 0; t < static_cast<std::size_t>(block); ++t) {
                        law.advance();
                        for (int j = 0; j < a.outputs; ++j)
                            ASSERT_EQ(out[static_cast<std::size_t>(j)][t], mix(a, in, law.now, j, t)) << b << ", " << t;
                    }
                    law.end();
                }
            }
}

TEST(Mixers, FadeInFromSilenceAndEndExactly)
{
    rig::Rig blk(EN_MIXERS_CROSS_SLEW, 2, 2);
    blk.fill(0, 1.0F);
    blk.process();
    EXPECT_GT(blk.out(0)[0], 0.0F);
    EXPECT_LT(blk.out(0)[63], 0.1F);
    const auto* st = static_cast<const MixSlewSt*>(blk->AlgoCore);
    int blocks = 1;
    for (; st->conv_flag == 1 && blocks < 100000; ++blocks)
        blk.process();
    EXPECT_GT(blocks, 100);
    EXPECT_EQ(st->old_gain[3], 1.0F);
    EXPECT_EQ(blk.out(0)[0], 1.0F);
    EXPECT_EQ(blk.out(1)[63], 1.0F);
    blk.set({0.5F, 0, 0, 0, 0});
    EXPECT_EQ(blk->pParam[0], 1.0F) << "limited and written back";
}

TEST(Mixers, OutputsMayBeInputs)
{
    for (const int type : {EN_MIXERS_CROSS, EN_MIXERS_CROSS_SLEW, EN_MIXERS_STEREO, EN_MIXERS_STEREO_SLEW}) {
        rig::Rig apart(type, 2, 2, {.block = 77}), shared(type, 2, 2, {.block = 77});
        shared.alias(0, 1);
        shared.alias(1, 0);
        for (rig::Rig* blk : {&apart, &shared}) {
            for (int pin = 0; pin < 2; ++pin)
                std::ranges::copy(rig::noise(77, static_cast<std::uint32_t>(pin)), blk->in(pin).begin());
            blk->process();
        }
        EXPECT_TRUE(std::ranges::equal(apart.out(0), shared.in(1))) << type;
        EXPECT_TRUE(std::ranges::equal(apart.out(1), shared.in(0))) << type;
    }
    for (const int type : {EN_SPLIT_SINGLE, EN_SPLIT_MULTI, EN_SPLIT_MULTI_SLEW, EN_SPLIT_T_CONNECT}) {
        rig::Rig apart(type, 1, 3), shared(type, 1, 3);
        shared.alias(0, 0);
        for (rig::Rig* blk : {&apart, &shared}) {
            std::ranges::copy(rig::noise(64), blk->in(0).begin());
            blk->process();
        }
        EXPECT_TRUE(std::ranges::equal(apart.out(2), shared.out(2))) << type;
    }
}

TEST(Mixers, MeansCopiesAndUnityBeforeAnySet)
{
    rig::Rig merge(EN_MIXERS_MERGE, 3, 1);
    merge.fill(0, 0.3F);
    merge.fill(1, 0.6F);
    merge.fill(2, 0.9F);
    merge.process();
    EXPECT_FLOAT_EQ(merge.out(0)[0], 0.6F);
    rig::Rig multi(EN_MIXERS_MULTI, 2, 1);
    multi.fill(0, 0.25F);
    multi.fill(1, 0.5F);
    multi.process();
    EXPECT_EQ(multi.out(0)[63], 0.75F);
    rig::Rig tee(EN_SPLIT_T_CONNECT, 1, 2);
    tee.fill(0, -0.0F);
    tee.process();
    EXPECT_EQ(rig::bits(tee.out(1)), rig::bits(tee.in(0)));
    float a[] = {1, 2}, b[] = {3, 5}, y[2];
    float *in[] = {a, b}, *out[] = {y};
    EXPECT_EQ(BlockAlgo_Mixers_MulToOne(2, 2, in, out, -6), RT_OK);
    EXPECT_EQ(y[1], 7 * LBX_DB2Gain(-6));
}

TEST(Mixers, MissingPinsWriteZerosOrNothing)
{
    for (int type = EN_MIXERS_MERGE; type <= EN_SPLIT_MULTI_SLEW; ++type)
        for (const auto& [n, m] : {std::pair{0, 2}, {0, 0}, {3, 0}, {-4, -5}, {-1, 2}}) {
            BlockPro pro = {48000, 16, 8, 0, 0};
            BlockAlgo* blk = BlockAlgo_init(&pro, n, m, type);
            ASSERT_NE(blk, nullptr) << type;
            float x[8] = {}, y[8];
            std::ranges::fill(y, 1.0F);
            float *in[] = {x, x, x}, *out[] = {y, y};
            BlockAlgo_param_update(blk);
            EXPECT_EQ(BlockAlgo_process(blk, in, out), RT_OK);
            const bool splits = (type >= EN_SPLIT_SINGLE && type <= EN_SPLIT_T_CONNECT) || type >= EN_SPLIT_SINGLE_SLEW;
            EXPECT_EQ(y[7], n < 0 || m < 2 || splits ? 1.0F : 0.0F) << type << ": " << n << " x " << m;
            EXPECT_EQ(BlockAlgo_destroy(blk), RT_OK) << type;
        }
}

// A lone gain has two arrays only, whatever the type.
TEST(Mixers, LoneGains)
{
    rig::Rig lone(EN_MIXERS_CROSS_SLEW, 1, 1), single(EN_MIXERS_SINGLE_SLEW, 1, 1);
    const auto* st = static_cast<const MixSlewSt*>(lone->AlgoCore);
    EXPECT_EQ(st->new_gain, nullptr);
    EXPECT_EQ(st->tmp_gain, nullptr);
    EXPECT_EQ(lone.run({rig::noise(640)}), single.run({rig::noise(640)}));
    float arrays[5][2] = {{0.0F, 0.5F}, {1.0F, 0.5F}, {}, {}, {}};
    MixSlewSt hand = {0.75F, 0.5F, 7, arrays[0], arrays[1], arrays[2], arrays[3], arrays[4], {}, nullptr};
    Mixers_SlewGainEnter(&hand, 2);
    EXPECT_EQ(hand.conv_flag, 1);
    EXPECT_EQ(hand.new_gain[0], 0.25F);
    EXPECT_EQ(hand.dlt_gain[0], 0.125F);
    EXPECT_EQ(hand.dlt_gain[1], 0.0F);
    EXPECT_EQ(hand.tmp_gain[1], 0.5F);
    Mixers_SlewGainOut(&hand, 2);
    EXPECT_EQ(hand.old_gain[0], 0.25F);
    EXPECT_EQ(hand.old_gain[1], 0.5F);
}

TEST(Mixers, Reports)
{
    rig::Log log;
    EXPECT_FALSE(rig::Rig(1295, 1, 1));
    EXPECT_EQ(log.all(), "LOG (BlockAlgo_Mixers_init(): ,568), Wrong input type in basic, type = 1295\n\n");
    log.clear();
    rig::Rig merge(EN_MIXERS_MERGE, 2, 1), tee(EN_SPLIT_T_CONNECT, 1, 2), multi(EN_MIXERS_MULTI_SLEW, 2, 1);
    rig::Rig wide(EN_MIXERS_CROSS, 2, 3), tall(EN_MIXERS_CROSS, 3, 1);
    float* none[] = {nullptr};
    EXPECT_EQ(BlockAlgo_process(merge.block(), nullptr, none), RT_ERR_NULL_PTR);
    EXPECT_EQ(BlockAlgo_Mixers_process(nullptr, none, none), RT_ERR_NULL_PTR);
    EXPECT_EQ(log.messages(), (std::vector<std::string>{"Input is NULL\n\n", "Input is NULL\n\n"}));
    log.clear();
    multi.set({40, -1, -2});
    EXPECT_EQ(log.messages()[0], "MixSlewRate:40.000000 out of range:1.000000~ 23.000000, be set to 23.000000\n\n");
    log.clear();
    wide.set({0, 1, 2, 3, 4, 5});
    tall.set({0, 1, 2});
    for (rig::Rig* blk : {&merge, &tee, &multi, &wide, &tall})
        blk->invoke();
    EXPECT_EQ(log.lines()[0].substr(0, 36), "LOG (BlockAlgo_Mixers_param_invoke()");
    // The cross print takes the matrix for square, and stops where the vector does.
    const std::vector<std::string> expected = {"Mix Model = 1288, gain = \n",
                                               "Mix Model = 1290, slew = 23.000000, gain = \n",
                                               "-1.000000, \n",
                                               "-2.000000, \n",
                                               "Mix Model = 1285, gain = \n",
                                               "0.000000, \n",
                                               "1.000000, \n",
                                               "\n\n",
                                               "2.000000, \n",
                                               "3.000000, \n",
                                               "\n\n",
                                               "Mix Model = 1285, gain = \n",
                                               "0.000000, \n",
                                               "1.000000, \n",
                                               "2.000000, \n",
                                               "\n\n",
                                               "\n\n",
                                               "\n\n"};
    EXPECT_EQ(log.messages(), expected);
    log.clear();
    BlockAlgo stray = {};
    stray.method_type = 1295;
    EXPECT_EQ(BlockAlgo_process(&stray, none, none), RT_OK);
    EXPECT_EQ(BlockAlgo_param_update(&stray), RT_OK);
    EXPECT_EQ(Mixers_Destroy(&stray), RT_ERR_NULL_PTR);
    EXPECT_TRUE(log.lines().empty());
}
