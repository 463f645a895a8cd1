// SPDX-License-Identifier: Apache-2.0
// Designed sections against their analog prototypes, in double precision and under the prewarped bilinear transform.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/filters.h"
#include "vantoro.h"

namespace {

using Complex = std::complex<double>;
using Section = std::vector<float>;
using rig::db, rig::kPi;
constexpr double kRoot2 = std::numbers::sqrt2, kRoot3 = std::numbers::sqrt3;
const double kBase = std::log(2.72);  // first-order poles are powers of 2.72

double linear(double level_db) { return std::pow(10.0, level_db / 20.0); }

// (b2 s^2 + b1 s + b0) / (a2 s^2 + a1 s + a0), corner at 1 rad/s.
struct Analog {
    double b2, b1, b0, a2, a1, a0;
    Complex operator()(Complex s) const { return ((b2 * s + b1) * s + b0) / ((a2 * s + a1) * s + a0); }
    Analog mirrored() const { return {b0, b1, b2, a0, a1, a2}; }
};

// A stored section (b0, b1, a1, b2, a2) at w rad per sample.
struct Response {
    Complex value;
    double blur;  // what single precision may do to it, relatively
};
Response response(const Section& c, double w)
{
    const Complex z = std::polar(1.0, -w);
    const Complex numerator = double{c[0]} + z * (double{c[1]} + z * double{c[3]});
    const Complex denominator = 1.0 + z * (double{c[2]} + z * double{c[4]});
    // A few roundings of 2^-24, of sums as large as 1 and as the coefficients. They count where a response cancels:
    // near a zero, and at low corners.
    const double blur = (1.0 + std::abs(c[0]) + std::abs(c[1]) + std::abs(c[3])) / std::abs(numerator) +
                        (1.0 + std::abs(c[2]) + std::abs(c[4])) / std::abs(denominator);
    return {numerator / denominator, 3.0 * std::exp2(-24.0) * blur};
}

// Magnitude and phase from a tenth of the corner to ten times it, wherever the prototype is above -80 dB.
void expect_prototype(const Section& coeff, double corner_w, double gain_db, const Analog& prototype)
{
    for (int step = -20; step <= 20; ++step) {
        const double w = corner_w * std::pow(10.0, step / 20.0);
        if (w > 0.98 * kPi)
            break;
        const Complex expected = linear(gain_db) * prototype({0.0, std::tan(w / 2.0) / std::tan(corner_w / 2.0)});
        if (db(expected) < -80.0)
            continue;
        const Response found = response(coeff, w);
        // 0.001 is 0.009 dB, or 0.06 degrees.
        ASSERT_LT(std::abs(found.value / expected - 1.0), 0.001 + found.blur) << "at " << w / corner_w << " corners";
    }
}

struct Request {
    double w, fc, rate, fourth, boost_db;
    double octaves() const { return 2.0 * std::sinh(std::numbers::ln2 / 2.0 * fourth * w / std::sin(w)); }
    double all_pass() const { return 2.0 * std::tan(std::min(kPi * fc / fourth / rate, 0.475 * kPi)) / std::sin(w); }
    double resonance() const { return 2.0 * std::tan(w / fourth / 2.0) / std::sin(w); }
};
using R = const Request&;

Analog low_pass(double inverse_q) { return {0, 0, 1, 1, inverse_q, 1}; }
Analog band_pass(double inverse_q) { return {0, inverse_q, 0, 1, inverse_q, 1}; }
Analog notch(double inverse_q) { return {1, 0, 1, 1, inverse_q, 1}; }
Analog all_pass(double inverse_q) { return {1, -inverse_q, 1, 1, inverse_q, 1}; }
Analog peaking(R r)
{
    const double A = linear(r.boost_db / 2.0);
    return {1, A / r.fourth, 1, 1, 1 / A / r.fourth, 1};
}
Analog low_shelf(R r)
{
    const double A = linear(r.boost_db / 2.0);
    const double root = std::sqrt(A * std::max((A + 1.0 / A) * (1.0 / r.fourth - 1.0) + 2.0, 0.0));
    return {A, A * root, A * A, A, root, 1};
}
// 1 + epsilon^2 T_2^2 factored by hand: s^2 + s sqrt(2) sinh m + (cosh 2m) / 2, m = asinh(1 / epsilon) / 2.
Analog chebyshev(R r)
{
    const double m = std::asinh(1.0 / std::sqrt(std::pow(10.0, r.fourth / 10.0) - 1.0)) / 2.0;
    const double end = std::cosh(2.0 * m) / 2.0;
    return {0, 0, linear(-r.fourth) * end, 1, kRoot2 * std::sinh(m), end};
}

const std::vector<float> kQ = {0.5F, 0.7F, 4, 16}, kSlope = {0.1F, 1, 2}, kOctaves = {0.1F, 1, 5},
                         kRipple = {0.1F, 1, 10};
const struct {
    const std::vector<float>& fourths;
    Analog (*prototype)(R);
} kGeneral[] = {
    {kQ, peaking},
    {kSlope, low_shelf},
    {kSlope, [](R r) { return low_shelf(r).mirrored(); }},
    {kQ, [](R r) { return low_pass(1 / r.fourth); }},
    {kQ, [](R r) { return low_pass(1 / r.fourth).mirrored(); }},
    {kOctaves, [](R r) { return band_pass(r.octaves()); }},
    {kOctaves, [](R r) { return notch(r.octaves()); }},
    {kQ, [](R r) { return all_pass(r.all_pass()); }},
    {kQ, [](R r) { return band_pass(r.resonance()); }},
    {kQ, [](R r) { return notch(1 / r.fourth); }},
    {kRipple, chebyshev},
    {kRipple, [](R r) { return chebyshev(r).mirrored(); }},
    {kQ, [](R) { return low_pass(kRoot3); }},
    {kQ, [](R) { return low_pass(kRoot3).mirrored(); }},
    {kQ, [](R) { return low_pass(kRoot2); }},
    {kQ, [](R) { return low_pass(kRoot2).mirrored(); }},
};

template <class Body>
void at_every_corner(Body body)
{
    for (const int rate : {44100, 48000, 192000})
        for (const float fc : {20.0F, 150.0F, 1000.0F, 0.1F * float(rate), 0.25F * float(rate), 0.45F * float(rate)}) {
            SCOPED_TRACE(testing::Message() << "rate " << rate << " fc " << fc);
            body(rate, fc, 2.0 * kPi * fc / rate);
            if (testing::Test::HasFatalFailure())
                return;
        }
}

}  // namespace

TEST(SecondOrderDesign, EveryResponseIsItsPrototype)
{
    for (int type = Gen_Param; type <= Gen_Butter_HP; ++type) {
        SCOPED_TRACE(type);
        at_every_corner([&](int rate, float fc, double w) {
            for (const float fourth : kGeneral[type].fourths)
                for (const float boost : {-18.0F, 6.0F}) {
                    const Request r = {w, fc, double(rate), fourth, boost};
                    if (type == Gen_Peaking && w / fourth > 3.0)
                        continue;  // its tangent leaves the first branch
                    const Section coeff =
                        rig::designed(EN_FILTER_2ND_GENERAL, {1, 0, float(type), -6, fc, fourth, boost}, rate);
                    expect_prototype(coeff, w, -6, kGeneral[type].prototype(r));
                }
        });
    }
}

TEST(SecondOrderDesign, FamiliesNumberTheSameResponsesTheirWay)
{
    const std::pair<int, std::vector<int>> families[] = {
        {EN_FILTER_2ND_PARAM_SHELF, {Gen_Param, Gen_LS, Gen_HS}},
        {EN_FILTER_2ND_COMMON,
         {Gen_LP, Gen_HP, Gen_BP, Gen_BS, Gen_APF, Gen_Peaking, Gen_Notvh, Gen_Cheby_LP, Gen_Cheby_HP}},
        {EN_FILTER_2ND_BESSEL_BUTTER, {Gen_Bessel_LP, Gen_Bessel_HP, Gen_Butter_LP, Gen_Butter_HP}},
    };
    for (const auto& [type, responses] : families)
        for (std::size_t k = 0; k < responses.size(); ++k)
            EXPECT_EQ(rig::designed(type, {1, 0, float(k), 3, 700, 1.3F, -5}, 48000),
                      rig::designed(EN_FILTER_2ND_GENERAL, {1, 0, float(responses[k]), 3, 700, 1.3F, -5}, 48000))
                << type << " response " << k;
}

TEST(SecondOrderDesign, CornersUpToHalfTheRateGiveNumbers)
{
    for (int type = Gen_Param; type <= Gen_Butter_HP; ++type)
        for (const float fc : {0.0F, 1e-6F, 23000.0F, 23999.0F, 24000.0F})
            for (const float fourth : {0.01F, 0.7F, 16.0F})
                for (const float c :
                     rig::designed(EN_FILTER_2ND_GENERAL, {1, 0, float(type), 0, fc, fourth, 12}, 48000))
                    EXPECT_TRUE(std::isfinite(c)) << type << " at " << fc << ", " << fourth;
}

// A band's width follows the formula up to where sinh overflows; beyond, it gives numbers.
TEST(SecondOrderDesign, BandsWidenUpToTheEndOfSinh)
{
    for (const float fc : {22940.0F, 23000.0F}) {
        const double w = 2 * kPi * fc / 48000, arg = 3.8123095 * w / std::sin(w);
        EXPECT_GT(arg, 80.0);
        // The last bit of w is 1e-6 of its sine: 9e-5 of the exponential.
        const double b0 = rig::designed(EN_FILTER_2ND_GENERAL, {1, 0, Gen_BS, 0, fc, 11, 0}, 48000)[0];
        EXPECT_NEAR(b0 * (1 + std::sin(w) * std::sinh(arg)), 1.0, 5e-4);
    }
}

// The poles of low-, high- and all-pass lie at 2.72^-w, so they meet the prototype at a corner of tanh instead of tan.
TEST(FirstOrderDesign, EveryResponseIsItsPrototype)
{
    at_every_corner([&](int rate, float fc, double w) {
        const double x = std::tan(w / 2.0) / std::tanh(kBase * w / 2.0), V = linear(-10), v = std::sqrt(V);
        const Analog prototypes[] = {
            {0, 0, 1, 0, x, 1}, {0, x, 0, 0, x, 1}, {0, -x, 1, 0, x, 1}, {0, v, V, 0, v, 1}, {0, V, v, 0, 1, v}};
        for (int type = LP1st; type <= HS1st; ++type) {
            SCOPED_TRACE(type);
            Section coeff(5), vector = {1, 0, float(type), 6, fc, -10};
            FirstOrder_Core core = {1, 0, coeff.data(), nullptr};
            calculateFilter1stCoeffs(&core, vector.data(), rate);
            expect_prototype(coeff, w, 6, prototypes[type]);
            if (type >= LS1st) {  // the same shelves as a section of the second order
                EXPECT_EQ(coeff, rig::designed(EN_FILTER_1ST, {1, 0, float(type - LS1st), 6, fc, 0, -10}, rate));
            }
        }
    });
}

TEST(FilterDesign, MeetsTheIdealMagnitude)
{
    float ba[kFilterDesignSize];
    for (int order = 2; order <= 4; ++order)
        for (int algorithm = kDesignButterworth; algorithm <= kDesignChebyshev; ++algorithm)
            for (const int kind : {kDesignLowPass, kDesignHighPass})
                for (const float wn : {0.01F, 0.1F, 0.5F, 0.9F}) {
                    filter_design(order, 0.5F, wn, algorithm, kind, ba);
                    for (const double ratio : {0.05, 0.3, 0.7, 0.9, 1.0, 1.1, 1.5, 3.0, 8.0}) {
                        const double W = kind == kDesignHighPass ? 1.0 / ratio : ratio;
                        const double expected = rig::ideal_power(order, algorithm, 0.5, W);
                        if (expected < 1e-8)
                            continue;
                        const double w = 2.0 * std::atan(std::tan(kPi * wn / 2) * ratio);
                        double found = db(ba[kFilterDesignGain]), blur = 0.01;
                        for (const float* s = ba; s < ba + 4 * ((order + 1) / 2); s += kFilterDesignStride) {
                            const Response r = response({1, s[0], s[2], s[1], s[3]}, w);
                            found += db(r.value);
                            blur += 8.686 * r.blur;
                        }
                        EXPECT_NEAR(found, 10.0 * std::log10(expected), blur)
                            << order << algorithm << kind << " " << wn << " " << ratio;
                    }
                }
}

TEST(FilterDesign, AnswersEverythingWithNumbers)
{
    const auto is_finite = [](float v) { return std::isfinite(v); };
    float ba[kFilterDesignSize];
    for (int order = 1; order <= 5; ++order)
        for (int algorithm = -1; algorithm <= 3; ++algorithm)
            for (const int kind : {0, 1, 2})
                for (const float wn : {-1.0F, 0.0F, 1e-30F, 1.0F, 2.0F, NAN})
                    for (const float ripple : {-1.0F, 1e-45F, 3.0F, 1e30F, INFINITY, NAN}) {
                        filter_design(order, ripple, wn, algorithm, kind, ba);
                        EXPECT_TRUE(std::ranges::all_of(ba, is_finite)) << order << algorithm << kind << " " << wn;
                        const bool refused = order < 2 || order > 4 || algorithm < 0 || algorithm > 2 || kind > 1 ||
                                             (algorithm == kDesignChebyshev && !(ripple > 0));
                        if (refused) {
                            EXPECT_EQ(std::ranges::count(ba, 0.0F), 16);
                            EXPECT_EQ(ba[kFilterDesignGain], 1.0F);
                        }
                    }
}
