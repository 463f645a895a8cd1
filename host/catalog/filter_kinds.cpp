// SPDX-License-Identifier: Apache-2.0
#include "catalog/filter_kinds.h"

#include <cmath>
#include <limits>
#include <numbers>

namespace vantoro {

namespace {

constexpr double kHalfLn2 = 0.5 * std::numbers::ln2;

// 1 / Q^2 = (A + 1 / A) (1 / S - 1) + 2
double both_ways(const Corner& at)
{
    const double A = std::pow(10, at.boost_db / 40);
    return A + 1 / A;
}

constexpr double kButterworthQ = 0.70710678;
constexpr double kBesselQ = 0.57735027;
constexpr FilterKind kKinds[] = {
    {"PK", {"PK", "PEQ"}, "Text_Param", "GraphicalEQ_Param", true},
    {"LSC", {"LSC", "LS", "LSQ"}, "Text_LS2nd", "GraphicalEQ_LS", true, false, slope_of_q, q_of_slope},
    {"HSC", {"HSC", "HS", "HSQ"}, "Text_HS2nd", "GraphicalEQ_HS", true, false, slope_of_q, q_of_slope},
    {"LPQ", {"LPQ", "LP"}, "Text_LP", "GraphicalEQ_LP", false, false, same, same, kButterworthQ},
    {"HPQ", {"HPQ", "HP"}, "Text_HP", "GraphicalEQ_HP", false, false, same, same, kButterworthQ},
    {"BP", {"BP"}, "Text_Peaking", nullptr, false, false, tangent_q, q_of_tangent},
    {"BP", {"BP"}, "Text_BP", nullptr, false, true},
    {"NO", {"NO"}, "Text_Notch", nullptr},
    {"NO", {"NO"}, "Text_BS", nullptr, false, true},
    {"AP", {"AP"}, "Text_APF", nullptr, false, false, tangent_q, q_of_tangent},
    {"LPQ", {}, nullptr, "GraphicalEQ_BUTTER_LP", false, false, same, same, kButterworthQ},
    {"HPQ", {}, nullptr, "GraphicalEQ_BUTTER_HP", false, false, same, same, kButterworthQ},
    {"LPQ", {}, nullptr, "GraphicalEQ_BESSEL_LP", false, false, same, same, kBesselQ},
    {"HPQ", {}, nullptr, "GraphicalEQ_BESSEL_HP", false, false, same, same, kBesselQ},
};

}  // namespace

std::span<const FilterKind> filter_kinds() { return kKinds; }

double Corner::w() const { return 2 * std::numbers::pi * fc / rate; }

double q_of_octaves(double octaves, const Corner& at)
{
    return 0.5 / std::sinh(kHalfLn2 * octaves * at.w() / std::sin(at.w()));
}
double octaves_of_q(double q, const Corner& at) { return std::asinh(0.5 / q) / kHalfLn2 * std::sin(at.w()) / at.w(); }

double slope_of_q(double q, const Corner& at) { return 1 / ((1 / (q * q) - 2) / both_ways(at) + 1); }
double q_of_slope(double slope, const Corner& at) { return 1 / std::sqrt(both_ways(at) * (1 / slope - 1) + 2); }

double tangent_q(double q, const Corner& at) { return at.w() / (2 * std::atan(std::sin(at.w()) / (2 * q))); }
double q_of_tangent(double q, const Corner& at)
{
    constexpr double kWidest = 0.475 * std::numbers::pi;  // where the library ends, for beyond it the tangent runs away
    const double half = at.w() / (2 * q);
    return half < kWidest ? std::sin(at.w()) / (2 * std::tan(half)) : std::numeric_limits<double>::quiet_NaN();
}

}  // namespace vantoro
