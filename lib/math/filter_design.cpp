// SPDX-License-Identifier: Apache-2.0
#include "filter_design.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

// A gain of 1e-50: 0 in single precision, and harmless to the arithmetic below.
constexpr float kMostRippleDb = 1000.0F;

// A prototype of corner 1 rad/s: sections w2 / (s^2 + sum s + w2) and, for odd orders, pole / (s + pole).
struct Pair {
    double sum, w2;
};
struct Prototype {
    Pair pair[2];
    double pole;
    double flat_gain;
};

// Roots of the reverse Bessel polynomials, divided by the N-th root of 3, 15 and 105.
constexpr Prototype kBesselPrototype[] = {
    {{{1.7320508075688772, 1.0}}, 0.0, 1.0},
    {{{1.4912807716961534, 1.0620220601329113}}, 0.94160002653320670, 1.0},
    {{{1.8095175935764900, 0.89198544025813765}, {1.3144223433437659, 1.1210945323396797}}, 0.0, 1.0},
};

// Poles on the ellipse with the half axes `re` and `im`, at the angles of a Butterworth circle.
Prototype on_ellipse(int order, double re, double im)
{
    Prototype p = {{}, re, 1.0};
    for (int k = 0; k < order / 2; ++k) {
        const double angle = std::numbers::pi * (2 * k + 1 + order % 2) / (2 * order);
        const double x = re * std::cos(angle);
        const double y = im * std::sin(angle);
        p.pair[k] = {2.0 * x, x * x + y * y};
    }
    return p;
}

Prototype chebyshev_prototype(int order, double ripple_db)
{
    const double epsilon = std::sqrt(std::expm1(ripple_db * std::numbers::ln10 / 10.0));
    const double mu = std::asinh(1.0 / epsilon) / order;
    Prototype p = on_ellipse(order, std::sinh(mu), std::cosh(mu));
    if (order % 2 == 0)
        p.flat_gain = std::pow(10.0, -ripple_db / 20.0);
    return p;
}

Prototype prototype(int order, double ripple_db, int algorithm)
{
    if (algorithm == kDesignBessel)
        return kBesselPrototype[order - 2];
    if (algorithm == kDesignChebyshev)
        return chebyshev_prototype(order, ripple_db);
    return on_ellipse(order, 1.0, 1.0);
}

// The bilinear transform s = (1 - z^-1) / (1 + z^-1) / t, for a high-pass of the prototype in 1 / s. Scaling both s and
// the corner, for instance by 4, changes nothing. Each function writes one section and returns its gain.
struct Bilinear {
    double t;
    bool high;

    double write(Pair p, float* ba) const
    {
        if (high)
            p = {p.sum / p.w2, 1.0 / p.w2};
        const double w2 = p.w2 * t * t;
        const double a0 = 1.0 + p.sum * t + w2;
        ba[0] = high ? -2.0F : 2.0F;
        ba[1] = 1.0F;
        ba[2] = static_cast<float>(2.0 * (w2 - 1.0) / a0);
        ba[3] = static_cast<float>((1.0 - p.sum * t + w2) / a0);
        return (high ? 1.0 : w2) / a0;
    }

    double write(double pole, float* ba) const
    {
        const double w = (high ? 1.0 / pole : pole) * t;
        ba[0] = high ? -1.0F : 1.0F;
        ba[2] = static_cast<float>((w - 1.0) / (1.0 + w));
        return (high ? 1.0 : w) / (1.0 + w);
    }
};

}  // namespace

void filter_design(int N, float Rp, float Wn, int algorithm, int filterType, float* ba)
{
    std::fill_n(ba, static_cast<int>(kFilterDesignSize), 0.0F);
    ba[kFilterDesignGain] = 1.0F;
    const bool known = N >= 2 && N <= 4 && algorithm >= kDesignButterworth && algorithm <= kDesignChebyshev &&
                       (filterType == kDesignLowPass || filterType == kDesignHighPass);
    if (!known || (algorithm == kDesignChebyshev && !(Rp > 0.0F)))
        return;

    const Prototype p = prototype(N, static_cast<double>(std::min(Rp, kMostRippleDb)), algorithm);
    const double wn = Wn > 0.0F ? static_cast<double>(std::min(Wn, 1.0F)) : 0.0;
    const Bilinear transform = {std::tan(std::numbers::pi / 2.0 * wn), filterType == kDesignHighPass};
    double gain = p.flat_gain;
    for (int k = 0; k < N / 2; ++k)
        gain *= transform.write(p.pair[k], ba + k * kFilterDesignStride);
    if (N % 2 != 0)
        gain *= transform.write(p.pole, ba + N / 2 * kFilterDesignStride);
    ba[kFilterDesignGain] = static_cast<float>(gain);
}
