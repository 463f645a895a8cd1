// SPDX-License-Identifier: Apache-2.0
// Graphical and text equaliser: the response of every band, switches, band counts, and filtering.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/filters.h"
#include "support/rig.h"

namespace {

using Vector = std::vector<float>;

// Three bands, one of them switched off, in either block's layout.
const struct Case {
    int type;
    Vector vector;
    int stride;
    std::size_t middle_flag;
} kCases[] = {
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

TEST(Equaliser, FiltersLikeItsBandsInARow)
{
    for (const Case& c : kCases) {
        rig::Rig blk(c.type, 3, 3);
        blk.set(c.vector);
        blk->pStateB[2 * (1 * 3 + 1)] = 0.25F;  // a word of channel 1, band 1
        const auto signal = std::vector{rig::noise(640, 1), rig::noise(640, 2), rig::noise(640, 3)};
        const auto out = blk.run(signal);
        for (std::size_t ch = 0; ch < 3; ++ch) {
            std::vector<double> expected(signal[ch].begin(), signal[ch].end());
            for (const std::size_t band : {0U, 2U})
                expected = rig::filtered({blk->pState + 5 * band, 5}, expected);
            for (std::size_t i = 0; i < expected.size(); ++i)
                ASSERT_NEAR(out[ch][i], expected[i], 2e-5);  // some hundred roundings of 2^-24, of sums below 4
        }
        // A switched-off band keeps its words until the next set.
        EXPECT_EQ(blk->pStateB[8], 0.25F) << c.type;
        EXPECT_NE(blk->pStateB[16], 0.0F) << c.type;
        blk.update();
        EXPECT_EQ(Vector(blk->pStateB, blk->pStateB + 18), Vector(18)) << c.type;
    }
}

TEST(Equaliser, UpdateDesignsWhatIsStored)
{
    for (const Case& c : kCases) {
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
    for (const Case& c : kCases) {
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

TEST(Equaliser, ABandsOwnGainComesLast)
{
    float plain[5], scaled[5];
    for (float fc = 40; fc < 20000; fc *= 1.3F) {
        calculateTextEQCoeffs(plain, 48000, Text_LP, fc, 0.8F, 4.3F, 0);
        calculateTextEQCoeffs(scaled, 48000, Text_LP, fc, 0.8F, 4.3F, -2.7F);
        EXPECT_EQ(scaled[0], plain[0] * std::pow(10.0F, -2.7F / 20)) << fc;
    }
}
