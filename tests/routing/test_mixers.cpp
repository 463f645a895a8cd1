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

// One output sample.
float mix(const Arrangement& a, const Signals& in, const Signals& gain, int out, std::size_t t)
{
    float y = 0.0F;
    int last = 0;
    for (int i = 0; i < a.inputs; ++i) {
        const int k = a.gain(i, out);
        if (k < 0)
            continue;
        const float x = in[static_cast<std::size_t>(i)][t];
        y = a.sum_first ? y + x : std::fma(gain[static_cast<std::size_t>(k)][t], x, y);
        last = k;
    }
    return a.sum_first ? y * gain[static_cast<std::size_t>(last)][t] : y;
}

// A block and the law of each of its gains; a plain block's gains are where they are to be.
void follow(const Arrangement& a, bool slewed, int block)
{
    rig::Rig blk(slewed ? a.slewed : a.plain, a.inputs, a.outputs, {.block = block});
    std::vector<rig::SlewedGain> law(static_cast<std::size_t>(a.gains), {rig::slew_alpha(15, block), block});
    const auto arrive = [&] {
        for (rig::SlewedGain& gain : law)
            gain.old = slewed ? gain.old : gain.set;
    };
    arrive();
    std::vector<float> vector;
    for (int b = 0; b < 12; ++b) {
        if (b % 4 == 2) {  // fresh values; every other gain stays where it is
            vector.assign(slewed ? 1 : 0, b == 2 ? 8.0F : 11.0F);
            const std::vector<float> db = rig::noise(a.gains, static_cast<std::uint32_t>(b));
            for (std::size_t k = 0; k < law.size(); ++k) {
                vector.push_back(k % 2 == 0 || b == 2 ? 30 * db[k] : 0.0F);
                law[k].set = LBX_DB2Gain(vector.back());
                law[k].alpha = rig::slew_alpha(vector[0], block);
            }
            arrive();
        }
        if (!vector.empty()) {
            EXPECT_EQ(blk.set(vector), RT_OK);  // again and again: the same value changes nothing
        }
        const Signals in = rig::stimulus(a.inputs, block);
        const Signals out = blk.run(in);
        Signals gain;
        for (rig::SlewedGain& each : law)
            gain.push_back(each.block(block));
        for (std::size_t t = 0; t < static_cast<std::size_t>(block); ++t)
            for (int j = 0; j < a.outputs; ++j)
                ASSERT_EQ(out[static_cast<std::size_t>(j)][t], mix(a, in, gain, j, t)) << b << ", " << t;
    }
}

}  // namespace

TEST(Mixers, AreTheMatrixProductAndSlewByTheLawThroughEveryChange)
{
    for (const auto& [n, m] : {std::pair{1, 1}, {2, 3}, {5, 2}, {8, 8}, {9, 7}})
        for (const int block : {1, 3, 5, 48, 64, 257})
            for (const Arrangement& a : arrangements(n, m))
                for (const bool slewed : {false, true}) {
                    SCOPED_TRACE(testing::Message() << a.plain << ": " << n << " x " << m << ", " << block);
                    follow(a, slewed, block);
                }
}

TEST(Mixers, SlewsEndExactly)
{
    rig::Rig blk(EN_MIXERS_CROSS_SLEW, 2, 2);
    blk.fill(0, 1.0F);
    int blocks = 0;
    do
        blk.process();
    while (blk.core<MixSlewSt>().conv_flag == 1 && ++blocks < 100000);
    EXPECT_GT(blocks, 100);
    EXPECT_EQ(blk.out(0)[0], 1.0F);
    EXPECT_EQ(blk.out(1)[63], 1.0F);
}

TEST(Mixers, OutputsMayBeInputs)
{
    const struct {
        int inputs, outputs;
        std::vector<int> types;
    } shapes[] = {
        {3, 1, {EN_MIXERS_MERGE, EN_MIXERS_SINGLE, EN_MIXERS_MULTI, EN_MIXERS_SINGLE_SLEW, EN_MIXERS_MULTI_SLEW}},
        {2, 2, {EN_MIXERS_STEREO, EN_MIXERS_CROSS, EN_MIXERS_STEREO_SLEW, EN_MIXERS_CROSS_SLEW}},
        {1, 3, {EN_SPLIT_SINGLE, EN_SPLIT_MULTI, EN_SPLIT_T_CONNECT, EN_SPLIT_SINGLE_SLEW, EN_SPLIT_MULTI_SLEW}},
    };
    for (const auto& [inputs, outputs, types] : shapes)
        for (const int type : types) {
            rig::Rig apart(type, inputs, outputs, {.block = 77}), shared(type, inputs, outputs, {.block = 77});
            for (int pin = 0; pin < std::min(inputs, outputs); ++pin)
                shared.alias(pin, inputs - 1 - pin);
            const Signals signal = rig::stimulus(inputs, 154);
            EXPECT_EQ(shared.run(signal), apart.run(signal)) << type;
        }
}

TEST(Mixers, MeansAndCopies)
{
    rig::Rig merge(EN_MIXERS_MERGE, 3, 1), tee(EN_SPLIT_T_CONNECT, 1, 2);
    for (int pin = 0; pin < 3; ++pin)
        merge.fill(pin, 0.3F * static_cast<float>(pin + 1));
    merge.process();
    EXPECT_FLOAT_EQ(merge.out(0)[0], 0.6F);
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

// A lone gain has two arrays only, whatever the type; a record made by hand may have all.
TEST(Mixers, LoneGains)
{
    rig::Rig lone(EN_MIXERS_CROSS_SLEW, 1, 1);
    EXPECT_EQ(lone.core<MixSlewSt>().new_gain, nullptr);
    EXPECT_EQ(lone.core<MixSlewSt>().tmp_gain, nullptr);
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
    multi.set({40, -1, -2});
    wide.set({0, 1, 2, 3, 4, 5});
    tall.set({0, 1, 2});
    for (rig::Rig* blk : {&merge, &tee, &multi, &wide, &tall})
        blk->invoke();
    EXPECT_EQ(log.lines()[3].substr(0, 36), "LOG (BlockAlgo_Mixers_param_invoke()");
    // The cross print takes the matrix for square, and stops where the vector does.
    EXPECT_EQ(log.text(), "Input is NULL\n\n|Input is NULL\n\n|"
                          "MixSlewRate:40.000000 out of range:1.000000~ 23.000000, be set to 23.000000\n\n|"
                          "Mix Model = 1288, gain = \n|"
                          "Mix Model = 1290, slew = 23.000000, gain = \n|-1.000000, \n|-2.000000, \n|"
                          "Mix Model = 1285, gain = \n|0.000000, \n|1.000000, \n|\n\n|2.000000, \n|3.000000, \n|\n\n|"
                          "Mix Model = 1285, gain = \n|0.000000, \n|1.000000, \n|2.000000, \n|\n\n|\n\n|\n\n");
    log.clear();
    BlockAlgo stray = {};
    stray.method_type = 1295;
    EXPECT_EQ(BlockAlgo_process(&stray, none, none), RT_OK);
    EXPECT_EQ(BlockAlgo_param_update(&stray), RT_OK);
    EXPECT_EQ(Mixers_Destroy(&stray), RT_ERR_NULL_PTR);
    EXPECT_TRUE(log.lines().empty());
}
