// SPDX-License-Identifier: Apache-2.0
// The blocks of one section per channel: vectors, clamps, reports, state, and filtering.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "support/rig.h"

namespace {

using Vector = std::vector<float>;

Vector stored(rig::Rig& blk, std::size_t size) { return {blk->pParam, blk->pParam + size}; }
Vector section(rig::Rig& blk) { return {blk->pState, blk->pState + 5}; }

// y of a stored section in double precision.
std::vector<double> reference(const float* c, bool second_order, std::span<const float> signal)
{
    std::vector<double> result;
    double s1 = 0, s2 = 0;
    for (const double x : signal) {
        const double y = c[0] * x + s1;
        s1 = c[1] * x - c[2] * y + s2;
        s2 = second_order ? c[3] * x - c[4] * y : 0.0;
        result.push_back(y);
    }
    return result;
}

struct Case {
    int type;
    Vector defaults, other;  // `other` filters audibly, and differs in every entry it can
};
const Case kCases[] = {
    {EN_FILTER_1ST, {1, 0, 0, 0, 1000, 0}, {1, 0, 3, -3, 400, 9}},
    {EN_FILTER_2ND_GENERAL, {1, 0, 0, 0, 1000, 1.41F, 3}, {1, 0, 5, -3, 400, 2, 9}},
    {EN_FILTER_2ND_PARAM_SHELF, {1, 0, 0, 0, 1000, 1.41F, 3}, {1, 0, 1, -3, 400, 1, 9}},
    {EN_FILTER_2ND_COMMON, {1, 0, 0, 0, 1000, 1.41F}, {1, 0, 7, -3, 400, 2}},
    {EN_FILTER_2ND_BESSEL_BUTTER, {1, 0, 0, 0, 1000}, {1, 0, 3, -3, 400}},
    {EN_FILTER_2ND_TONE, {1, 0, 10000, 3, 1000, 3}, {1, 0, 4000, -3, 200, 9}},
    {EN_FILTER_2ND_IIR, {1, 0, 1, 0, 0, 0, 0}, {1, 0, 0.5F, 0.25F, 0.125F, -0.5F, 0.25F}},
    {EN_FILTER_2ND_FIRSTORDERS, {1, 0, 0, 1000, 3, 2, 5000, 1}, {1, 0, 1, 400, 0, 3, 2000, -3}},
    {EN_FILTER_NONBARE, {1, 0, 1000, 1.41F, 3.5F, 0}, {1, 0, 300, 3, 1, 9}},
};

}  // namespace

TEST(SectionBlock, StartsWithItsDefaultsAlreadyDesigned)
{
    for (const Case& c : kCases) {
        rig::Rig fresh(c.type, 2, 2), set(c.type, 2, 2);
        ASSERT_TRUE(fresh) << c.type;
        EXPECT_EQ(stored(fresh, c.defaults.size()), c.defaults) << c.type;
        set.set(c.other);
        set.set(c.defaults);
        const auto audio = {rig::noise(128, 1), rig::noise(128, 2)};
        EXPECT_EQ(fresh.run(audio), set.run(audio)) << c.type;
    }
}

TEST(SectionBlock, FiltersEveryChannelAndFlipsOnlyTheOutput)
{
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.type);
        const auto audio = std::vector{rig::noise(640, 1), rig::noise(640, 2), rig::noise(640, 3)};
        rig::Rig plain(c.type, 3, 3), flipped(c.type, 3, 3), in_place(c.type, 3, 3);
        Vector vector = c.other;
        plain.set(vector);
        vector[1] = -1;
        flipped.set(vector);
        in_place.set(c.other);
        for (int pin = 0; pin < 3; ++pin)
            in_place.alias(pin, pin);
        const auto y = plain.run(audio);
        const auto negated = flipped.run(audio);
        EXPECT_EQ(in_place.run(audio), y);
        for (std::size_t pin = 0; pin < 3; ++pin) {
            const auto expected = reference(plain->pState, c.type != EN_FILTER_1ST, audio[pin]);
            for (std::size_t i = 0; i < expected.size(); ++i) {
                ASSERT_NEAR(y[pin][i], expected[i], 2e-5) << i;  // single-precision state, corners down to 200 Hz
                ASSERT_EQ(negated[pin][i], -y[pin][i]) << i;
            }
        }
        // The state carries what was not negated.
        EXPECT_TRUE(std::equal(plain->pStateB, plain->pStateB + 3, flipped->pStateB));
        EXPECT_NE(plain->pStateB[0], 0.0F);
    }
}

TEST(SectionBlock, SwitchedOffItCopiesAndKeepsItsState)
{
    for (const Case& c : kCases) {
        rig::Rig blk(c.type, 1, 1);
        blk.set(c.other);
        const std::vector<Vector> audio = {rig::noise(64)};
        blk.run(audio);
        auto* core = static_cast<SecondOrder_Core*>(blk->AlgoCore);  // the first-order record begins alike
        core->enable = 0;
        const float state = core->stateBuffer[0];
        EXPECT_EQ(rig::bits(blk.run(audio)[0]), rig::bits(audio[0])) << c.type;
        EXPECT_EQ(core->stateBuffer[0], state) << c.type;
        EXPECT_NE(state, 0.0F);
        // A parameter set takes the flag from the vector, and starts again from silence: the same vector, too.
        blk.update();
        EXPECT_EQ(core->enable, 1);
        EXPECT_EQ(core->stateBuffer[0], 0.0F);
    }
}

TEST(SectionBlock, RendersOneChannelLikeTheBlock)
{
    const std::vector<Vector> audio = {rig::noise(64, 1), rig::noise(64, 2)};
    Vector input = audio[1], y(64);
    rig::Rig first(EN_FILTER_1ST, 2, 2), second(EN_FILTER_2ND_COMMON, 2, 2), bare(EN_FILTER_NONBARE, 2, 2);
    FirstOrder_Render(static_cast<FirstOrder_Core*>(first->AlgoCore), input.data(), y.data(), 64, 1);
    EXPECT_EQ(y, rig::Rig(EN_FILTER_1ST, 2, 2).run(audio)[1]);
    SecondOrder_Render(static_cast<SecondOrder_Core*>(second->AlgoCore), input.data(), y.data(), 64, 1);
    EXPECT_EQ(y, rig::Rig(EN_FILTER_2ND_COMMON, 2, 2).run(audio)[1]);
    NonBare_Render(static_cast<SecondOrder_Core*>(bare->AlgoCore), input.data(), y.data(), 64, 1);
    EXPECT_EQ(y, rig::Rig(EN_FILTER_NONBARE, 2, 2).run(audio)[1]);
}

TEST(SectionBlock, ClampsAndWritesBackWhatItsLayoutHas)
{
    const struct {
        int type;
        Vector set, kept;
    } rows[] = {
        {EN_FILTER_1ST, {1, 0, 0, 80, 1000, -80}, {1, 0, 0, 50, 1000, -50}},
        {EN_FILTER_2ND_GENERAL, {1, 0, 3, 80, 1000, 0, -80}, {1, 0, 3, 50, 1000, 0.01F, -50}},
        {EN_FILTER_2ND_GENERAL, {1, 0, 7, -80, 99999, 100, 80}, {1, 0, 7, -50, 99999, 16, 50}},
        {EN_FILTER_2ND_GENERAL, {1, 0, 1, 0, 1000, 5, 0}, {1, 0, 1, 0, 1000, 2, 0}},
        {EN_FILTER_2ND_GENERAL, {1, 0, 5, 0, 1000, 20, 0}, {1, 0, 5, 0, 1000, 11, 0}},
        {EN_FILTER_2ND_GENERAL, {1, 0, 10, 0, 1000, 0, 0}, {1, 0, 10, 0, 1000, 0.1F, 0}},
        {EN_FILTER_2ND_GENERAL, {1, 0, 11, 0, 1000, 12, 0}, {1, 0, 11, 0, 1000, 10, 0}},
        {EN_FILTER_2ND_GENERAL, {1, 0, 14, 0, 1000, 99, 0}, {1, 0, 14, 0, 1000, 99, 0}},
        {EN_FILTER_2ND_PARAM_SHELF, {1, 0, 2, 80, 1000, 0, 80}, {1, 0, 2, 50, 1000, 0.01F, 50}},
        {EN_FILTER_2ND_COMMON, {1, 0, 2, 80, 1000, 0}, {1, 0, 2, 50, 1000, 0.01F}},
        {EN_FILTER_2ND_BESSEL_BUTTER, {1, 0, 2, -80, 1000}, {1, 0, 2, -50, 1000}},
        {EN_FILTER_2ND_TONE, {1, 0, 9000, 60, 100, -60}, {1, 0, 9000, 60, 100, -60}},
        {EN_FILTER_2ND_FIRSTORDERS, {1, 0, 0, 1000, 60, 0, 1000, -60}, {1, 0, 0, 1000, 60, 0, 1000, -60}},
        {EN_FILTER_NONBARE, {1, 0, 1000, 99, 0, 99}, {1, 0, 1000, 99, 0, 99}},
    };
    for (const auto& row : rows) {
        rig::Log log;
        rig::Rig blk(row.type, 1, 1);
        blk.set(row.set);
        EXPECT_EQ(stored(blk, row.kept.size()), row.kept) << row.type;
        EXPECT_TRUE(log.lines().empty());  // clamping is silent
    }
}

TEST(SectionBlock, WorkedNumbers)
{
    const struct {
        int type;
        Vector vector, section;  // b0, b1, a1, b2, a2
    } rows[] = {
        // A corner at a quarter of the rate. 1.4142 and 1.7321, not the roots; the pole 2.72^(-pi / 2), not e's.
        {EN_FILTER_2ND_BESSEL_BUTTER, {1, 0, 2, 0, 12000}, {0.2928944F, 0.5857888F, 0, 0.2928944F, 0.5858F / 3.4142F}},
        {EN_FILTER_2ND_BESSEL_BUTTER, {1, 0, 1, 0, 12000}, {0.2679456F, -0.5358911F, 0, 0.2679456F, 0.2679F / 3.7321F}},
        {EN_FILTER_1ST, {1, 0, 0, 0, 12000, 0}, {0.396163F, 0.396163F, -0.207673F}},
        {EN_FILTER_1ST, {1, 0, 0, 0, 0, 0}, {0, 0, -1}},
        {EN_FILTER_1ST, {1, 0, 1, 0, 0, 0}, {1, -1, -1}},
        {EN_FILTER_1ST, {1, 0, 2.9F, 0, 12000, 0}, {-0.207673F, 1, -0.207673F}},  // truncated: the all-pass
        {EN_FILTER_2ND_GENERAL, {1, 0, 7, 0, 12000, 0.01F, 0}, {-0.8540807F, 0, 0, 1, -0.8540807F}},  // its cap
        {EN_FILTER_2ND_IIR, {1, 0, 1, 2, 3, 4, 5}, {1, 2, 4, 3, 5}},  // unstable, and taken as it is
        {EN_FILTER_2ND_FIRSTORDERS, {1, 0, 0, 9, 0, 0, 9, 0}, {1, 0, 0, 0, 0}},
        {EN_FILTER_2ND_FIRSTORDERS, {1, 0, 1, 12000, 0, 0, 9, 0}, {0.792327F, 0, -0.207673F, 0, 0}},  // first: no zero
        {EN_FILTER_2ND_FIRSTORDERS, {1, 0, 0, 9, 0, 1, 12000, 0}, {0.396163F, 0.396163F, -0.207673F, 0, 0}},
        {EN_FILTER_NONBARE, {1, 0, 12000, 0, 3, -20}, {1, 0, 0, 1, 1}},  // without width: an identity
        {EN_FILTER_NONBARE, {1, 0, 12000, 0.5F, 3, -20}, {0.4142136F, 0, 0, 1, 0.4142136F}},  // tan(pi / 8)
    };
    for (const auto& row : rows) {
        rig::Rig blk(row.type, 1, 1);
        blk.set(row.vector);
        for (std::size_t i = 0; i < row.section.size(); ++i)
            EXPECT_NEAR(blk->pState[i], row.section[i], 3e-7 * (1 + std::abs(row.section[i]))) << row.type << " " << i;
    }
    rig::Rig flat(EN_FILTER_2ND_GENERAL, 1, 1);  // no boost: nothing but the gain, -6 dB
    flat.set({1, 0, 0, -6, 1000, 2, 0});
    EXPECT_FLOAT_EQ(flat->pState[0], 0.50118723F);
    EXPECT_FLOAT_EQ(flat->pState[1], 0.50118723F * flat->pState[2]);
    EXPECT_FLOAT_EQ(flat->pState[3], 0.50118723F * flat->pState[4]);
}

TEST(NonBare, IsAnAllPassOfItsWidth)
{
    for (const auto& [fc, q] : {std::pair{50.0F, 0.5F}, {1000.0F, 1.41F}, {9000.0F, 0.3F}}) {
        rig::Rig bare(EN_FILTER_NONBARE, 1, 1);
        bare.set({1, 0, fc, q, 3.5F, 12});
        const float* c = bare->pState;
        EXPECT_TRUE(c[0] == c[4] && c[1] == c[2] && c[3] == 1.0F);  // mirrored: unit magnitude
        const double w = 2.0 * std::numbers::pi * fc / 48000;
        EXPECT_NEAR(c[4], std::tan(std::numbers::pi / 4 - q * w / 2), 1e-6);  // (1 - tan x) / (1 + tan x)
        EXPECT_NEAR(c[1], -std::cos(w) * (1.0 + c[4]), 1e-6);                 // -180 degrees at w
    }
}

TEST(SectionBlock, UnknownResponsesAreReported)
{
    const Vector kPassThrough = {1, 0, 0, 0, 0};
    const struct {
        int type;
        Vector vector;
        const char* report;
    } rows[] = {
        {EN_FILTER_2ND_GENERAL,
         {1, 0, 16, -6, 1000, 1, 60},
         "LOG (calculateFilter2ndGeneralCoeffs(): ,294), ErrorXXX: You should choose a bessel_butter type!\n\n"},
        {EN_FILTER_2ND_PARAM_SHELF,
         {1, 0, 3, -6, 1000, 1, 60},
         "LOG (calculateFilter2ndCoeffs(): ,414), ErrorXXX: You should choose a param_shelf type!\n\n"},
        {EN_FILTER_2ND_COMMON,
         {1, 0, -1, -6, 1000, 1},
         "LOG (calculateFilter2ndCoeffs(): ,579), ErrorXXX: You should choose a common type!\n\n"},
        {EN_FILTER_2ND_BESSEL_BUTTER,
         {1, 0, 4, -6, 1000},
         "LOG (calculateFilter2ndCoeffs(): ,638), ErrorXXX: You should choose a bessel_butter type!\n\n"},
        {EN_FILTER_2ND_FIRSTORDERS,
         {1, 0, 1, 1000, 6, 4, 1000, 6},
         "LOG (calculateFilter2ndCoeffs(): ,761), ErrorXXX: Wrong first order filter type!\n\n"},
    };
    for (const auto& row : rows) {
        rig::Rig blk(row.type, 1, 1);
        rig::Log log;
        blk.set(row.vector);
        EXPECT_EQ(log.all(), row.report);
        EXPECT_EQ(section(blk), kPassThrough) << row.type;  // without the gain
    }
    const auto set = [](int type, const Vector& vector) { rig::Rig(type, 1, 1).set(vector); };
    const auto status = testing::ExitedWithCode(255);
    EXPECT_EXIT(set(EN_FILTER_1ST, {1, 0, 5, 0, 1000, 0}), status,
                "calculateFilter1stCoeffs.*,[0-9]*., ErrorXXX: You should choose a filter type!");
    EXPECT_EXIT(set(EN_FILTER_1ST, {1, 0, -1, 0, 1000, 0}), status, "ErrorXXX");
    EXPECT_EXIT(set(EN_FILTER_2ND_FIRSTORDERS, {1, 0, 4, 1000, 0, 0, 1000, 0}), status,
                "calculateFilter2ndCoeffs.*,735., ErrorXXX: Wrong first order filter type!");
}

TEST(SectionBlock, OtherCodesAreSilentSections)
{
    float coeff[5] = {9, 9, 9, 9, 9};
    SecondOrder_Core core = {1, 0, coeff, nullptr};
    float vector[8] = {1, 0, 2, 6, 1000, 0, 70, 0};
    rig::Log log;
    calculateFilter2ndCoeffs(&core, vector, 48000, EN_FILTER_1ST);  // of its two shelves, none
    EXPECT_EQ(Vector(coeff, coeff + 5), (Vector{1, 0, 0, 0, 0}));
    EXPECT_EQ(vector[6], 50.0F);
    calculateFilter2ndCoeffs(&core, vector, 48000, EN_FILTER_2ND_GENERAL);
    EXPECT_EQ(Vector(coeff, coeff + 5), (Vector{0, 0, 0, 0, 0}));
    EXPECT_TRUE(log.lines().empty());
}

TEST(SectionBlock, RefusesWrongPinsInItsOwnWords)
{
    BlockPro pro = {48000, 16, 64, 0, 0};
    rig::Log log;
    EXPECT_EQ(FirstOrder_init(1, 2, &pro, EN_FILTER_1ST), nullptr);
    EXPECT_EQ(SecondOrder_init(1, 2, &pro, EN_FILTER_2ND_IIR), nullptr);
    EXPECT_EQ(SecondOrder_init(0, 0, &pro, EN_FILTER_2ND_IIR), nullptr);
    EXPECT_EQ(SecondOrder_init(1, 1, &pro, EN_FILTER_NONBARE), nullptr);
    EXPECT_EQ(NonBare_init(1, 2, &pro, EN_FILTER_NONBARE), nullptr);
    EXPECT_EQ(log.messages(), (std::vector<std::string>{
                                  "wrong input pin number in Limiter\n", "wrong input pin number in SecondOrder\n",
                                  "wrong input pin number in SecondOrder\n", "wrong input type in SecondOrder\n",
                                  "wrong input pin number in Limiter\n"}));
    for (auto* init : {FirstOrder_init, NonBare_init}) {
        BlockAlgo* none = init(0, 0, &pro, EN_FILTER_1ST);
        ASSERT_NE(none, nullptr);
        EXPECT_EQ(FirstOrder_process(none, nullptr, nullptr), RT_OK);
        FirstOrder_destroy(none);
    }
    log.clear();
    rig::Rig blk(EN_FILTER_2ND_IIR, 1, 1);
    blk->method_type = EN_FILTER_NONBARE;
    EXPECT_EQ(SecondOrder_param_set(blk.block(), nullptr), RT_OK);
    EXPECT_EQ(log.messages(), std::vector<std::string>{"wrong input type in SecondOrder\n"});
}

TEST(SectionBlock, PrintsItsParameters)
{
    const struct {
        int type;
        const char* title;
        std::vector<const char*> labels;
    } rows[] = {
        {EN_FILTER_2ND_GENERAL, "general", {"Type: 3", "Gain_dB: 4.", "Fc: 5.", "Q: 6.", "Boost_dB: 7."}},
        {EN_FILTER_2ND_PARAM_SHELF, "param_shelf", {"Type: 3", "Gain_dB: 4.", "Fc: 5.", "Q: 6.", "Boost_dB: 7."}},
        {EN_FILTER_2ND_COMMON, "common", {"Type: 3", "Gain_dB: 4.", "Fc: 5.", "Q: 6."}},
        {EN_FILTER_2ND_BESSEL_BUTTER, "bessel_butter", {"Type: 3", "Gain_dB: 4.", "Fc: 5."}},
        {EN_FILTER_2ND_TONE, "tone", {"Fc_Treble: 3.", "Boost_dB_Treble: 4.", "Fc_Bass: 5.", "Boost_dB_Bass: 6."}},
        {EN_FILTER_2ND_IIR, "iir", {"b0: 3.", "b1: 4.", "b2: 5.", "a1: 6.", "a2: 7."}},
        {EN_FILTER_2ND_FIRSTORDERS,
         "firstorders",
         {"Filter1_Type: 3", "Filter1_Fc: 4.", "Filter1_Boost_dB: 5.", "Filter2_Type: 6", "Filter2_Fc: 7.",
          "Filter2_Boost_dB: 8."}},
    };
    for (const auto& row : rows) {
        rig::Rig blk(row.type, 1, 1);
        std::vector<std::string> expected = {std::string(row.title) + " param: \n\n", "Enable: 1 \n\n",
                                             "Polarity: -2 \n\n"};
        for (std::size_t i = 0; i < row.labels.size(); ++i) {
            const std::string label = row.labels[i];
            blk->pParam[i + 2] = static_cast<float>(i + 3);
            expected.push_back(label + (label.back() == '.' ? "000000 \n\n" : " \n\n"));
        }
        expected.emplace_back("\n\n");
        blk->pParam[0] = 1.9F;
        blk->pParam[1] = -2.9F;
        rig::Log log;
        blk.invoke();
        EXPECT_EQ(log.messages(), expected);
    }
    rig::Rig first(EN_FILTER_1ST, 1, 1), bare(EN_FILTER_NONBARE, 1, 1);
    rig::Log log;
    first.invoke();
    bare.invoke();
    EXPECT_EQ(log.messages(), (std::vector<std::string>{"FirstOrder param is 1.000000,0.000000,0.000000\n",
                                                        "NonBare param is 1.000000,0.000000,1000.000000\n"}));
}
