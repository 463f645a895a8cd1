// SPDX-License-Identifier: Apache-2.0
// The blocks of one section per channel: vectors, clamps, state, and filtering.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/filters.h"
#include "support/rig.h"

namespace {

using Vector = std::vector<float>;

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

Vector stored(rig::Rig& blk, std::size_t size) { return {blk->pParam, blk->pParam + size}; }

Vector section(rig::Rig& blk)
{
    Vector c(blk->pState, blk->pState + (blk->method_type == EN_FILTER_1ST ? 3 : 5));
    c.resize(5);
    return c;
}

}  // namespace

TEST(SectionBlock, StartsWithItsDefaultsAlreadyDesigned)
{
    for (const Case& c : kCases) {
        rig::Rig fresh(c.type, 1, 1), set(c.type, 1, 1);
        ASSERT_TRUE(fresh) << c.type;
        EXPECT_EQ(stored(fresh, c.defaults.size()), c.defaults) << c.type;
        set.set(c.other);
        set.set(c.defaults);
        EXPECT_EQ(section(fresh), section(set)) << c.type;
    }
}

TEST(SectionBlock, FiltersEveryChannelAndFlipsOnlyTheOutput)
{
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.type);
        const auto audio = std::vector{rig::noise(640, 1), rig::noise(640, 2)};
        rig::Rig plain(c.type, 2, 2), flipped(c.type, 2, 2);
        Vector vector = c.other;
        plain.set(vector);
        vector[1] = -1;
        flipped.set(vector);
        for (int pin = 0; pin < 2; ++pin)
            flipped.alias(pin, pin);
        const auto y = plain.run(audio), negated = flipped.run(audio);
        for (std::size_t pin = 0; pin < 2; ++pin) {
            const auto expected = rig::filtered(section(plain), {audio[pin].begin(), audio[pin].end()});
            for (std::size_t i = 0; i < expected.size(); ++i) {
                ASSERT_NEAR(y[pin][i], expected[i], 2e-5) << i;  // single-precision state, corners down to 200 Hz
                ASSERT_EQ(negated[pin][i], -y[pin][i]) << i;
            }
        }
        // The state carries what was not negated.
        EXPECT_TRUE(std::equal(plain->pStateB, plain->pStateB + 2, flipped->pStateB));
    }
}

TEST(SectionBlock, SwitchedOffItCopiesAndKeepsItsState)
{
    for (const Case& c : kCases) {
        rig::Rig blk(c.type, 2, 2);
        blk.set(c.other);
        const std::vector<Vector> audio = {rig::noise(64, 1), rig::noise(64, 2)};
        blk.run(audio);
        auto* core = static_cast<SecondOrder_Core*>(blk->AlgoCore);  // the first-order record begins alike
        const Vector state(core->stateBuffer, core->stateBuffer + (c.type == EN_FILTER_1ST ? 2 : 4));
        EXPECT_EQ(std::ranges::count(state, 0.0F), 0) << c.type;
        core->enable = 0;
        EXPECT_EQ(rig::bits(blk.run(audio)[0]), rig::bits(audio[0])) << c.type;
        EXPECT_TRUE(std::ranges::equal(state, std::span(core->stateBuffer, state.size()))) << c.type;
        // A parameter set takes the flag from the vector, and starts again from silence: the same vector, too.
        blk.update();
        EXPECT_EQ(core->enable, 1);
        EXPECT_EQ(Vector(core->stateBuffer, core->stateBuffer + state.size()), Vector(state.size())) << c.type;
        blk->pParam[0] = 0;
        blk.update();
        EXPECT_EQ(core->enable, 0);
    }
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
        {EN_FILTER_2ND_GENERAL, {1, 0, 14, 0, 1000, 99, 0}, {1, 0, 14, 0, 1000, 99, 0}},  // a Butterworth has none
        {EN_FILTER_2ND_TONE, {1, 0, 9000, 60, 100, -60}, {1, 0, 9000, 60, 100, -60}},
        {EN_FILTER_2ND_FIRSTORDERS, {1, 0, 0, 1000, 60, 0, 1000, -60}, {1, 0, 0, 1000, 60, 0, 1000, -60}},
        {EN_FILTER_NONBARE, {1, 0, 1000, 99, 0, 99}, {1, 0, 1000, 99, 0, 99}},
    };
    rig::Log log;
    for (const auto& row : rows) {
        rig::Rig blk(row.type, 1, 1);
        blk.set(row.set);
        EXPECT_EQ(stored(blk, row.kept.size()), row.kept) << row.type;
    }
    EXPECT_TRUE(log.lines().empty());  // clamping is silent
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
        {EN_FILTER_1ST, {1, 0, 0, 0, 12000, 0}, {0.396163F, 0.396163F, -0.207673F, 0, 0}},
        {EN_FILTER_1ST, {1, 0, 0, 0, 0, 0}, {0, 0, -1, 0, 0}},
        {EN_FILTER_1ST, {1, 0, 1, 0, 0, 0}, {1, -1, -1, 0, 0}},
        {EN_FILTER_1ST, {1, 0, 2.9F, 0, 12000, 0}, {-0.207673F, 1, -0.207673F, 0, 0}},  // truncated: the all-pass
        {EN_FILTER_2ND_GENERAL, {1, 0, 7, 0, 12000, 0.01F, 0}, {-0.8540807F, 0, 0, 1, -0.8540807F}},  // its cap
        {EN_FILTER_2ND_IIR, {1, 0, 1, 2, 3, 4, 5}, {1, 2, 4, 3, 5}},  // unstable, and taken as it is
        {EN_FILTER_2ND_FIRSTORDERS, {1, 0, 0, 9, 0, 0, 9, 0}, {1, 0, 0, 0, 0}},
        // An all-pass: mirrored, tan(pi / 4 - Q w / 2), -cos(w) times the sum of both. w is 90 and 60 degrees.
        {EN_FILTER_NONBARE, {1, 0, 12000, 0.5F, 3, -20}, {0.4142136F, 0, 0, 1, 0.4142136F}},
        {EN_FILTER_NONBARE, {1, 0, 8000, 0.5F, 9, 9}, {0.5773503F, -0.7886751F, -0.7886751F, 1, 0.5773503F}},
    };
    for (const auto& row : rows) {
        rig::Rig blk(row.type, 1, 1);
        blk.set(row.vector);
        const Vector found = section(blk);
        for (std::size_t i = 0; i < 5; ++i)
            EXPECT_NEAR(found[i], row.section[i], 3e-7 * (1 + std::abs(row.section[i]))) << row.type << " " << i;
    }
}

TEST(SectionBlock, UnknownResponsesAreReported)
{
    const struct {
        int type;
        Vector vector;
        const char *function, *complaint;
    } rows[] = {
        {EN_FILTER_2ND_GENERAL, {1, 0, 16, -6, 9, 1, 60}, "GeneralCoeffs(): ,294", "choose a bessel_butter type"},
        {EN_FILTER_2ND_PARAM_SHELF, {1, 0, 3, -6, 9, 1, 60}, "Coeffs(): ,414", "choose a param_shelf type"},
        {EN_FILTER_2ND_COMMON, {1, 0, -1, -6, 9, 1}, "Coeffs(): ,579", "choose a common type"},
        {EN_FILTER_2ND_BESSEL_BUTTER, {1, 0, 4, -6, 9}, "Coeffs(): ,638", "choose a bessel_butter type"},
        {EN_FILTER_2ND_FIRSTORDERS, {1, 0, 1, 9, 6, 4, 9, 6}, "Coeffs(): ,761", nullptr},
    };
    for (const auto& row : rows) {
        rig::Rig blk(row.type, 1, 1);
        rig::Log log;
        blk.set(row.vector);
        const std::string complaint =
            row.complaint ? "You should " + std::string(row.complaint) : "Wrong first order filter type";
        EXPECT_EQ(log.all(),
                  std::string("LOG (calculateFilter2nd") + row.function + "), ErrorXXX: " + complaint + "!\n\n");
        EXPECT_EQ(section(blk), (Vector{1, 0, 0, 0, 0})) << row.type;  // without the gain
    }
}

TEST(SectionBlock, OtherCodesAreSilentSections)
{
    Vector coeff(5, 9.0F);
    SecondOrder_Core core = {1, 0, coeff.data(), nullptr};
    float vector[8] = {1, 0, 2, 6, 1000, 0, 70, 0};
    calculateFilter2ndCoeffs(&core, vector, 48000, EN_FILTER_1ST);  // of its two shelves, none
    EXPECT_EQ(coeff, (Vector{1, 0, 0, 0, 0}));
    EXPECT_EQ(vector[6], 50.0F);
    calculateFilter2ndCoeffs(&core, vector, 48000, EN_FILTER_2ND_GENERAL);
    EXPECT_EQ(coeff, Vector(5));
}
