// SPDX-License-Identifier: Apache-2.0
// Crossovers: designs against their prototypes, sums of bands, pins, and what a change of type does to the state.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

#include "support/rig.h"

namespace {

using Vector = std::vector<float>;
using Complex = std::complex<double>;
constexpr double kPi = std::numbers::pi, kRate = 48000.0;

double db(Complex h) { return 20.0 * std::log10(std::abs(h)); }

// The response at `hz` of what a block answers to an impulse.
Complex spectrum(const Vector& answer, double hz)
{
    Complex sum = 0.0;
    for (std::size_t i = 0; i < answer.size(); ++i)
        sum += static_cast<double>(answer[i]) * std::polar(1.0, -2.0 * kPi * hz / kRate * static_cast<double>(i));
    return sum;
}

std::vector<Vector> impulse(int pins, std::size_t samples)
{
    std::vector<Vector> signal(static_cast<std::size_t>(pins), Vector(samples));
    for (Vector& pin : signal)
        pin[0] = 1.0F;
    return signal;
}

// Low-pass denominators by falling powers of s; the Bessel ones from the Bessel polynomials, scaled to a product of the
// poles of 1. `times`: the filter in series with itself.
struct Prototype {
    std::vector<double> denominator;
    int times;
    Complex low(Complex s) const
    {
        Complex sum = 0.0;
        for (double c : denominator)
            sum = sum * s + c;
        return std::pow(1.0 / sum, times);
    }
};
const double kRoot2 = std::sqrt(2.0), kBessel3 = std::cbrt(15.0), kBessel4 = std::pow(105.0, 0.25);
const std::vector<double> kButter2 = {1, kRoot2, 1}, kButter3 = {1, 2, 2, 1},
                          kButter4 = {1, 2.6131259297527530, 2 + kRoot2, 2.6131259297527530, 1};
const Prototype kPrototypes[] = {
    {{1, 2, 1}, 1},
    {kButter2, 1},
    {{1, std::sqrt(3.0), 1}, 1},
    {kButter3, 1},
    {{1, 6 / kBessel3, 15 / kBessel3 / kBessel3, 1}, 1},
    {kButter2, 2},
    {kButter4, 1},
    {{1, 10 / kBessel4, 45 / kBessel4 / kBessel4, 105 / std::pow(kBessel4, 3.0), 1}, 1},
    {kButter3, 2},
    {kButter4, 2},
};

Vector two_way(float type, float fc, float polarity) { return {type, fc, 0, type, fc, 0, polarity}; }

int sections_of(int type) { return type <= 2 ? 1 : type <= 7 ? 2 : 4; }

}  // namespace

TEST(Crossover, EveryTypeIsItsPrototype)
{
    for (int type = LR12; type <= LR48; ++type)
        for (const double fc : {300.0, 2000.0, 9000.0}) {
            SCOPED_TRACE(testing::Message() << "type " << type << " at " << fc);
            rig::Rig blk(EN_FILTER_CROSSOVER_2WAY, 1, 2, {.block = 8192});
            const auto t = static_cast<float>(type), f = static_cast<float>(fc);
            blk.set({t, f, 6, t, f, -3, 0});
            const auto bands = blk.run(impulse(1, 8192));
            const Prototype& prototype = kPrototypes[type];
            for (double hz = fc / 8.0; hz < std::min(8.0 * fc, 0.49 * kRate); hz *= 1.3) {
                const Complex s = Complex(0.0, std::tan(kPi * hz / kRate) / std::tan(kPi * fc / kRate));
                const Complex low = prototype.low(s), high = prototype.low(1.0 / s);
                // Series of a filter with itself carry the gain twice, where the gain is of each of them.
                const double times = prototype.times;
                // Coefficients near 1 and 2 are rounded to 2^-24, as every sum is; in the response they stand against
                // the square of the distance from 0 Hz, once per section.
                const double w = 2.0 * kPi * std::min(hz, fc) / kRate;
                const double tolerance = 0.005 + 8.686 * sections_of(type) * std::exp2(-21.0) / (w * w);
                if (db(low) > -80.0) {
                    EXPECT_NEAR(db(spectrum(bands[0], hz)), db(low) + 6.0 * times, tolerance) << hz;
                }
                if (db(high) > -60.0) {
                    EXPECT_NEAR(db(spectrum(bands[1], hz)), db(high) - 3.0 * times, tolerance) << hz;
                }
            }
        }
}

TEST(Crossover, LinkwitzRileyPairsSumFlat)
{
    for (const auto& [type, polarity] : {std::pair{LR12, 1.0F}, {LR24, 0.0F}, {LR36, 1.0F}, {LR48, 0.0F}}) {
        rig::Rig blk(EN_FILTER_CROSSOVER_2WAY, 1, 2, {.block = 8192});
        blk.set(two_way(static_cast<float>(type), 700, polarity));
        const auto bands = blk.run(impulse(1, 8192));
        for (double hz = 20.0; hz < 24000.0; hz *= 1.3)
            // 1.4142 for the root of 2, twice: 0.0002 dB; the rest is single precision.
            EXPECT_NEAR(db(spectrum(bands[0], hz) + spectrum(bands[1], hz)), 0.0, 0.003) << type << " at " << hz;
    }
}

TEST(Crossover, EveryChannelHasItsBandsInOrder)
{
    rig::Rig stereo(EN_FILTER_CROSSOVER_3WAY, 2, 6), left(EN_FILTER_CROSSOVER_3WAY, 1, 3),
        crossed(EN_FILTER_CROSSOVER_3WAY, 2, 6);
    const Vector vector = {LR48, 500, 0, Bessel18, 4000, 2, Butter12, 4000, LR36, 500, -1, 1, 1};
    for (rig::Rig* blk : {&stereo, &left, &crossed})
        blk->set(vector);
    crossed.alias(0, 1);  // the first low band into the second input
    crossed.alias(4, 0);
    const auto signal = std::vector{rig::noise(640, 1), rig::noise(640, 2)};
    const auto six = stereo.run(signal), one = left.run({signal[1]});
    EXPECT_EQ(std::vector(six.begin() + 3, six.end()), one);
    EXPECT_EQ(crossed.run(signal), six);

    // Polarity turns low and mid, never high.
    Vector upright = vector;
    upright[kCrossover3WayPolarity1] = upright[kCrossover3WayPolarity2] = 0;
    left.set(vector);
    rig::Rig plain(EN_FILTER_CROSSOVER_3WAY, 1, 3);
    plain.set(upright);
    rig::Rig turned(EN_FILTER_CROSSOVER_3WAY, 1, 3);
    turned.set(vector);
    auto bands = plain.run({signal[0]});
    const auto others = turned.run({signal[0]});
    for (std::size_t b : {0U, 2U})
        for (float& y : bands[b])
            y = -y;
    EXPECT_EQ(bands, others);
}

TEST(Crossover, BlocksOfAnySizeGiveTheSameBits)
{
    const auto signal = std::vector{rig::noise(3 * 257, 5), rig::noise(3 * 257, 6), rig::noise(3 * 257, 7)};
    std::vector<Vector> whole;
    for (const int block : {771, 257, 3, 1}) {
        rig::Rig blk(EN_FILTER_CROSSOVER_3WAY, 3, 9, {.block = block});
        blk.set({LR48, 100, 0, LR12, 4000, 2, LR36, 4000, LR24, 100, -1, 1, 0});
        const auto bands = blk.run(signal);
        if (whole.empty())
            whole = bands;
        EXPECT_EQ(bands, whole) << block;
    }
}

TEST(Crossover, ANewTypeKeepsTheWordsItHasAndAddsSilence)
{
    rig::Rig blk(EN_FILTER_CROSSOVER_2WAY, 2, 4);
    blk.set(two_way(LR12, 700, 0));
    blk.run({rig::noise(64, 1), rig::noise(64, 2)});
    const auto* core = static_cast<const Crossover2Way_Core*>(blk->AlgoCore);
    const Vector before(core->stateArray, core->stateArray + 8);
    for (const int type : {int{LR48}, 11, -3}) {  // unknown types reserve by their number
        blk.set({static_cast<float>(type), 700, 0, LR12, 700, 0, 2});
        EXPECT_EQ(core->sos_low, sections_of(type));
        EXPECT_EQ(core->sos_high, 1);
        EXPECT_EQ(core->invert1, 2);
        EXPECT_EQ(core->stateArray, blk->pStateC);
        EXPECT_EQ(core->coeffArray, blk->pStateB);
        const auto words = static_cast<std::size_t>(4 * (core->sos_low + 1));
        Vector expected = before;
        expected.resize(words);
        EXPECT_EQ(Vector(core->stateArray, core->stateArray + words), expected) << type;
    }
}

TEST(Crossover, UnknownTypesWriteNothing)
{
    rig::Log log;
    Vector coeff(20, 7.0F), ba(17, 7.0F);
    const Vector untouched = coeff;
    for (const int type : {-1, 10}) {
        calculateLP(coeff.data(), ba.data(), 48000, type, 1000, 1);
        calculateHP(coeff.data(), ba.data(), 48000, type, 1000, 1);
    }
    EXPECT_EQ(coeff, untouched);
    rig::Rig blk(EN_FILTER_CROSSOVER_2WAY, 1, 2);
    blk.set(two_way(LR12, 700, 0));
    blk.set({100, 700, 0, LR12, 700, 0, 0});  // four sections: the two of before, then two that are silent
    const auto later = blk.run({rig::noise(64)});
    EXPECT_EQ(later[0], Vector(64));
    EXPECT_TRUE(log.lines().empty());
}

TEST(Crossover, ClampsGainsAndLivesThroughAnyCorner)
{
    for (const int type : {LR12, Bessel12, Butter18, LR24, Bessel24, LR48})
        for (const float fc : {0.0F, 1.0F, 24000.0F}) {
            rig::Rig blk(EN_FILTER_CROSSOVER_3WAY, 1, 3);
            const auto t = static_cast<float>(type);
            blk.set({t, fc, 60, t, fc, -60, t, fc, t, fc, 51, 0, 0});
            EXPECT_EQ(blk->pParam[kCrossover3WayLowGainDB], 50.0F);
            EXPECT_EQ(blk->pParam[kCrossover3WayHighGainDB], -50.0F);
            EXPECT_EQ(blk->pParam[kCrossover3WayMedGainDB], 50.0F);
            const auto* core = static_cast<const Crossover3Way_Core*>(blk->AlgoCore);
            for (int k = 0; k < 20 * sections_of(type); ++k)
                EXPECT_TRUE(std::isfinite(core->coeffArray[k])) << type << " at " << fc;
        }
}

TEST(Crossover, WithoutMemoryTheOldBandsGoOn)
{
    for (long k = 0; k < 2; ++k) {
        rig::Rig blk(EN_FILTER_CROSSOVER_2WAY, 1, 2), twin(EN_FILTER_CROSSOVER_2WAY, 1, 2);
        blk.run({rig::noise(64)});
        twin.run({rig::noise(64)});
        Vector vector = two_way(LR48, 9000, 1);
        rig::Allocator::fail_at(k);
        EXPECT_EQ(BlockAlgo_param_reset(blk.block(), vector.data()), RT_ERR_MALLOC);
        rig::Allocator::fail_never();
        EXPECT_EQ(blk.update(), RT_OK);
        EXPECT_EQ(blk.run({rig::noise(64, 3)}), twin.run({rig::noise(64, 3)}));
    }
}

TEST(Crossover, TakesItsPinsByTheRuleAndTellsItsParameters)
{
    BlockPro pro = {48000, 16, 64, 0, 0};
    rig::Log log;
    EXPECT_EQ(Crossover2Way_init(2, 5, &pro, EN_FILTER_CROSSOVER_2WAY), nullptr);
    EXPECT_EQ(Crossover2Way_init(0, 0, &pro, EN_FILTER_CROSSOVER_2WAY), nullptr);
    EXPECT_EQ(Crossover3Way_init(1, 5, &pro, EN_FILTER_CROSSOVER_3WAY), nullptr);
    EXPECT_EQ(log.messages(), (std::vector<std::string>{"wrong input pin number in Crossover 2Way\n",
                                                        "wrong input pin number in Crossover 2Way\n",
                                                        "wrong input pin number in Crossover 3Way\n"}));
    rig::Rig spare(EN_FILTER_CROSSOVER_3WAY, 2, 7);  // up to 4 n - 1 outputs, of which 3 n are written
    const float before = spare.out(6)[0];
    spare.run({rig::noise(64), rig::noise(64)});
    EXPECT_EQ(rig::bits(spare.out(6)), rig::bits(Vector(64, before)));

    log.clear();
    rig::Rig two(EN_FILTER_CROSSOVER_2WAY, 1, 2);
    two.invoke();
    spare.invoke();
    Crossover2Way_param_invoke(nullptr);
    const auto messages = log.messages();
    ASSERT_EQ(messages.size(), 9U + 15U);
    EXPECT_EQ(messages[0], "Crossover_2way param: \n\n");
    EXPECT_EQ(messages[1], "Low_Type: 5.000000 \n\n");
    EXPECT_EQ(messages[7], "Polarity: 0.000000 \n\n");
    EXPECT_EQ(messages[8], "\n\n");
    EXPECT_EQ(messages[10], "Low_Type: 5 \n\n");
    EXPECT_EQ(messages[18], "Med_Hp_Type: 5 \n\n");
    EXPECT_EQ(messages[22], "Polarity2: 0.000000 \n\n");
}

TEST(Crossover, GainsScaleTheNumeratorBeforeTheDivision)
{
    float coeff[5], ba[17];
    for (float fc = 40; fc < 20000; fc *= 1.3F) {
        calculateHP(coeff, ba, 48000, Butter12, fc, 0.3F);
        const float t = std::tan(static_cast<float>(std::numbers::pi * static_cast<double>(fc)) / 48000);
        EXPECT_EQ(coeff[1], -0.6F / (t * t + 1.4142F * t + 1)) << fc;
    }
}
