// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <complex>
#include <numbers>

#include "math/fast_inline.h"
#include "math/lbx_fastmath.h"
#include "math/lbx_math.h"

namespace {

constexpr double kPi = std::numbers::pi;

template <class Approximation, class Exact>
double worst_error(float from, float to, Approximation approximation, Exact exact)
{
    double worst = 0;
    for (float x = from; x <= to; x += (to - from) / 50021.0F)
        worst = std::max(worst, std::fabs(static_cast<double>(approximation(x)) - exact(static_cast<double>(x))));
    return worst;
}

}  // namespace

TEST(FastMath, LogTableIsTheRoundedSingleLogarithm)
{
    for (int i = 0; i <= 1024; ++i) {
        const auto single = static_cast<double>(static_cast<float>(std::log2(1.0 + i / 1024.0)));
        EXPECT_EQ(lbx::log_table[static_cast<std::size_t>(i)], static_cast<float>(std::round(single * 1e6) / 1e6)) << i;
    }
    EXPECT_EQ(lbx_fast_log2(3.0F), 1.584962F);  // double precision would round to 1.584963
}

TEST(FastMath, ErrorsStayBelowTheStatedOnes)
{
    // One table step is log2(1025 / 1024); beside it stands the rounding to six decimals.
    EXPECT_LT(worst_error(0.01F, 100.0F, lbx_fast_log2, [](double x) { return std::log2(x); }), 0.00141);
    EXPECT_EQ(lbx_fast_log2(0x1p-126F), -126.0F);
    const auto sine = [](double x) { return std::sin(x); };
    const auto cosine = [](double x) { return std::cos(x); };
    EXPECT_LT(worst_error(-6.28F, 30.0F, lbx_fast_sin, sine), 1.7e-4);
    EXPECT_LT(worst_error(-6.28F, 30.0F, lbx_fast_cos, cosine), 1.2e-3);
    EXPECT_FLOAT_EQ(lbx_fast_sin(1.5707964F), 0.9999976F);
    const auto relative = [](auto f, auto exact) {
        return worst_error(
            1e-6F, 1e6F, [=](float x) { return static_cast<double>(f(x)) / exact(static_cast<double>(x)); },
            [](double) { return 1.0; });
    };
    EXPECT_LT(relative(lbx_fast_invsqrtf, [](double x) { return 1 / std::sqrt(x); }), 1.8e-3);
    EXPECT_LT(relative(lbx_fast_sqrtf, [](double x) { return std::sqrt(x); }), 5e-6);
    EXPECT_EQ(lbx_fast_sqrtf(0.0F), 0.0F);
}

TEST(FastMath, WrapEqualsTheRemainderInEveryBit)
{
    for (float x : {-12.6F, -6.2831855F, -6.2831850F, -1.0F, 0.0F, 3.1415927F, 6.2831850F, 6.2831855F, 6.2831860F,
                    12.566370F, 12.566371F, 1e6F, INFINITY}) {
        const float expected = std::fmod(x + 6.2831855F, 6.2831855F);
        EXPECT_EQ(std::bit_cast<int>(lbx::wrap_turn(x)), std::bit_cast<int>(expected)) << x;
    }
}

TEST(FastMath, Atan2LosesATurnWestOfTheSecondDiagonal)
{
    for (double angle = -3.1; angle < 3.1; angle += 0.01) {
        const double turned = angle > 0.75 * kPi ? angle - 2 * kPi : angle;
        const auto y = static_cast<float>(std::sin(angle));
        const auto x = static_cast<float>(std::cos(angle));
        EXPECT_NEAR(static_cast<double>(lbx_fast_atan2(y, x)), turned, 2e-5) << angle;
    }
}

TEST(Levels, CoarseGainAndSlewFactor)
{
    EXPECT_EQ(LBX_DB2Gain(0), 0.97100782F);
    EXPECT_EQ(LBX_DB2Gain(-6), 0.48635912F);
    EXPECT_EQ(LBX_DB2Gain(6), 1.93859386F);
    EXPECT_EQ(LBX_DB2Gain(-20), 0.10125542F);
    EXPECT_NEAR(SlewAlphaGet(10, 48000, 64), 0.93932F, 5e-6F);
    EXPECT_LT(SlewAlphaGet(1, 48000, 64), 1e-10F);
    // One step doubles the time constant: the factor's square root.
    EXPECT_NEAR(SlewAlphaGet(12, 44100, 48), std::sqrt(SlewAlphaGet(11, 44100, 48)), 1e-6F);
}

TEST(Complex, FollowsStdComplexAndWorksInPlace)
{
    using C = std::complex<float>;
    const float a[2] = {3, -2};
    const float b[2] = {-0.5F, 4};
    const C ca(3, -2), cb(-0.5F, 4);
    const auto as = [](const float* p) { return C(p[0], p[1]); };
    float out[2];
    EXPECT_EQ(MultiC1(a, b, out), (ca * cb).real());
    EXPECT_EQ(as(out), ca * cb);
    MultiC2(a, 2, out);
    EXPECT_EQ(as(out), ca * 2.0F);
    ConjMultiC(a, b, out);
    EXPECT_EQ(as(out), ca * std::conj(cb));
    ConjMultiC1(a, b, out);
    EXPECT_EQ(as(out), std::conj(ca) * cb);
    AddC1(a, b, out);
    EXPECT_EQ(as(out), ca + cb);
    EXPECT_EQ(MultiAddC1(a, b, out), (ca * cb).real());
    EXPECT_EQ(as(out), ca + cb + ca * cb);
    MinusC1(a, b, out);
    EXPECT_EQ(as(out), ca - cb);
    EXPECT_FLOAT_EQ(DivC1(a, b, out), (ca / cb).real());
    EXPECT_FLOAT_EQ(out[1], (ca / cb).imag());
    EXPECT_EQ(PowC1(a), 13.0F);
    EXPECT_NEAR(ABSC1(a), std::sqrt(13.0F), 2e-5F);
    float in_place[2] = {3, -2};
    MultiC1(in_place, in_place, in_place);
    EXPECT_EQ(as(in_place), ca * ca);
    const float tiny[2] = {9e-6F, 0};
    EXPECT_EQ(DivC1(a, tiny, out), 0.0F);
    EXPECT_EQ(as(out), C());
}
