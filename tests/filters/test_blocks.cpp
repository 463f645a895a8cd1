// SPDX-License-Identifier: Apache-2.0
// What only single blocks show: of one section per channel, equalisers, FIR, DC blocking and state-variable filters.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/every_block.h"
#include "support/filters.h"
#include "support/rig.h"

namespace {

using Vector = std::vector<float>;

Vector section(rig::Rig& blk)
{
    Vector c(blk->pState, blk->pState + (blk->method_type == EN_FILTER_1ST ? 3 : 5));
    c.resize(5);
    return c;
}

// Three bands, one of them switched off, in either block's layout.
const struct Equaliser {
    int type;
    Vector vector;
    int stride;
    std::size_t middle_flag;
} kEqualisers[] = {
    {EN_FILTER_GRAPHICAL_EQ,
     {3, 500, 6, 2, 0, 0, 1000, 6, 1, 4, 1, 4000, -9, 1, 2, 0},
     kFilterParamSize,
     1 + kFilterParamSize + kFilterBypass},
    {EN_FILTER_TEXTEQ,
     {3, 1, 0, 0, 6, 500, 2, -2, 0, 0, 8, 0, 900, 1, 0, 1, 1, 11, 6, 3000, 1, 3},
     kTextFilterParamSize,
     1 + kTextFilterParamSize + kTextFilterEnable},
};

// A band by the second-order block, which is compared with its prototypes elsewhere. From kFirstOrder on: its shelves
// of first order.
constexpr int kFirstOrder = 100;
Vector general(int response, float gain_db, float fc, float q, float boost_db)
{
    return rig::designed(response < kFirstOrder ? EN_FILTER_2ND_GENERAL : EN_FILTER_1ST,
                         {1, 0, static_cast<float>(response % kFirstOrder), gain_db, fc, q, boost_db});
}

void expect_close(const float* found, const Vector& expected, int type, float fc)
{
    // The equalisers round the corner's angle in another order; the lowest Q makes that a hundred times larger.
    for (std::size_t i = 0; i < 5; ++i)
        EXPECT_NEAR(found[i], expected[i], 4e-5 * (1 + std::abs(expected[i]))) << type << " at " << fc << ": " << i;
}

}  // namespace

TEST(SectionBlock, SwitchedOffItCopiesAndKeepsItsState)
{
    for (const rig::BlockCase& c : rig::every_block()) {
        if (c.type < EN_FILTER_1ST || c.type > EN_FILTER_NONBARE || c.type == EN_FILTER_TEXTEQ)
            continue;
        rig::Rig blk(c.type, 2, 2);
        blk.set(c.vector);
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
    EXPECT_EQ(rig::Rig(EN_FILTER_NONBARE, 1, 1)->pParam[kNonBareK], 3.5F) << "not used, and so in no schema";
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

TEST(EqualiserBand, IsTheResponseOfItsType)
{
    const int graphical[] = {Gen_Param,     Gen_LS,        Gen_HS,        Gen_LP,       Gen_HP,
                             Gen_Butter_LP, Gen_Butter_HP, Gen_Bessel_LP, Gen_Bessel_HP};
    const int text[] = {Gen_Param, Gen_LS,  Gen_HS,      Gen_LP,    Gen_HP,      Gen_BP,
                        Gen_BS,    Gen_APF, Gen_Peaking, Gen_Notvh, kFirstOrder, kFirstOrder + 1};
    const auto lift = [](int type, float boost) {  // a pass band is lifted by the boost, within 50 dB
        return type == Gen_LP || type == Gen_HP ? std::min(boost, 50.0F) : 0.0F;
    };
    float c[5];
    for (const float fc : {3000.0F, 10000.0F})
        for (const float q : {0.0F, 0.7F, 1.7F, 100.0F})
            for (const float boost : {-9.0F, 60.0F}) {
                for (int type = GraphicalEQ_Param; type <= GraphicalEQ_BESSEL_HP; ++type) {
                    calculateEQCoeffs(c, 48000, type, fc, q, boost);
                    expect_close(c, general(graphical[type], lift(graphical[type], boost), fc, q, boost), type, fc);
                }
                for (int type = Text_Param; type <= Text_HS1st; ++type) {
                    calculateTextEQCoeffs(c, 48000, type, fc, q, boost, -2);
                    expect_close(c, general(text[type], lift(text[type], boost) - 2, fc, q, boost), type, fc);
                }
            }
}

TEST(Equaliser, ABandThatIsOffKeepsItsStateUntilTheNextSet)
{
    for (const Equaliser& c : kEqualisers) {
        rig::Rig blk(c.type, 3, 3);
        blk.set(c.vector);
        float* const words = blk->pStateB;  // two a band: the second band of the second channel from 8 on
        words[8] = 0.25F;
        blk.run(rig::stimulus(3, 64));
        EXPECT_EQ(words[8], 0.25F) << c.type;
        EXPECT_NE(words[10], 0.0F) << c.type;
        blk.update();
        EXPECT_EQ(Vector(words, words + 18), Vector(18)) << c.type;
    }
}

TEST(Equaliser, UpdateDesignsWhatIsStored)
{
    for (const Equaliser& c : kEqualisers) {
        rig::Rig edited(c.type, 1, 1), set(c.type, 1, 1);
        edited.set(c.vector);
        Vector vector = c.vector;
        edited->pParam[c.middle_flag] = vector[c.middle_flag] = 1.0F - vector[c.middle_flag];
        edited.update();
        set.set(vector);
        const auto with = set.run({rig::noise(128)});
        EXPECT_EQ(edited.run({rig::noise(128)}), with) << c.type;
        set.set(c.vector);
        EXPECT_NE(set.run({rig::noise(128)}), with) << c.type;
        vector = c.vector;  // to the last value, while the number of bands stays
        vector.back() = 1;
        set.set(vector);
        EXPECT_EQ(Vector(set->pParam, set->pParam + vector.size()), vector) << c.type;
    }
}

TEST(Equaliser, AnyNumberOfBands)
{
    for (const Equaliser& c : kEqualisers) {
        rig::Rig blk(c.type, 2, 2);
        const auto signal = std::vector{rig::noise(64, 1), rig::noise(64, 2)};
        for (const float none : {0.0F, -2.0F, 0.9F, std::nanf("")}) {
            blk.set({none});
            EXPECT_EQ(blk.run(signal), signal) << c.type << " with " << none;
        }
        Vector many = {40};
        for (int k = 0; k < 40; ++k)
            many.insert(many.end(), c.vector.begin() + 1, c.vector.begin() + 1 + c.stride);
        blk.set(many);
        EXPECT_TRUE(std::equal(blk->pState, blk->pState + 5, blk->pState + 5 * 39));
        EXPECT_NE(blk.run(signal), signal);
        // The block's own vector, edited to have fewer bands, may come back as the new one.
        blk->pParam[0] = 3;
        BlockAlgo_param_reset(blk.block(), blk->pParam);
        EXPECT_EQ(Vector(blk->pParam, blk->pParam + 2), (Vector{3, many[1]}));
    }
}

TEST(Fir, ConvolvesToTheOrderOfItsTaps)
{
    for (const int count : {1, 2, 7, 8, 9, 64, 256, 333, 1400})
        for (const int block : {1, 5, 64, 257, 700}) {
            SCOPED_TRACE(testing::Message() << count << " taps, block " << block);
            rig::Rig blk(EN_FILTER_FIR, 2, 2, {.block = block});
            blk.alias(1, 1);
            Vector c = rig::noise(count + 1, 99);
            c[0] = static_cast<float>(count);
            blk.set(c);
            const int n = (1400 + block - 1) / block * block;
            const auto signal = std::vector{rig::noise(n, 1), rig::noise(n, 2)};
            const auto out = blk.run(signal);
            for (std::size_t ch = 0; ch < 2; ++ch)
                for (std::size_t i = 0; i < signal[ch].size(); ++i) {
                    float sum = c[1] * signal[ch][i];
                    for (std::size_t k = 1; k < static_cast<std::size_t>(count); ++k)
                        sum = std::fma(c[k + 1], i < k ? 0.0F : signal[ch][i - k], sum);
                    ASSERT_EQ(out[ch][i], sum) << i;
                }
        }
}

TEST(Fir, KeepsThePastWhileTheNumberOfTapsStays)
{
    rig::Rig blk(EN_FILTER_FIR, 1, 1, {.block = 4});
    const auto next = [&blk] { return blk.run({{1, 2, 3, 4}})[0]; };
    EXPECT_EQ(next(), (Vector{1, 2, 3, 4}));  // an identity at first
    blk.set({10, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(next(), (Vector{3, 4, 1, 2}));
    blk->pParam[1] = 100;  // the taps lie in the vector
    EXPECT_EQ(blk.update(), RT_OK);
    EXPECT_EQ(FIR_param_set(blk.block(), nullptr), RT_OK);
    EXPECT_EQ(next(), (Vector{103, 204, 301, 402}));
    blk.set({3, 0, 0, 1});  // another number of taps: silence
    EXPECT_EQ(next(), (Vector{0, 0, 1, 2}));
    EXPECT_EQ(static_cast<FIR_Core*>(blk->AlgoCore)->databuffer[0]->bufferLength, 4);
}

TEST(DcBlocking, TakesTenThousandSamplesToForget)
{
    rig::Rig blk(EN_FILTER_MISCE_DCBLOCKING, 2, 2, {.block = 10000});
    const auto y = blk.run({Vector(10000, 1.0F), Vector(10000)});
    EXPECT_EQ(y[0][0], 1.0F);
    EXPECT_NEAR(y[0][9999], std::pow(0.9999, 9999), 1e-3);  // 10000 roundings of 2^-24
    EXPECT_EQ(y[1], Vector(10000));
}

TEST(StateVariable, ANewQIsHeardAtOnceAndTheStateGoesOn)
{
    rig::Rig blk(EN_FILTER_MISCE_STATEVARIABLEQ, 2, 3);
    blk.set({2000});
    const auto* core = static_cast<const StateVariable_Core*>(blk->AlgoCore);
    EXPECT_EQ(core->Q, 1.0F);
    blk.run({Vector(64, 1.0F), rig::noise(64)});
    const float word = core->stateBuffer[0];
    EXPECT_NE(word, 0.0F);
    EXPECT_EQ(blk.run({Vector(64, 5.0F), Vector(64)})[0][0], word);  // b0 of the low-pass is 0
    EXPECT_EQ(core->coeffArray[1], 1.0F - core->w0 / 5.0F);
    blk.update();
    EXPECT_EQ(Vector(core->stateBuffer, core->stateBuffer + 6), Vector(6));
    EXPECT_EQ(core->Q, 5.0F);
    blk.set({0});  // a loop of no gain: nothing but the high-pass
    const auto bands = blk.run({Vector(64, 5.0F), rig::noise(64)});
    EXPECT_EQ(bands[0], Vector(64));
    EXPECT_EQ(bands[2], Vector(64));
}

TEST(StateVariable, OneRightCountOfPinsIsEnough)
{
    const auto x = rig::noise(192), other = rig::noise(192, 2);
    const auto whole = rig::Rig(EN_FILTER_MISCE_STATEVARIABLE, 1, 3).run({x});
    EXPECT_EQ(rig::Rig(EN_FILTER_MISCE_STATEVARIABLE, 1, 1).run({x})[0], whole[0]);
    EXPECT_EQ(rig::Rig(EN_FILTER_MISCE_STATEVARIABLE, 4, 3).run({x, other, other, other}), whole);
    EXPECT_EQ(rig::Rig(EN_FILTER_MISCE_STATEVARIABLEQ, 1, 3).run({x})[1], Vector(192));
}
