// SPDX-License-Identifier: Apache-2.0
// What filters are compared with: transfer functions and the plain recursion, in double precision.
#pragma once

#include <cmath>
#include <complex>
#include <numbers>
#include <span>
#include <vector>

#include "vantoro.h"

namespace rig {

inline constexpr double kPi = std::numbers::pi;

inline double db(std::complex<double> h) { return 20.0 * std::log10(std::abs(h)); }

// The response at w rad per sample, of what a filter answers to an impulse.
template <class Samples>
std::complex<double> spectrum(const Samples& answer, double w)
{
    std::complex<double> sum = 0.0;
    for (std::size_t i = 0; i < answer.size(); ++i)
        sum += static_cast<double>(answer[i]) * std::polar(1.0, -w * static_cast<double>(i));
    return sum;
}

// A section by the second-order blocks' design functions.
inline std::vector<float> designed(int type, std::vector<float> vector, int rate = 48000)
{
    std::vector<float> coeff(5);
    SecondOrder_Core core = {1, 0, coeff.data(), nullptr};
    if (type == EN_FILTER_2ND_GENERAL)
        calculateFilter2ndGeneralCoeffs(&core, vector.data(), rate);
    else
        calculateFilter2ndCoeffs(&core, vector.data(), rate, type);
    return coeff;
}

// |H|^2 of the ideal low-pass at W times its corner. Bessel filters, of order 2 to 4, have a product of poles of 1.
inline double ideal_power(int order, int algorithm, double ripple_db, double W)
{
    if (algorithm == kDesignButterworth)
        return 1.0 / (1.0 + std::pow(W, 2 * order));
    if (algorithm == kDesignChebyshev) {
        const double T = W <= 1.0 ? std::cos(order * std::acos(W)) : std::cosh(order * std::acosh(W));
        return 1.0 / (1.0 + (std::pow(10.0, ripple_db / 10.0) - 1.0) * T * T);
    }
    const double constants[] = {3, 15, 105}, constant = constants[order - 2];
    const std::complex<double> s = {0.0, W * std::pow(constant, 1.0 / order)};
    const std::complex<double> polynomials[] = {s * s + 3.0 * s + 3.0, s * (s * (s + 6.0) + 15.0) + 15.0,
                                                s * (s * (s * (s + 10.0) + 45.0) + 105.0) + 105.0};
    return constant * constant / std::norm(polynomials[order - 2]);
}

}  // namespace rig
