// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>

#include "support/rig.h"

namespace {

using Vector = std::vector<float>;

LookUp_Core* core_of(rig::Rig& blk) { return static_cast<LookUp_Core*>(blk->AlgoCore); }
Vector curve(rig::Rig& blk, int k) { return {blk->pState + 5 * k, blk->pState + 5 * (k + 1)}; }

// The same response designed by the second-order block.
Vector general(int type, float gain_db, float fc, float q, float boost_db)
{
    rig::Rig blk(EN_FILTER_2ND_GENERAL, 1, 1);
    blk.set({1, 0, static_cast<float>(type), gain_db, fc, q, boost_db});
    return {blk->pState, blk->pState + 5};
}

// One block with every pin-1 sample at `value`; the last output sample.
float step(rig::Rig& blk, float control, float value = 1.0F)
{
    blk.fill(0, {control, 77.0F});  // only the first control sample counts
    blk.fill(1, value);
    blk.process();
    return blk.out(0).back();
}

// Curves that are plain gains: a shelf whose corner is far above, 0, 2, 4 and 6 dB.
const Vector kGains = {0, 4, 6, 0, 0, 1, 23990, 9};

}  // namespace

TEST(LookUp, SpreadsItsCurves)
{
    rig::Rig tone(EN_FILTER_LOOKUP_TONE_PEAK, 2, 1), common(EN_FILTER_LOOKUP_COMMON, 2, 1),
        butter(EN_FILTER_LOOKUP_BUTTER_BESSEL, 2, 1);
    ASSERT_EQ(core_of(tone)->num_curves, 4);
    EXPECT_EQ(curve(tone, 0), general(Gen_LS, -5, 300, 0.707F, -10));  // the defaults
    EXPECT_EQ(curve(tone, 3), general(Gen_LS, -5, 300, 0.707F, 10));
    EXPECT_EQ(curve(common, 3), general(Gen_LP, -5, 250, 0.707F, 0));
    EXPECT_EQ(curve(butter, 0), general(Gen_Butter_LP, -5, 100, 0, 0));

    for (int k = 0; k < 5; ++k) {
        const float boost = -10.0F + 5.0F * static_cast<float>(k);  // both ends included
        tone.set({1, 5, 10, -10, -5, 0.5F, 300, 12});
        EXPECT_EQ(curve(tone, k), general(Gen_HS, -5, 300, 0.5F, boost));
        tone.set({2, 5, 10, -10, 3, 0.5F, 300, 12});
        EXPECT_EQ(curve(tone, k), general(Gen_Param, 3, 300, 0.5F, boost));
    }
    const int common_types[] = {Gen_LP, Gen_HP, Gen_Cheby_LP, Gen_Cheby_HP};
    const int butter_types[] = {Gen_Butter_LP, Gen_Butter_HP, Gen_Bessel_LP, Gen_Bessel_HP};
    for (std::size_t type = 0; type < 4; ++type) {
        common.set({static_cast<float>(type), 4, -5, 0.7F, 300, 100, 12});
        butter.set({static_cast<float>(type), 4, 2, 300, 100, 12});
        for (int k = 0; k < 4; ++k) {
            const float fc = 100.0F + 50.0F * static_cast<float>(k);  // one step short of 300
            EXPECT_EQ(curve(common, k), general(common_types[type], -5, fc, 0.7F, 0));
            EXPECT_EQ(curve(butter, k), general(butter_types[type], 2, fc, 0, 0));
        }
    }
    tone.set({0, 1, 10, -7, -5, 1, 300, 12});  // a single curve: the minimum
    EXPECT_EQ(curve(tone, 0), general(Gen_LS, -5, 300, 1, -7));
}

TEST(LookUp, FiltersWithTheSelectedCurveAlone)
{
    for (const auto& [control, index] : {std::pair{-3.0F, 0}, {0.9F, 0}, {2.0F, 2}, {99.0F, 3}, {NAN, 0}}) {
        rig::Rig blk(EN_FILTER_LOOKUP_COMMON, 3, 2), plain(EN_FILTER_2ND_COMMON, 2, 2);
        core_of(blk)->idx_pre = index;
        blk.alias(1, 2);  // in place
        auto audio = std::vector{Vector(320, control), rig::noise(320, 1), rig::noise(320, 2)};
        plain.set({1, 0, GeneralLP, -5, 100.0F + 50.0F * static_cast<float>(index), 0.707F});
        EXPECT_EQ(blk.run(audio), plain.run({audio[1], audio[2]})) << control;
        EXPECT_EQ(core_of(blk)->idx_now, index);
        EXPECT_EQ(core_of(blk)->change_flag, 0);
    }
}

TEST(LookUp, FadesFromCurveToCurve)
{
    rig::Rig blk(EN_FILTER_LOOKUP_TONE_PEAK, 2, 1);
    blk.set(kGains);
    auto* core = core_of(blk);
    const double decay = core->slew_rate;
    EXPECT_NEAR(decay, std::exp(-1.0 / (0.0416 / 64 * std::pow(2.0, 8.0) / 1000 * 48000)), 1e-6);
    ASSERT_GT(decay, 0.5);

    // Settled on curve 0, then three blocks of fade: the weight of the old output falls by `decay` per block, in a
    // line that ends one step short.
    for (int i = 0; i < 50; ++i)
        step(blk, 0);
    const double from = step(blk, 0);
    double g = 1.0;
    double last = from;
    for (int block = 0; block < 3; ++block, g *= decay) {
        last = step(blk, 3);
        EXPECT_EQ(core->change_flag, 1);
        EXPECT_NEAR(core->gain_now, g * decay, 1e-6);
        const double weight = g + 64.0 / 65.0 * (g * decay - g);
        EXPECT_NEAR(last, weight * from + (1.0 - weight) * std::pow(10.0, 6.0 / 20.0), 1e-3);
    }
    // Another curve in mid-fade: the weight goes on, the new output starts where it was.
    step(blk, 2);
    EXPECT_NEAR(core->gain_now, g * decay, 1e-6);
    EXPECT_EQ(core->idx_now, 2);
    EXPECT_EQ(core->idx_pre, 0);
    // Back to the old curve: heard alone at once, and the fade waits.
    const float waiting = core->gain_now;
    EXPECT_EQ(step(blk, 0), static_cast<float>(from));
    EXPECT_EQ(core->gain_now, waiting);
    EXPECT_EQ(core->change_flag, 1);
    step(blk, 2);
    EXPECT_LT(core->gain_now, waiting);
}

TEST(LookUp, EndsTheFadeWhenItsStepIsNothing)
{
    rig::Rig blk(EN_FILTER_LOOKUP_COMMON, 3, 2);
    blk.set({0, 4, 0, 0.7F, 300, 100, 10});
    auto* core = core_of(blk);
    const auto audio = rig::noise(64);
    Vector now;
    int blocks = 0;
    do {
        now.assign(core->stateBuffer_now, core->stateBuffer_now + 4);
        blk.fill(0, 1);
        std::copy(audio.begin(), audio.end(), blk.in(1).begin());
        std::copy(audio.begin(), audio.end(), blk.in(2).begin());
        ASSERT_LT(++blocks, 2000);
        blk.process();
    } while (core->change_flag != 0);
    // |step| = g0 (1 - decay) / 65 fell below 1e-10.
    const double decay = core->slew_rate;
    EXPECT_NEAR(blocks, 1.0 + std::ceil(std::log(65e-10 / (1.0 - decay)) / std::log(decay)), 1.0);
    EXPECT_GT(blocks, 10);
    EXPECT_EQ(core->idx_pre, 1);
    EXPECT_EQ(Vector(core->stateBuffer_now, core->stateBuffer_now + 4), Vector(4, 0.0F));
    // The new curve's state has moved over: the next block goes on as if it had always been alone.
    EXPECT_NE(core->stateBuffer_pre[0], 0.0F);
    rig::Rig alone(EN_FILTER_LOOKUP_COMMON, 3, 2);
    alone.set({0, 4, 0, 0.7F, 300, 100, 10});
    core_of(alone)->idx_pre = 1;
    alone.fill(0, 1);
    for (int i = 0; i <= blocks; ++i) {
        std::copy(audio.begin(), audio.end(), alone.in(1).begin());
        alone.process();
    }
    blk.process();
    EXPECT_EQ(rig::bits(blk.out(0)), rig::bits(alone.out(0)));
}

TEST(LookUp, ParameterSetsKeepSelectionFadeAndStates)
{
    rig::Rig blk(EN_FILTER_LOOKUP_TONE_PEAK, 2, 1);
    blk.set(kGains);
    step(blk, 3);
    auto* core = core_of(blk);
    const float gain = core->gain_now;
    const float state = core->stateBuffer_now[0];
    Vector more = kGains;
    more[1] = 9;
    blk.set(more);
    EXPECT_EQ(core->num_curves, 9);
    EXPECT_EQ(core->coeffArray, blk->pState);
    EXPECT_EQ(std::tuple(core->idx_now, core->change_flag, core->gain_now, core->stateBuffer_now[0]),
              std::tuple(3, 1, gain, state));
    more[1] = 2;
    blk.set(more);
    EXPECT_EQ(core->idx_now, 1);
    step(blk, 1);

    // No memory: everything stays, the vector included.
    const Vector before = curve(blk, 1);
    more[1] = 3000;
    more[2] = 20;
    rig::Allocator::fail_at(0);
    std::vector<float> vector = more;
    const int result = LookUp_param_set(blk.block(), vector.data());
    rig::Allocator::fail_never();
    EXPECT_EQ(result, RT_ERR_MALLOC);
    EXPECT_EQ(core->num_curves, 2);
    EXPECT_EQ(blk->pParam[1], 2.0F);
    EXPECT_EQ(curve(blk, 1), before);

    // Without curves it copies, and it comes back.
    more[1] = -5;
    blk.set(more);
    EXPECT_EQ(core->coeffArray, nullptr);
    EXPECT_EQ(step(blk, 2, 0.3F), 0.3F);
    more[1] = 4;
    more[4] = 6;
    blk.set(more);
    EXPECT_NE(step(blk, 0, 0.3F), 0.3F);
}

TEST(LookUp, ReportsInItsOwnWords)
{
    rig::Log log;
    BlockPro pro = {48000, 16, 64, 0, 0};
    for (const auto& [in, out] : {std::pair{1, 0}, {2, 2}, {3, 1}, {0, -1}})
        EXPECT_EQ(LookUp_init(in, out, &pro, EN_FILTER_LOOKUP_COMMON), nullptr);
    EXPECT_EQ(log.messages(), std::vector<std::string>(4, "wrong input pin number in LookUp Filter\n"));
    log.clear();
    EXPECT_EQ(LookUp_init(2, 1, &pro, EN_FILTER_2ND_IIR), nullptr);
    EXPECT_EQ(log.messages(), std::vector<std::string>{"wrong input type in LookUp\n"});

    const struct {
        int type;
        const char* name;
        std::vector<std::string> labels;
    } rows[] = {
        {EN_FILTER_LOOKUP_TONE_PEAK, "tone_peak", {"BoostdB_Max", "BoostdB_Min", "GaindB", "Q", "Fc", "SlewRate"}},
        {EN_FILTER_LOOKUP_COMMON, "commonm", {"GaindB", "Q", "Fc_Max", "Fc_Min", "SlewRate"}},
        {EN_FILTER_LOOKUP_BUTTER_BESSEL, "butter_bessel", {"GaindB", "Fc_Max", "Fc_Min", "SlewRate"}},
    };
    for (const auto& row : rows) {
        rig::Rig blk(row.type, 2, 1);
        const Vector before = curve(blk, 2);
        Vector unknown = {4, 4};
        std::vector<std::string> print = {"LookUp param: \n\n", "Type: 4.000000 \n\n", "Curves: 4.000000 \n\n"};
        for (const std::string& label : row.labels) {
            unknown.push_back(static_cast<float>(unknown.size()));
            print.push_back(label + ": " + std::to_string(unknown.back()) + " \n\n");
        }
        print.emplace_back("\n\n");
        log.clear();
        blk.set(unknown);
        EXPECT_EQ(log.messages(), std::vector{"ErrorXXX: You should choose a " + std::string(row.name) + " type!\n\n"});
        EXPECT_EQ(curve(blk, 2), before);  // curves not reached stay
        log.clear();
        blk.invoke();
        EXPECT_EQ(log.messages(), print);
    }
}
