// SPDX-License-Identifier: Apache-2.0
// Graphical and text equaliser: the shape of every band, switches, band counts, and filtering.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

#include "support/rig.h"

namespace {

using Vector = std::vector<float>;
constexpr double kPi = std::numbers::pi;
constexpr float kFs = 48000.0F;

double level_db(const float* c, double hz)
{
    const auto z = std::polar(1.0, -2.0 * kPi * hz / static_cast<double>(kFs));
    const auto at = [&](double a, double b, double d) { return std::abs(a + z * (b + z * d)); };
    return 20.0 * std::log10(at(c[0], c[1], c[3]) / at(1.0, c[2], c[4]));
}

Vector joined(float count, std::initializer_list<Vector> bands)
{
    Vector vector = {count};
    for (const Vector& band : bands)
        for (float v : band)
            vector.push_back(v);
    return vector;
}

// Three bands, one of them switched off, in either block's layout.
const struct Case {
    int type;
    Vector vector;
    std::size_t stride, flag;
    float off;
} kCases[] = {
    {EN_FILTER_GRAPHICAL_EQ, joined(3, {{500, 6, 2, 0, 0}, {1000, 6, 1, 4, 1}, {4000, -9, 1, 2, 0}}), kFilterParamSize,
     kFilterBypass, 1},
    {EN_FILTER_TEXTEQ, joined(3, {{1, 0, 0, 6, 500, 2, -2}, {0, 0, 8, 0, 900, 1, 0}, {1, 1, 11, 6, 3000, 1, 3}}),
     kTextFilterParamSize, kTextFilterEnable, 0},
};

const Vector* coeffs(rig::Rig& blk, Vector& store, std::size_t bands)
{
    store.assign(blk->pState, blk->pState + 5 * bands);
    return &store;
}

}  // namespace

// Levels in dB at frequencies where a shape is known without its formula: at the corner, at 0 Hz and at half the rate.
TEST(EqualiserBand, ShapesAreWhereTheyBelong)
{
    constexpr double kOff = 1e9;  // not looked at
    const struct {
        bool text;
        int type;
        float q, boost, gain;
        double at_0, at_corner, at_end;
    } rows[] = {
        {false, GraphicalEQ_Param, 2, 9, 0, 0, 9, 0},
        {false, GraphicalEQ_Param, 2, -60, 0, 0, -50, 0},
        {false, GraphicalEQ_LS, 1, 9, 0, 9, 4.5, 0},
        {false, GraphicalEQ_HS, 1, 9, 0, 0, 4.5, 9},
        {false, GraphicalEQ_LS, 2, 9, 0, 9, 4.5, 0},
        {false, GraphicalEQ_LP, 2, 6, 0, 6, 6 + 6.0206, kOff},
        {false, GraphicalEQ_HP, 2, 6, 0, kOff, 6 + 6.0206, 6},
        {false, GraphicalEQ_LP, 100, 0, 0, 0, 24.0824, kOff},  // held to a Q of 16
        {false, GraphicalEQ_BUTTER_LP, 9, 9, 0, 0, -3.0103, kOff},
        {false, GraphicalEQ_BUTTER_HP, 9, 9, 0, kOff, -3.0103, 0},
        {false, GraphicalEQ_BESSEL_LP, 9, 9, 0, 0, -4.7712, kOff},
        {false, GraphicalEQ_BESSEL_HP, 9, 9, 0, kOff, -4.7712, 0},
        {true, Text_Param, 2, 9, -6, -6, 3, -6},
        {true, Text_LS2nd, 1, 9, 2, 11, 6.5, 2},
        {true, Text_HS2nd, 1, -9, 0, 0, -4.5, -9},
        {true, Text_LP, 0.5, 6, 1, 7, 7 - 6.0206, kOff},
        {true, Text_HP, 0.5, 6, 1, kOff, 7 - 6.0206, 7},
        {true, Text_BP, 2, 6, 1, kOff, 1, kOff},  // a band-pass has no boost
        {true, Text_BS, 2, 6, 1, 1, kOff, 1},
        {true, Text_APF, 2, 6, 1, 1, 1, 1},
        {true, Text_Peaking, 4, 6, 1, kOff, 1, kOff},
        {true, Text_Notch, 4, 6, 1, 1, kOff, 1},
        {true, Text_LS1st, 1, 9, 1, 10, 5.5, 1},
        {true, Text_HS1st, 1, 9, -1, -1, 3.5, 8},
    };
    for (const auto& row : rows)
        for (const float fc : {250.0F, 3000.0F, 10000.0F}) {
            SCOPED_TRACE(testing::Message() << (row.text ? "text " : "graphical ") << row.type << " at " << fc);
            float c[5];
            if (row.text)
                calculateTextEQCoeffs(c, kFs, row.type, fc, row.q, row.boost, row.gain);
            else
                calculateEQCoeffs(c, kFs, row.type, fc, row.q, row.boost);
            // At 250 Hz numerator and denominator cancel to 1e-3 at 0 Hz: single precision leaves some 1e-4 of that.
            const double tolerance = fc < 1000.0F ? 0.01 : 0.002;
            for (const auto& [hz, expected] :
                 {std::pair{0.0, row.at_0}, {static_cast<double>(fc), row.at_corner}, {kFs / 2.0, row.at_end}})
                if (expected != kOff) {
                    EXPECT_NEAR(level_db(c, hz), expected, tolerance) << hz;
                }
        }
}

TEST(EqualiserBand, BandwidthIsBetweenItsHalfPowerPoints)
{
    float pass[5], stop[5];
    calculateTextEQCoeffs(pass, kFs, Text_BP, 1000, 1, 0, 0);
    calculateTextEQCoeffs(stop, kFs, Text_BS, 1000, 1, 0, 0);
    for (const double hz : {1000.0 * std::sqrt(0.5), 1000.0 * std::sqrt(2.0)}) {
        EXPECT_NEAR(level_db(pass, hz), -3.01, 0.03);  // the published form bends octaves a little at 1 kHz
        EXPECT_NEAR(level_db(stop, hz), -3.01, 0.03);
    }
    EXPECT_LT(level_db(stop, 1000.0), -70.0);
}

TEST(Equaliser, FiltersLikeItsBandsInARow)
{
    for (const Case& c : kCases)
        for (const int channels : {1, 2, 3, 5, 8}) {
            rig::Rig blk(c.type, channels, channels);
            blk.set(c.vector);
            Vector store;
            const float* coeff = coeffs(blk, store, 3)->data();
            std::vector<Vector> signal;
            for (int ch = 0; ch < channels; ++ch)
                signal.push_back(rig::noise(640, static_cast<unsigned>(ch + 1)));
            const auto out = blk.run(signal);
            for (std::size_t ch = 0; ch < out.size(); ++ch) {
                double s[3][2] = {};
                for (std::size_t i = 0; i < 640; ++i) {
                    double y = signal[ch][i];
                    for (const int k : {0, 2}) {
                        const float* b = coeff + 5 * k;
                        const double x = y;
                        y = b[0] * x + s[k][0];
                        s[k][0] = b[1] * x - b[2] * y + s[k][1];
                        s[k][1] = b[3] * x - b[4] * y;
                    }
                    ASSERT_NEAR(out[ch][i], y, 2e-5);  // some hundred roundings of 2^-24, of sums below 4
                }
            }
            // Render is one channel of process.
            if (c.type == EN_FILTER_TEXTEQ && channels == 2) {
                rig::Rig one(c.type, 2, 2);
                one.set(c.vector);
                Vector buffer = signal[1];
                TextEQ_Render(static_cast<TextEQ_Core*>(one->AlgoCore), buffer.data(), buffer.data(), 640, 1);
                EXPECT_EQ(buffer, out[1]);
            }
        }
}

TEST(Equaliser, ASwitchedOffBandKeepsItsWordsUntilTheNextSet)
{
    for (const Case& c : kCases) {
        rig::Rig blk(c.type, 2, 2);
        blk.set(c.vector);
        blk->pStateB[2 * (1 * 3 + 1)] = 0.25F;  // channel 1, band 1
        blk.run({rig::noise(640, 1), rig::noise(640, 2)});
        EXPECT_EQ(blk->pStateB[8], 0.25F) << c.type;
        EXPECT_NE(blk->pStateB[6], 0.0F) << c.type;
        blk.update();
        EXPECT_EQ(Vector(blk->pStateB, blk->pStateB + 12), Vector(12)) << c.type;
    }
}

TEST(Equaliser, UpdateDesignsWhatIsStored)
{
    for (const Case& c : kCases) {
        rig::Rig edited(c.type, 1, 1), set(c.type, 1, 1);
        edited.set(c.vector);
        Vector vector = c.vector;
        vector[1 + c.stride + c.flag] = 1.0F - c.off;  // the middle band on
        edited->pParam[1 + c.stride + c.flag] = 1.0F - c.off;
        edited.update();
        set.set(vector);
        const auto with = set.run({rig::noise(128)});
        EXPECT_EQ(edited.run({rig::noise(128)}), with) << c.type;
        set.set(c.vector);
        EXPECT_NE(set.run({rig::noise(128)}), with) << c.type;
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
            many.insert(many.end(), c.vector.begin() + 1, c.vector.begin() + 1 + static_cast<long>(c.stride));
        blk.set(many);
        Vector store;
        for (std::size_t k = 1; k < 40; ++k)
            ASSERT_EQ(Vector(blk->pState + 5 * k, blk->pState + 5 * k + 5), Vector(blk->pState, blk->pState + 5));
        EXPECT_NE(blk.run(signal), signal);
        // The block's own vector, edited to have fewer bands, may come back as the new one.
        blk->pParam[0] = 3;
        BlockAlgo_param_reset(blk.block(), blk->pParam);
        EXPECT_EQ(Vector(blk->pParam, blk->pParam + 2), (Vector{3, many[1]}));
    }
}

TEST(Equaliser, WithoutMemoryTheOldBandsGoOn)
{
    for (const Case& c : kCases)
        for (long k = 0; k < 5; ++k) {
            rig::Rig blk(c.type, 1, 1), twin(c.type, 1, 1);
            blk.run({rig::noise(64)});
            twin.run({rig::noise(64)});
            Vector vector = c.vector;
            vector.resize(1 + 9 * c.stride);
            vector[0] = 9;
            rig::Allocator::fail_at(k);
            EXPECT_EQ(BlockAlgo_param_reset(blk.block(), vector.data()), RT_ERR_MALLOC) << k;
            rig::Allocator::fail_never();
            EXPECT_EQ(blk.run({rig::noise(64, 3)}), twin.run({rig::noise(64, 3)})) << c.type << ", " << k;
        }
}

TEST(Equaliser, ReportsInItsOwnWords)
{
    BlockPro pro = {48000, 16, 64, 0, 0};
    rig::Log log;
    EXPECT_EQ(GraphicalEQ_init(0, 0, &pro, EN_FILTER_GRAPHICAL_EQ), nullptr);
    EXPECT_EQ(GraphicalEQ_init(1, 2, &pro, EN_FILTER_GRAPHICAL_EQ), nullptr);
    EXPECT_EQ(TextEQ_init(1, 2, &pro, EN_FILTER_TEXTEQ), nullptr);
    EXPECT_TRUE(rig::Rig(EN_FILTER_TEXTEQ, 0, 0));
    rig::Rig(EN_FILTER_GRAPHICAL_EQ, 1, 1).invoke();
    EXPECT_EQ(log.messages(), (std::vector<std::string>{
                                  "wrong input pin number in GraphicalEQ\n", "wrong input pin number in GraphicalEQ\n",
                                  "wrong input pin number in TextEQ\n", "graphical eq param: \n\n"}));
}

TEST(EqualiserDeathTest, UnknownBandTypesEndTheProcess)
{
    const auto status = testing::ExitedWithCode(255);
    const auto set = [](int type, const Vector& vector) { rig::Rig(type, 1, 1).set(vector); };
    EXPECT_EXIT(set(EN_FILTER_GRAPHICAL_EQ, {1, 1000, 0, 1, 9, 0}), status,
                "calculateEQCoeffs.*ErrorXXX: You should choose a filter type!");
    EXPECT_EXIT(set(EN_FILTER_TEXTEQ, {1, 1, 0, 12, 0, 1000, 1, 0}), status,
                "calculateTextEQCoeffs.*ErrorXXX: You should choose a filter type!");
    EXPECT_EXIT(set(EN_FILTER_TEXTEQ, {1, 0, 0, -1, 0, 1000, 1, 0}), status, "ErrorXXX");  // also when switched off
}

TEST(Equaliser, ABandsOwnGainComesLast)
{
    float plain[5], scaled[5];
    for (float fc = 40; fc < 20000; fc *= 1.3F) {
        calculateTextEQCoeffs(plain, kFs, Text_LP, fc, 0.8F, 4.3F, 0);
        calculateTextEQCoeffs(scaled, kFs, Text_LP, fc, 0.8F, 4.3F, -2.7F);
        EXPECT_EQ(scaled[0], plain[0] * std::pow(10.0F, -2.7F / 20)) << fc;
    }
}
