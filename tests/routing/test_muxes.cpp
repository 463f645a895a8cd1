// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "support/rig.h"

namespace {

// Runs until the slew is over, and a block more. How many blocks it took.
template <class Core>
int finish_slew(rig::Rig& blk)
{
    int blocks = 0;
    for (; blk.core<Core>().slew_state == 1 && blocks < 100000; ++blocks)
        blk.process();
    blk.process();
    return blocks;
}

}  // namespace

// A demultiplexer of ones shows the gains, and the multiplexer has the same: the selected one goes its part of the way
// to 1, and the others share what it leaves in their old proportion, through changes in mid-slew.
TEST(Selectors, SlewByTheirLaw)
{
    constexpr int kGroups = 5;
    for (const int block : {1, 5, 64, 130}) {
        rig::Rig demux(EN_MUXES_DEMUXES_INDEX, 3, 2 * kGroups, {.block = block});
        rig::Rig mux(EN_MUXES_MUXES_INDEX, 1 + 2 * kGroups, 2, {.block = block});
        demux.fill(1, 1.0F);
        demux.fill(2, -1.0F);
        mux.fill_noise();
        double before[kGroups] = {1};
        for (const float control : {3.0F, 3.0F, 1.9F, 1.0F, 4.0F, 0.0F, 0.0F, 2.0F}) {
            for (rig::Rig* blk : {&demux, &mux}) {
                blk->set({1, 6});
                blk->fill(0, {control, 2.0F});  // only the first sample counts
                EXPECT_EQ(blk->process(), RT_OK);
            }
            for (std::size_t t = 0; t < static_cast<std::size_t>(block); ++t) {
                float sum[2] = {};
                for (int pin = 0; pin < 2 * kGroups; ++pin)
                    sum[pin % 2] += demux.out(pin)[t] * mux.in(1 + pin)[t];
                ASSERT_EQ(mux.out(0)[t], sum[0]) << block << ", " << t;
                ASSERT_EQ(mux.out(1)[t], -sum[1]) << block << ", " << t;
            }
            const int selected = static_cast<int>(control);
            const auto alpha = static_cast<double>(SlewAlphaGet(6, 48000, static_cast<float>(block)));
            const double left = 1 - (1 - alpha) * block / (block + 1);  // of the others
            const double rest = 1 - before[selected];
            for (int k = 0; k < kGroups; ++k) {
                const auto gain = static_cast<double>(demux.out(2 * k).back());
                EXPECT_NEAR(gain, k == selected ? 1 - rest * left : before[k] * left, 6e-8 * block) << block;
                before[k] = gain;
            }
        }
    }
}

// At any rate, with no step at the end that could be heard: the sum of the gains stays 1, and the last blocks of the
// slowest slews, which take minutes, move as little as the ones before.
TEST(Multiplexer, EverySlewEndsExactlyAndSoftly)
{
    for (int rate = 1; rate <= 23; rate += rate < 16 ? 1 : 5) {
        rig::Rig blk(EN_MUXES_MUXES_SWITCH, 4, 2, {.block = rate < 16 ? 64 : 4096});
        blk.fill(0, 1.0F);
        blk.fill(1, 1.0F);
        blk.fill(2, 0.25F);
        blk.fill(3, 1.0F);
        blk.set({1, 1, static_cast<float>(rate)});
        float off = 0;
        do {
            blk.process();
            off = std::max(off, std::abs(blk.out(1).back() - 1.0F));
        } while (blk.core<Multiplexers_Core>().slew_state == 1);
        const float before = blk.out(0).back();
        blk.process();
        EXPECT_LT(std::abs(blk.out(0)[0] - before), 1e-4F) << rate;
        EXPECT_LT(off, 2e-5F) << rate;
        EXPECT_EQ(blk.core<Multiplexers_Core>().gains[0], 0.0F) << rate;
        EXPECT_EQ(blk.core<Multiplexers_Core>().gains[1], 1.0F) << rate;
        EXPECT_EQ(blk.out(0)[0], 0.25F) << rate;
    }
}

// With the flag off a change is at once, and leaves the slew to be done when the flag comes on.
TEST(Multiplexer, FlagOffSwitchesAtOnceAndFlagOnResumes)
{
    rig::Rig blk(EN_MUXES_MUXES_SWITCH, 6, 2);
    for (int pin = 0; pin < 6; ++pin)
        blk.fill(pin, static_cast<float>(pin));
    blk.set({0, 0, 12});
    blk.set({2.9F, 0, 12});
    blk.process();
    EXPECT_EQ(blk->pParam[kMuxesSwitchIdx], 2.0F);
    EXPECT_EQ(blk.out(0)[0], 4.0F);
    EXPECT_EQ(blk.out(1)[63], 5.0F);
    blk.set({7, 1, 12});
    EXPECT_EQ(blk->pParam[kMuxesSwitchIdx], 2.0F) << "limited to the last group";
    blk.process();
    EXPECT_GT(blk.out(0)[63], 0.0F);
    EXPECT_LT(blk.out(0)[63], 1.0F);
    rig::Rig index(EN_MUXES_MUXES_INDEX, 3, 1);
    index.set({0, 12});
    index.fill(1, 1.0F);
    index.fill(2, 2.0F);
    for (const auto& [control, expected] : {std::pair{9e9F, 2.0F}, {-1.0F, 1.0F}, {1.99F, 2.0F}, {NAN, 1.0F}}) {
        index.fill(0, control);
        index.process();
        EXPECT_EQ(index.out(0)[5], expected) << control;
    }
}

// One past the last group is accepted, unlike in the multiplexer: all outputs fade out, and none is written any more.
TEST(Demultiplexer, AtRestWritesTheSelectedGroupOnlyAndPastTheLastNone)
{
    rig::Rig blk(EN_MUXES_DEMUXES_SWITCH, 2, 4);
    blk.fill(0, 1.0F);
    blk.set({9, 1, 8});
    EXPECT_EQ(blk->pParam[kDeMuxesSwitchIdx], 2.0F);
    finish_slew<Demultiplexers_Core>(blk);
    for (const float selected : {2.0F, 1.0F}) {
        blk.set({selected, 1, 8});
        finish_slew<Demultiplexers_Core>(blk);
        for (int pin = 0; pin < 4; ++pin)
            std::ranges::fill(blk.out(pin), 9.0F);
        blk.process();
        for (int pin = 0; pin < 4; ++pin)
            EXPECT_EQ(blk.out(pin)[63], pin / 2 == static_cast<int>(selected) ? blk.in(pin % 2)[63] : 9.0F);
    }
    rig::Rig index(EN_MUXES_DEMUXES_INDEX, 2, 3);
    index.fill(0, 3.0F);
    index.process();
    EXPECT_EQ(index.core<Demultiplexers_Core>().idx_stable, 2) << "a control pin stops at the last group";
}

TEST(Crossfade, ChoosesByTheFirstSample)
{
    EXPECT_TRUE(rig::Rig(EN_MUXES_CROSSFADE, 6, 2)) << "an input too many is left alone";
    for (const auto& [control, choice] : {std::pair{0.999F, 1}, {1.0F, 2}, {7.0F, 2}, {-3.0F, 1}, {NAN, 2}}) {
        rig::Rig blk(EN_MUXES_CROSSFADE, 5, 2);
        blk.set({1});  // a rate so low that the fade is over after one block
        blk.fill(0, {control, 0.5F});
        blk.fill(choice, 7.0F);
        blk.fill(2 + choice, 9.0F);
        blk.process(4);
        EXPECT_EQ(blk.out(0)[0], 7.0F) << control;
        EXPECT_EQ(blk.out(1)[0], 9.0F) << control;
    }
}

TEST(Crossfade, FadesByItsLawAndKeepsAnInterruptedWeight)
{
    for (const int block : {1, 64, 100}) {
        rig::Rig blk(EN_MUXES_CROSSFADE, 5, 2, {.block = block});
        blk.fill_noise();
        const auto alpha = static_cast<double>(SlewAlphaGet(12, 48000, static_cast<float>(block)));
        double weight = 1;
        for (const float choice : {1.0F, 1.0F, 0.0F, 1.0F}) {
            blk.fill(0, choice);
            blk.process();
            if (choice == 0.0F) {  // back to the old one: at once, and the weight waits for the next change
                EXPECT_EQ(rig::bits(blk.out(0)), rig::bits(blk.in(1)));
                continue;
            }
            for (std::size_t t = 0; t < static_cast<std::size_t>(block); ++t)
                for (int pin = 0; pin < 2; ++pin) {
                    const double g = weight * (1 - (1 - alpha) * static_cast<double>(t + 1) / (block + 1));
                    const float *from = &blk.in(1 + 2 * pin)[t], *to = &blk.in(2 + 2 * pin)[t];
                    const double faded = g * static_cast<double>(*from) + (1 - g) * static_cast<double>(*to);
                    ASSERT_NEAR(blk.out(pin)[t], faded, 6e-8 * (block + 4)) << t;  // a rounding a sample
                }
            weight *= alpha;
        }
        for (int b = 0; blk.core<CrossFade_Core>().change_flag == 1 && b < 1000000; ++b)
            blk.process();
        blk.process();
        EXPECT_EQ(rig::bits(blk.out(0)), rig::bits(blk.in(2)));
    }
}

// Pins are one run of memory from pin 1 and from output 0, whatever the other pointers say.
TEST(StateMachine, GatesOneRunOfMemory)
{
    BlockPro pro = {48000, 16, 4, 0, 0};
    BlockAlgo* blk = BlockAlgo_init(&pro, 4, 3, EN_MUXES_STATE_MACHINE);
    ASSERT_NE(blk, nullptr);
    float control[4] = {1.0F, 0.5F, 0.5F, 0.5F}, data[12], out[12];
    std::iota(data, data + 12, 1.0F);
    float *in[] = {control, data, nullptr, nullptr}, *outs[] = {out, nullptr, nullptr};
    EXPECT_EQ(BlockAlgo_process(blk, in, outs), RT_OK);
    EXPECT_TRUE(std::equal(out, out + 12, data)) << "fresh ranges open at exactly 1";
    const float ranges[] = {0.0F, 0.5F, 0.5F, 1.0F, 0.6F, 0.7F};
    std::ranges::copy(ranges, blk->pParam);
    float ignored[] = {5, 5, 5, 5, 5, 5};
    EXPECT_EQ(BlockAlgo_param_reset(blk, ignored), RT_OK);
    control[0] = 0.5F;
    BlockAlgo_process(blk, in, outs);
    const float expected[] = {1, 2, 3, 4, 5, 6, 7, 8, 0, 0, 0, 0};
    EXPECT_TRUE(std::ranges::equal(out, expected)) << "both bounds included; a closed gate writes zeros";
    control[0] = NAN;
    BlockAlgo_process(blk, in, outs);
    EXPECT_EQ(rig::rms(out), 0.0);
    BlockAlgo_destroy(blk);
}

TEST(Selectors, TakeNoBlock)
{
    EXPECT_EQ(Multiplexers_Switch_param_invoke(nullptr) | Multiplexers_destroy(nullptr), RT_OK);
    EXPECT_EQ(State_Machine_param_invoke(nullptr), RT_OK);
}
