// SPDX-License-Identifier: Apache-2.0
// Chains of filters against their blocks one by one.
#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <random>

#include "support/every_block.h"
#include "support/rig.h"

namespace {

std::mt19937 random_bits(7);
int any(int below) { return static_cast<int>(random_bits() % static_cast<unsigned>(below)); }

// A vector of a type that a chain takes: of an equaliser any number of bands, some of them off; else often inverted and
// sometimes off.
std::vector<float> any_vector(const rig::BlockCase& type)
{
    std::vector<float> vector = type.vector;
    const bool text = type.type == EN_FILTER_TEXTEQ;
    if (text || type.type == EN_FILTER_GRAPHICAL_EQ) {
        const int size = text ? int{kTextFilterParamSize} : int{kFilterParamSize};
        const std::vector<float> band(vector.begin() + 1, vector.begin() + 1 + size);
        vector = {static_cast<float>(any(15))};
        for (int k = 0; k < static_cast<int>(vector[0]); ++k) {
            vector.insert(vector.end(), band.begin(), band.end());
            vector.end()[(text ? int{kTextFilterEnable} : int{kFilterBypass}) - size] = static_cast<float>(any(2));
        }
        return vector;
    }
    vector[0] = static_cast<float>(any(5) > 0);
    vector[1] = static_cast<float>(any(2));
    return vector;
}

const std::vector<rig::BlockCase>& links()
{
    static const auto kLinks = [] {
        std::vector<rig::BlockCase> found;
        for (const rig::BlockCase& type : rig::every_block())
            if (rig::Rig blk(type.type, type.inputs, type.outputs); blk && Vantoro_chain_takes(blk.block()) == 1)
                found.push_back(type);
        return found;
    }();
    return kLinks;
}

}  // namespace

TEST(Chain, TakesTheBlocksThatAreSections) { EXPECT_EQ(links().size(), 11U); }

// Parameters move between calls, channels and block sizes fill the lanes or do not, and stretches of silence leave
// states that are zeros of either sign.
TEST(Chain, GivesTheBitsOfItsBlocksOneByOne)
{
    for (int round = 0; round < 250; ++round) {
        const int channels = 1 + any(round % 4 == 0 ? 32 : 9), count = 1 + any(9);
        const int n = std::vector{1, 2, 3, 8, 11, 12, 13, 48, 64, 257}[static_cast<std::size_t>(any(10))];
        SCOPED_TRACE(testing::Message() << "round " << round << ": " << channels << " channels, block " << n);
        std::deque<rig::Rig> single, chained;
        std::vector<BlockAlgo*> blocks;
        std::vector<const rig::BlockCase*> types;
        for (int k = 0; k < count; ++k) {
            types.push_back(&links()[static_cast<std::size_t>(any(static_cast<int>(links().size())))]);
            for (auto* each : {&single, &chained})
                each->emplace_back(types.back()->type, channels, channels, rig::Rig::Context{.block = n});
            blocks.push_back(chained.back().block());
        }
        std::vector<std::vector<float>> in(static_cast<std::size_t>(channels)), out = in;
        std::vector<float*> ip, op;
        const bool in_place = any(2) == 0;
        for (std::size_t c = 0; c < in.size(); ++c) {
            in[c].resize(static_cast<std::size_t>(n));
            out[c].resize(static_cast<std::size_t>(n));
            ip.push_back(in[c].data());
            op.push_back(in_place ? in[c].data() : out[c].data());
        }
        for (int block = 0; block < 6; ++block) {
            for (int k = any(2 * count); block % 2 == 0 && k < count; k += 1 + any(3)) {
                const auto vector = any_vector(*types[static_cast<std::size_t>(k)]);
                for (auto* each : {&single, &chained})
                    (*each)[static_cast<std::size_t>(k)].set(vector);
            }
            auto x = rig::stimulus(channels, n);
            for (std::size_t c = 0; c < in.size(); ++c) {
                if (block < 2)  // zeros of either sign
                    std::ranges::fill(x[c], block == 0 ? 0.0F : -0.0F);
                std::ranges::copy(x[c], in[c].begin());
            }
            for (auto& blk : single)
                x = blk.run(x);
            ASSERT_EQ(Vantoro_chain_process(blocks.data(), count, ip.data(), op.data()), RT_OK);
            for (int c = 0; c < channels; ++c)
                ASSERT_EQ(rig::bits({op[static_cast<std::size_t>(c)], static_cast<std::size_t>(n)}),
                          rig::bits(x[static_cast<std::size_t>(c)]))
                    << "block " << block << ", channel " << c;
        }
    }
}

TEST(Chain, RefusesWhatIsNoneAndFindsTheBlockWhereAFaultBegan)
{
    rig::Rig first(EN_FILTER_2ND_IIR, 2, 2), second(EN_FILTER_1ST, 2, 2), narrow(EN_FILTER_1ST, 1, 1),
        gain(EN_BASIC_GAIN, 2, 2), shorter(EN_FILTER_1ST, 2, 2, {.block = 63});
    float* pins[] = {first.in(0).data(), first.in(1).data()};
    for (BlockAlgo* wrong : {narrow.block(), gain.block(), shorter.block()}) {
        BlockAlgo* blocks[] = {first.block(), wrong};
        EXPECT_EQ(Vantoro_chain_process(blocks, 2, pins, pins), RT_ERR_VALUE);
    }
    BlockAlgo* blocks[] = {second.block(), first.block()};
    EXPECT_EQ(Vantoro_chain_process(blocks, 0, pins, pins), RT_ERR_VALUE);
    first.set({1, 0, 3e38F, 0, 0, 0, 0});
    first.fill(0, 2);
    EXPECT_EQ(Vantoro_chain_process(blocks, 2, pins, pins), RT_OK);
    EXPECT_EQ(Vantoro_chain_finite(second.block()), 1);
    EXPECT_EQ(Vantoro_chain_finite(first.block()), 0);
}
