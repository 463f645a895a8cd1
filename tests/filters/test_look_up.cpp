// SPDX-License-Identifier: Apache-2.0
// Lookup filters: their curves, the choice among them, and the fade from one to another.
#include <gtest/gtest.h>

#include <cmath>

#include "support/filters.h"
#include "support/rig.h"

namespace {

using Vector = std::vector<float>;

LookUp_Core* core_of(rig::Rig& blk) { return static_cast<LookUp_Core*>(blk->AlgoCore); }
Vector curve(rig::Rig& blk, int k) { return {blk->pState + 5 * k, blk->pState + 5 * (k + 1)}; }

// The same response designed by the second-order block.
Vector general(int type, float gain_db, float fc, float q, float boost_db)
{
    return rig::designed(EN_FILTER_2ND_GENERAL, {1, 0, static_cast<float>(type), gain_db, fc, q, boost_db});
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
    EXPECT_EQ(curve(tone, 0), general(Gen_LS, -5, 300, 0.707F, -10));

    const int shelves[] = {Gen_LS, Gen_HS, Gen_Param};
    const int general_types[] = {Gen_LP, Gen_HP, Gen_Cheby_LP, Gen_Cheby_HP};
    const int butter_types[] = {Gen_Butter_LP, Gen_Butter_HP, Gen_Bessel_LP, Gen_Bessel_HP};
    for (int type = 0; type < 4; ++type) {
        const auto t = static_cast<float>(type);
        if (type < 3)
            tone.set({t, 5, 10, -10, 3, 0.5F, 300, 12});
        common.set({t, 4, -5, 0.7F, 300, 100, 12});
        butter.set({t, 4, 2, 300, 100, 12});
        for (int k = 0; k < 4; ++k) {
            const auto n = static_cast<float>(k);
            // Boosts reach both ends; corners stop one step short of the maximum.
            EXPECT_EQ(curve(tone, k + 1), general(shelves[std::min(type, 2)], 3, 300, 0.5F, 5 * n - 5));
            EXPECT_EQ(curve(common, k), general(general_types[type], -5, 100 + 50 * n, 0.7F, 0));
            EXPECT_EQ(curve(butter, k), general(butter_types[type], 2, 100 + 50 * n, 0, 0));
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
        const auto a = rig::noise(320, 1), b = rig::noise(320, 2);
        plain.set({1, 0, GeneralLP, -5, 100.0F + 50.0F * static_cast<float>(index), 0.707F});
        EXPECT_EQ(blk.run({Vector(320, control), a, b}), plain.run({a, b})) << control;
        EXPECT_EQ(core_of(blk)->change_flag, 0);
    }
}

TEST(LookUp, FadesFromCurveToCurve)
{
    rig::Rig blk(EN_FILTER_LOOKUP_TONE_PEAK, 2, 1);
    blk.set(kGains);
    const auto* core = core_of(blk);
    const double decay = core->slew_rate;
    EXPECT_NEAR(decay, std::exp(-1.0 / (0.0416 / 64 * std::pow(2.0, 8.0) / 1000 * 48000)), 1e-6);
    ASSERT_GT(decay, 0.5);

    // Settled on curve 0, then three blocks of fade: the weight of the old output falls by `decay` per block, in a
    // line that ends one step short.
    for (int i = 0; i < 50; ++i)
        step(blk, 0);
    const double from = step(blk, 0);
    double g = 1.0;
    for (int block = 0; block < 3; ++block, g *= decay) {
        const double weight = g + 64.0 / 65.0 * (g * decay - g);
        EXPECT_NEAR(step(blk, 3), weight * from + (1.0 - weight) * std::pow(10.0, 6.0 / 20.0), 1e-3);
        EXPECT_EQ(core->change_flag, 1);
    }
    // Another curve in mid-fade: the weight goes on, the new output starts where it was.
    step(blk, 2);
    EXPECT_NEAR(core->gain_now, g * decay, 1e-6);
    EXPECT_EQ(core->idx_pre, 0);
    // Back to the old curve: heard alone at once, and the fade waits.
    const float waiting = core->gain_now;
    EXPECT_EQ(step(blk, 0), static_cast<float>(from));
    EXPECT_EQ(core->gain_now, waiting);
    step(blk, 2);
    EXPECT_NEAR(core->gain_now, waiting * decay, 1e-6);
}

TEST(LookUp, EndsTheFadeWhenItsStepIsNothing)
{
    rig::Rig blk(EN_FILTER_LOOKUP_COMMON, 2, 1), alone(EN_FILTER_LOOKUP_COMMON, 2, 1);
    blk.set({0, 4, 0, 0.7F, 300, 100, 10});
    alone.set({0, 4, 0, 0.7F, 300, 100, 10});
    auto* core = core_of(blk);
    core_of(alone)->idx_pre = 1;
    const auto block = [audio = rig::noise(64)](rig::Rig& b) { return b.run({Vector(64, 1.0F), audio})[0]; };
    int blocks = 0;
    do {
        ASSERT_LT(++blocks, 2000);
        block(blk);
        block(alone);
    } while (core->change_flag != 0);
    // |step| = g0 (1 - decay) / 65 fell below 1e-10.
    const double decay = core->slew_rate;
    EXPECT_NEAR(blocks, 1.0 + std::ceil(std::log(65e-10 / (1.0 - decay)) / std::log(decay)), 1.0);
    EXPECT_EQ(Vector(core->stateBuffer_now, core->stateBuffer_now + 2), Vector(2, 0.0F));
    // The new curve's state has moved over: it goes on as if it had always been alone.
    EXPECT_EQ(core->idx_pre, 1);
    EXPECT_EQ(block(blk), block(alone));
}

TEST(LookUp, ParameterSetsKeepSelectionFadeAndStates)
{
    rig::Rig blk(EN_FILTER_LOOKUP_TONE_PEAK, 2, 1);
    blk.set(kGains);
    step(blk, 3);
    const auto* core = core_of(blk);
    const auto fade = [core] { return std::tuple(core->idx_now, core->gain_now, core->stateBuffer_now[0]); };
    const auto before = fade();
    Vector vector = kGains;
    const auto set_curves = [&](float curves) {
        vector[1] = curves;
        blk.set(vector);
        EXPECT_EQ(core->coeffArray, blk->pState);
    };
    set_curves(9);
    EXPECT_EQ(core->num_curves, 9);
    EXPECT_EQ(fade(), before);
    set_curves(2);
    EXPECT_EQ(core->idx_now, 1);  // the last there is
    set_curves(-5);               // without curves it copies, and it comes back
    EXPECT_EQ(step(blk, 2, 0.3F), 0.3F);
    vector[4] = 6;
    set_curves(4);
    EXPECT_NE(step(blk, 0, 0.3F), 0.3F);
}

TEST(LookUp, UnknownTypesAreReportedAndDesignNothing)
{
    for (const auto& [type, name] : {std::pair{EN_FILTER_LOOKUP_TONE_PEAK, "tone_peak"},
                                     {EN_FILTER_LOOKUP_COMMON, "commonm"},
                                     {EN_FILTER_LOOKUP_BUTTER_BESSEL, "butter_bessel"}}) {
        rig::Rig blk(type, 2, 1);
        const Vector before = curve(blk, 2);
        rig::Log log;
        blk.set({4, 4, 1, 2, 3, 4, 5, 6});
        EXPECT_EQ(log.messages(), std::vector{"ErrorXXX: You should choose a " + std::string(name) + " type!\n\n"});
        EXPECT_EQ(curve(blk, 2), before);
    }
}
