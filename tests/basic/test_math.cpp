// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <complex>
#include <numbers>

#include "kernels/fast_inline.h"
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
    EXPECT_LT(worst_error(-6.28F, 30.0F, lbx_fast_sin, [](double x) { return std::sin(x); }), 1.7e-4);
    EXPECT_LT(worst_error(-6.28F, 30.0F, lbx_fast_cos, [](double x) { return std::cos(x); }), 1.2e-3);
    EXPECT_FLOAT_EQ(lbx_fast_sin(1.5707964F), 0.9999976F);
    const auto one = [](double) { return 1.0; };
    const auto inverse = [](float x) { return lbx_fast_invsqrtf(x) * std::sqrt(x); };
    const auto root = [](float x) { return lbx_fast_sqrtf(x) / std::sqrt(x); };
    EXPECT_LT(worst_error(1e-6F, 1e6F, inverse, one), 1.8e-3);
    EXPECT_LT(worst_error(1e-6F, 1e6F, root, one), 5e-6);
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
    const C a(3, -2), b(-0.5F, 4);
    C out;
    float* const y = reinterpret_cast<float*>(&out);  // as the standard lays it out
    const auto *p = reinterpret_cast<const float*>(&a), *q = reinterpret_cast<const float*>(&b);
    EXPECT_EQ((std::pair{MultiC1(p, q, y), out}), std::pair((a * b).real(), a * b));
    EXPECT_EQ((MultiC2(p, 2, y), out), a * 2.0F);
    EXPECT_EQ((ConjMultiC(p, q, y), out), a * std::conj(b));
    EXPECT_EQ((ConjMultiC1(p, q, y), out), std::conj(a) * b);
    EXPECT_EQ((MinusC1(p, q, y), out), a - b);
    EXPECT_EQ((AddC1(p, q, y), out), a + b);
    EXPECT_EQ((std::pair{MultiAddC1(p, q, y), out}), std::pair((a * b).real(), a + b + a * b));
    EXPECT_FLOAT_EQ(DivC1(p, q, y), (a / b).real());
    EXPECT_FLOAT_EQ(out.imag(), (a / b).imag());
    EXPECT_EQ(PowC1(p), 13.0F);
    EXPECT_NEAR(ABSC1(p), std::sqrt(13.0F), 2e-5F);
    out = a;
    EXPECT_EQ((MultiC1(y, y, y), out), a * a);
    const float tiny[2] = {9e-6F, 0};
    EXPECT_EQ((std::pair{DivC1(p, tiny, y), out}), std::pair(0.0F, C()));
}
