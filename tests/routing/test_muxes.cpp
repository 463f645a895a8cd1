// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "support/rig.h"

namespace {

template <class Core>
Core* core_of(rig::Rig& blk)
{
    return static_cast<Core*>(blk->AlgoCore);
}

double sum_of(const float* gains, int n) { return std::accumulate(gains, gains + n, 0.0); }

// The slew as the rule is written: every sample moves every gain, then forms the outputs.
struct SlewLaw {
    float alpha, pre_div;
    std::vector<float> gains, share;
    std::size_t selected = 0;

    void select(std::size_t k)
    {
        const double others = 1.0 - static_cast<double>(gains[k]) + 1e-10;
        for (std::size_t j = 0; j < gains.size(); ++j)
            share[j] = j == k ? 1.0F : static_cast<float>(-static_cast<double>(gains[j]) / others);
        selected = k;
    }
    float step() const
    {
        const float g = gains[selected];
        return (std::fma(alpha, g, 1.0F - alpha) - g) * pre_div;
    }
    void advance(float step)
    {
        for (std::size_t j = 0; j < gains.size(); ++j) {
            const float moved = gains[j] + share[j] * step;
            gains[j] = moved > 0.0F ? moved : 0.0F;
        }
    }
};

void fill_data(rig::Rig& blk, int first, int pins)
{
    for (int pin = 0; pin < pins; ++pin)
        std::ranges::copy(rig::noise(static_cast<int>(blk.in(first + pin).size()), static_cast<std::uint32_t>(pin)),
                          blk.in(first + pin).begin());
}

}  // namespace

TEST(Multiplexer, SlewsByItsLawThroughChangesInMidSlew)
{
    for (const int block : {1, 5, 64, 130}) {
        constexpr int kGroups = 5, kPins = 3;
        rig::Rig blk(EN_MUXES_MUXES_INDEX, 1 + kGroups * kPins, kPins, {.block = block});
        const auto* core = core_of<Multiplexers_Core>(blk);
        blk.set({1, 6});
        fill_data(blk, 1, kGroups * kPins);
        SlewLaw law = {SlewAlphaGet(6, 48000, static_cast<float>(block)),
                       1.0F / static_cast<float>(block + 1),
                       {1, 0, 0, 0, 0},
                       std::vector<float>(kGroups),
                       0};
        const float controls[] = {3, 3, 1.9F, 1, 4, 0, 0, 2};
        for (const float control : controls) {
            blk.fill(0, {control, 2.0F});  // only the first sample counts
            const auto wanted = static_cast<std::size_t>(control);
            if (wanted != law.selected)
                law.select(wanted);
            EXPECT_EQ(blk.process(), RT_OK);
            ASSERT_EQ(core->slew_state, 1);
            const float step = law.step();
            for (std::size_t t = 0; t < static_cast<std::size_t>(block); ++t) {
                law.advance(step);
                for (int j = 0; j < kPins; ++j) {
                    float y = 0.0F;
                    for (int k = 0; k < kGroups; ++k)
                        y = y + law.gains[static_cast<std::size_t>(k)] * blk.in(1 + k * kPins + j)[t];
                    ASSERT_EQ(blk.out(j)[t], y) << block << ", " << t;
                }
            }
            EXPECT_NEAR(sum_of(core->gains, kGroups), 1.0,
                        2e-5);  // 1040 samples, a rounding of 3e-8 per gain and sample
        }
    }
}

TEST(Multiplexer, EverySlewEndsExactly)
{
    for (int rate = 1; rate <= 18; ++rate) {  // beyond, a slew takes minutes
        rig::Rig blk(EN_MUXES_MUXES_SWITCH, 4, 2);
        const auto* core = core_of<Multiplexers_Core>(blk);
        blk.fill(0, 1.0F);
        blk.fill(2, 0.25F);
        blk.set({1, 1, static_cast<float>(rate)});
        EXPECT_EQ(core->slew_state, 1);
        int blocks = 0;
        for (; core->slew_state == 1 && blocks < 100000; ++blocks) {
            blk.process();
            ASSERT_NEAR(sum_of(core->gains, 2), 1.0, 64 * 6e-8 * (blocks + 1))
                << rate;  // a rounding per gain and sample
        }
        EXPECT_LT(blocks, 100000) << rate;
        EXPECT_EQ(core->gains[0], 0.0F);
        EXPECT_EQ(core->gains[1], 1.0F);
        blk.process();
        EXPECT_EQ(blk.out(0)[0], 0.25F);
    }
}

TEST(Multiplexer, SharesOfAChangeBack)
{
    rig::Rig blk(EN_MUXES_MUXES_SWITCH, 2, 1);
    const auto* core = core_of<Multiplexers_Core>(blk);
    blk.set({1, 1, 8});
    blk.process();
    const float g0 = core->gains[0], g1 = core->gains[1];
    blk.set({0, 1, 8});
    EXPECT_EQ(core->delta_coeff[0], 1.0F);
    EXPECT_EQ(core->delta_coeff[1],
              static_cast<float>(-static_cast<double>(g1) / (1.0 - static_cast<double>(g0) + 1e-10)));
    EXPECT_NEAR(core->delta_coeff[1], -1.0F, 1e-4F);
}

// With the flag off a change is at once, and leaves the slew to be done when the flag comes on.
TEST(Multiplexer, FlagOffSwitchesAtOnceAndFlagOnResumes)
{
    rig::Rig blk(EN_MUXES_MUXES_SWITCH, 6, 2);
    const auto* core = core_of<Multiplexers_Core>(blk);
    for (int pin = 0; pin < 6; ++pin)
        blk.fill(pin, static_cast<float>(pin));
    blk.set({2.9F, 0, 12});
    blk.process();
    EXPECT_EQ(blk->pParam[kMuxesSwitchIdx], 2.0F);
    EXPECT_EQ(blk.out(0)[0], 4.0F);
    EXPECT_EQ(blk.out(1)[63], 5.0F);
    EXPECT_EQ(core->slew_state, 1);
    EXPECT_EQ(core->gains[0], 1.0F);
    blk.set({7, 1, 12});
    EXPECT_EQ(blk->pParam[kMuxesSwitchIdx], 2.0F) << "limited to the last group";
    blk.process();
    EXPECT_GT(blk.out(0)[63], 0.0F);
    EXPECT_LT(blk.out(0)[63], 1.0F);
    blk.set({-3, 0, 12});
    EXPECT_EQ(core->idx_stable, 0);
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

TEST(Demultiplexer, SlewWritesEveryOutputAndRestOnlyTheSelected)
{
    rig::Rig blk(EN_MUXES_DEMUXES_INDEX, 3, 6, {.block = 70});
    auto* core = core_of<Demultiplexers_Core>(blk);
    fill_data(blk, 1, 2);
    SlewLaw law = {SlewAlphaGet(12, 48000, 70), 1.0F / 71.0F, {1, 0, 0}, {0, 0, 0}, 0};
    blk.fill(0, 2.0F);
    law.select(2);
    for (int b = 0; b < 3; ++b) {
        blk.process();
        const float step = law.step();
        for (std::size_t t = 0; t < 70; ++t) {
            law.advance(step);
            for (int pin = 0; pin < 6; ++pin)
                ASSERT_EQ(blk.out(pin)[t], blk.in(1 + pin % 2)[t] * law.gains[static_cast<std::size_t>(pin / 2)]);
        }
        EXPECT_NEAR(sum_of(core->gains, 3), 1.0, 2e-5);
    }
    for (int pin = 0; pin < 6; ++pin)
        std::ranges::fill(blk.out(pin), 9.0F);
    blk.set({0, 12});
    blk.process();
    for (int pin = 0; pin < 6; ++pin)
        EXPECT_EQ(blk.out(pin)[3], pin < 4 ? 9.0F : blk.in(1 + pin % 2)[3]);
}

// One past the last group is accepted, unlike in the multiplexer: all outputs fade out, none beyond them is touched.
TEST(Demultiplexer, IndexPastTheLastGroupIsSilence)
{
    rig::Rig blk(EN_MUXES_DEMUXES_SWITCH, 2, 4);
    const auto* core = core_of<Demultiplexers_Core>(blk);
    blk.fill(0, 1.0F);
    blk.set({9, 1, 8});
    EXPECT_EQ(blk->pParam[kDeMuxesSwitchIdx], 2.0F);
    EXPECT_EQ(core->idx_stable, 2);
    for (int b = 0; core->slew_state == 1 && b < 100000; ++b)
        blk.process();
    EXPECT_EQ(core->gains[0], 0.0F);
    EXPECT_EQ(core->gains[1], 0.0F);
    std::ranges::fill(blk.out(0), 9.0F);
    blk.process();
    EXPECT_EQ(blk.out(0)[0], 9.0F);
    blk.set({1, 1, 8});
    for (int b = 0; core->slew_state == 1 && b < 100000; ++b)
        blk.process();
    blk.process();
    EXPECT_EQ(core->gains[1], 1.0F);
    EXPECT_EQ(blk.out(2)[63], 1.0F);
    rig::Rig index(EN_MUXES_DEMUXES_INDEX, 2, 3);
    index.fill(0, 3.0F);
    index.process();
    EXPECT_EQ(core_of<Demultiplexers_Core>(index)->idx_stable, 2) << "a control pin stops at the last group";
}

TEST(Selectors, RefuseWrongPins)
{
    struct Case {
        int type, inputs, outputs;
        bool accepted;
        const char* message;
    };
    const Case cases[] = {
        {EN_MUXES_MUXES_SWITCH, 6, 2, true, ""},
        {EN_MUXES_MUXES_SWITCH, 2, 2, false, "wrong input pin number in Muxes_Switch\n"},
        {EN_MUXES_MUXES_SWITCH, 5, 2, false, "wrong input pin number in Muxes_Switch\n"},
        {EN_MUXES_MUXES_SWITCH, 2, 0, false, "wrong input pin number in Muxes_Switch\n"},
        {EN_MUXES_MUXES_INDEX, 3, 2, true, ""},
        {EN_MUXES_MUXES_INDEX, 1, 2, false, "wrong input pin number in Muxes_Index\n"},
        {EN_MUXES_MUXES_INDEX, 4, 2, false, "wrong input pin number in Muxes_Index\n"},
        {EN_MUXES_DEMUXES_SWITCH, 2, 6, true, ""},
        {EN_MUXES_DEMUXES_SWITCH, 2, 2, false, "wrong input pin number in DeMuxes\n"},
        {EN_MUXES_DEMUXES_INDEX, 2, 2, true, ""},
        {EN_MUXES_DEMUXES_INDEX, 1, 2, false, "wrong input pin number in DeMuxes\n"},
        {EN_MUXES_CROSSFADE, 5, 2, true, ""},
        {EN_MUXES_CROSSFADE, 6, 2, true, ""},
        {EN_MUXES_CROSSFADE, 4, 2, false, "wrong input pin number in Crossfade\n"},
        {EN_MUXES_STATE_MACHINE, 1, 0, true, ""},
        {EN_MUXES_STATE_MACHINE, 7, 2, true, ""},
        {EN_MUXES_STATE_MACHINE, 2, 0, false, "wrong input pin number in Muxes_Switch\n"},
    };
    for (const Case& c : cases) {
        rig::Log log;
        EXPECT_EQ(static_cast<bool>(rig::Rig(c.type, c.inputs, c.outputs)), c.accepted) << c.type << " " << c.inputs;
        EXPECT_EQ(log.all().empty() ? "" : log.messages()[0], c.message) << c.type << " " << c.inputs;
    }
}

TEST(Crossfade, ChoosesByTheFirstSample)
{
    for (const auto& [control, choice] : {std::pair{0.999F, 0}, {1.0F, 1}, {7.0F, 1}, {-3.0F, 0}, {NAN, 1}}) {
        rig::Rig blk(EN_MUXES_CROSSFADE, 5, 2);
        blk.set({1});  // a rate so low that the fade is over after one block
        for (int pin = 1; pin < 5; ++pin)
            blk.fill(pin, static_cast<float>(pin));
        blk.fill(0, {control, 0.5F});
        for (int b = 0; b < 4; ++b)
            blk.process();
        EXPECT_EQ(blk.out(0)[0], static_cast<float>(1 + choice)) << control;
        EXPECT_EQ(blk.out(1)[0], static_cast<float>(3 + choice)) << control;
    }
}

TEST(Crossfade, FadesByItsLawAndKeepsAnInterruptedWeight)
{
    for (const int block : {1, 64, 100}) {
        rig::Rig blk(EN_MUXES_CROSSFADE, 3, 1, {.block = block});
        const auto* core = core_of<CrossFade_Core>(blk);
        fill_data(blk, 1, 2);
        const float alpha = SlewAlphaGet(12, 48000, static_cast<float>(block));
        float weight = 1.0F;
        const auto expect_fade = [&] {
            blk.fill(0, 1.0F);
            blk.process();
            const float step = (weight * alpha - weight) * (1.0F / static_cast<float>(block + 1));
            float g = weight;
            for (std::size_t t = 0; t < static_cast<std::size_t>(block); ++t) {
                g = g + step;
                ASSERT_EQ(blk.out(0)[t], blk.in(1)[t] * g + (1.0F - g) * blk.in(2)[t]) << t;
            }
            weight = weight * alpha;
        };
        expect_fade();
        expect_fade();
        // Back to the old choice: at once, and the weight waits for the next change.
        blk.fill(0, 0.0F);
        blk.process();
        EXPECT_EQ(rig::bits(blk.out(0)), rig::bits(blk.in(1)));
        EXPECT_EQ(core->change_flag, 1);
        expect_fade();
        for (int b = 0; core->change_flag == 1 && b < 1000000; ++b)
            blk.process();
        EXPECT_EQ(core->idx_pre, 1);
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
    std::ranges::fill(out, 9.0F);
    BlockAlgo_process(blk, in, outs);
    const float expected[] = {1, 2, 3, 4, 5, 6, 7, 8, 0, 0, 0, 0};
    EXPECT_TRUE(std::ranges::equal(out, expected)) << "both bounds included; a closed gate writes zeros";
    control[0] = NAN;
    BlockAlgo_process(blk, in, outs);
    EXPECT_TRUE(std::ranges::all_of(out, [](float v) { return v == 0.0F; }));
    BlockAlgo_destroy(blk);
}

TEST(Selectors, Prints)
{
    rig::Log log;
    rig::Rig mux(EN_MUXES_MUXES_SWITCH, 4, 2), demux(EN_MUXES_DEMUXES_INDEX, 3, 4), fade(EN_MUXES_CROSSFADE, 3, 1);
    rig::Rig machine(EN_MUXES_STATE_MACHINE, 2, 1);
    for (rig::Rig* blk : {&mux, &demux, &fade, &machine})
        blk->invoke();
    const std::vector<std::string> expected = {"Muxes_Switch param: \n\n",
                                               "Idx: 0.000000 \n\n",
                                               "SlewFlag: 1.000000 \n\n",
                                               "SlewRate: 12.000000 \n\n",
                                               "\n\n",
                                               "DeMuxes_Index param: \n\n",
                                               "SlewFlag: 1.000000 \n\n",
                                               "SlewRate: 12.000000 \n\n",
                                               "\n\n",
                                               "Crossfade param is 12.000000\n",
                                               "StateMachine param:\n\n",
                                               "\n\n"};
    EXPECT_EQ(log.messages(), expected);
    log.clear();
    EXPECT_EQ(Multiplexers_Switch_param_invoke(nullptr), RT_OK);
    EXPECT_EQ(State_Machine_param_invoke(nullptr), RT_OK);
    EXPECT_EQ(Multiplexers_destroy(nullptr), RT_OK);
    EXPECT_TRUE(log.lines().empty());
}
