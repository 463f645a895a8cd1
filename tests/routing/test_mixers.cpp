// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "support/rig.h"

namespace {

using Signals = std::vector<std::vector<float>>;

}  // namespace

// A cross mixer without the paths between left and right. The last of an odd number of inputs has no path at all.
TEST(Mixers, StereoMixesPairs)
{
    for (const bool slewed : {false, true})
        for (const int inputs : {1, 2, 5, 8, 9})
            for (const int block : {5, 64, 257}) {
                rig::Rig blk(slewed ? EN_MIXERS_STEREO_SLEW : EN_MIXERS_STEREO, inputs, 2, {.block = block});
                rig::Rig cross(slewed ? EN_MIXERS_CROSS_SLEW : EN_MIXERS_CROSS, inputs, 2, {.block = block});
                for (const std::uint32_t turn : {1U, 2U, 3U}) {  // the later ones while gains glide
                    const std::vector<float> db = rig::noise(inputs / 2, turn);
                    std::vector<float> vector(slewed ? 1 : 0, 8.0F), matrix = vector;
                    vector.insert(vector.end(), db.begin(), db.end());
                    for (int pin = 0; pin < 2 * inputs; ++pin) {
                        const auto pair = static_cast<std::size_t>(pin / 4);
                        matrix.push_back(pin / 2 % 2 == pin % 2 && pair < db.size() ? db[pair] : -1e9F);
                    }
                    EXPECT_EQ(blk.set(vector) | cross.set(matrix), RT_OK);
                    const Signals in = rig::stimulus(inputs, 2 * block), out = blk.run(in), expected = cross.run(in);
                    for (std::size_t j = 0; j < 2; ++j)
                        for (std::size_t t = 0; t < out[j].size(); ++t)
                            ASSERT_NEAR(out[j][t], expected[j][t], 9 * 9 * 6e-8) << inputs << ", block " << block;
                }
            }
}

TEST(Mixers, GainsAreUnityThenDecibelsAndSlewsEndExactly)
{
    rig::Rig plain(EN_MIXERS_CROSS, 2, 2), slewed(EN_MIXERS_CROSS_SLEW, 2, 2);
    plain.fill(0, 1.0F);
    slewed.fill(0, 1.0F);
    for (const bool set : {false, true}) {
        if (set) {
            plain.set({-6, 20, 0, 0});
            slewed.set({15, -6, 20, 0, 0});
        }
        int blocks = 0;
        do {
            plain.process();
            slewed.process();
        } while (slewed.core<MixSlewSt>().conv_flag == 1 && ++blocks < 100000);
        EXPECT_GT(blocks, 100);
        EXPECT_LT(blocks, 100000);
        for (rig::Rig* blk : {&plain, &slewed}) {
            EXPECT_EQ(blk->out(0)[0], set ? LBX_DB2Gain(-6) : 1.0F);
            EXPECT_EQ(blk->out(1)[63], set ? LBX_DB2Gain(20) : 1.0F);
        }
    }
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

TEST(Mixers, SumManyToOne)
{
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

TEST(Mixers, Reports)
{
    rig::Log log;
    EXPECT_FALSE(rig::Rig(1295, 1, 1));
    EXPECT_EQ(log.all(), "LOG (BlockAlgo_Mixers_init(): ,568), Wrong input type in basic, type = 1295\n\n");
    log.clear();
    rig::Rig merge(EN_MIXERS_MERGE, 2, 1), multi(EN_MIXERS_MULTI_SLEW, 2, 1), tall(EN_MIXERS_CROSS, 3, 1);
    rig::Rig lone(EN_MIXERS_CROSS_SLEW, 1, 1);
    EXPECT_EQ(lone.core<MixSlewSt>().new_gain, nullptr) << "a lone gain has two arrays only, whatever the type";
    float* none[] = {nullptr};
    EXPECT_EQ(BlockAlgo_process(merge.block(), nullptr, none), RT_ERR_NULL_PTR);
    EXPECT_EQ(BlockAlgo_Mixers_process(nullptr, none, none), RT_ERR_NULL_PTR);
    multi.set({40, -1, -2});
    tall.set({0, 1, 2});
    for (rig::Rig* blk : {&merge, &multi, &tall})
        blk->invoke();
    // The cross print takes the matrix for square, and stops where the vector does.
    EXPECT_EQ(log.text(), "Input is NULL\n\n|Input is NULL\n\n|"
                          "MixSlewRate:40.000000 out of range:1.000000~ 23.000000, be set to 23.000000\n\n|"
                          "Mix Model = 1290, slew = 23.000000, gain = \n|-1.000000, \n|-2.000000, \n|"
                          "Mix Model = 1285, gain = \n|0.000000, \n|1.000000, \n|2.000000, \n|\n\n|\n\n|\n\n");
    log.clear();
    BlockAlgo stray = {};
    stray.method_type = 1295;
    EXPECT_EQ(BlockAlgo_process(&stray, none, none), RT_OK);
    EXPECT_EQ(BlockAlgo_param_update(&stray), RT_OK);
    EXPECT_EQ(Mixers_Destroy(&stray), RT_ERR_NULL_PTR);
    EXPECT_TRUE(log.lines().empty());
}
