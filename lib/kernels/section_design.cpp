// SPDX-License-Identifier: Apache-2.0
#include "section_design.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "../math/filter_design.h"
#include "../math/rounded.h"

namespace lbx {

float angle_of(float fc_hz, double rate_hz)
{
    return static_cast<float>(static_cast<double>(fc_hz) * 2.0 * std::numbers::pi / rate_hz);
}

Corner corner(float w) { return {w, rounded::sin(w), rounded::cos(w)}; }

void write_first_order(const Sos& h, float gain, float* coeff)
{
    coeff[0] = h.b0 / h.a0 * gain;
    coeff[1] = h.b1 / h.a0 * gain;
    coeff[2] = h.a1 / h.a0;
}

void write_section(const Sos& h, float gain, float* coeff)
{
    write_first_order(h, gain, coeff);
    coeff[3] = h.b2 / h.a0 * gain;
    coeff[4] = h.a2 / h.a0;
}

void write_pass_through(float* coeff)
{
    coeff[0] = 1.0F;
    std::fill_n(coeff + 1, 4, 0.0F);
}

float alpha_q(const Corner& c, float q) { return c.sin / (2.0F * q); }

float alpha_slope(const Corner& c, float A, float slope)
{
    const float radicand = (A + 1.0F / A) * (1.0F / slope - 1.0F) + 2.0F;
    return radicand > 0.0F ? c.sin / 2.0F * std::sqrt(radicand) : 0.0F;
}

float alpha_octaves(const Corner& c, float octaves)
{
    constexpr float kHalfLn2 = 0.3465736F;
    // Close to half the sampling rate the warp outgrows sinh's range, which ends at 89.416. What is beyond is as good
    // as infinite: band-pass and notch then are 1 and 0 everywhere, where an overflow would make them NaN.
    constexpr float kLargest = 89.4F;
    if (c.sin == 0.0F)
        return 0.0F;  // 0 Hz: a band without width
    return c.sin * rounded::sinh(std::clamp(octaves * kHalfLn2 * c.w / c.sin, -kLargest, kLargest));
}

Sos peaking_eq(const Corner& c, float A, float alpha)
{
    const float b1 = -2.0F * c.cos;
    return {1.0F + A * alpha, b1, 1.0F - A * alpha, 1.0F + alpha / A, b1, 1.0F - alpha / A};
}

Sos low_shelf(const Corner& c, float A, float alpha)
{
    const float beta = 2.0F * std::sqrt(A) * alpha;
    const float up = A + 1.0F;
    const float down = A - 1.0F;
    return {A * (up - down * c.cos + beta), 2.0F * A * (down - up * c.cos), A * (up - down * c.cos - beta),
            up + down * c.cos + beta,       -2.0F * (down + up * c.cos),    up + down * c.cos - beta};
}

Sos high_shelf(const Corner& c, float A, float alpha)
{
    const float beta = 2.0F * std::sqrt(A) * alpha;
    const float up = A + 1.0F;
    const float down = A - 1.0F;
    return {A * (up + down * c.cos + beta), -2.0F * A * (down + up * c.cos), A * (up + down * c.cos - beta),
            up - down * c.cos + beta,       2.0F * (down - up * c.cos),      up - down * c.cos - beta};
}

Sos low_pass(const Corner& c, float alpha)
{
    const float b1 = 1.0F - c.cos;
    return {b1 / 2.0F, b1, b1 / 2.0F, 1.0F + alpha, -2.0F * c.cos, 1.0F - alpha};
}

Sos high_pass(const Corner& c, float alpha)
{
    const float b1 = 1.0F + c.cos;
    return {b1 / 2.0F, -b1, b1 / 2.0F, 1.0F + alpha, -2.0F * c.cos, 1.0F - alpha};
}

Sos band_pass(const Corner& c, float alpha) { return {alpha, 0.0F, -alpha, 1.0F + alpha, -2.0F * c.cos, 1.0F - alpha}; }

Sos notch(const Corner& c, float alpha)
{
    const float b1 = -2.0F * c.cos;
    return {1.0F, b1, 1.0F, 1.0F + alpha, b1, 1.0F - alpha};
}

Sos all_pass(const Corner& c, float k)
{
    const float b1 = -c.cos * (k + 1.0F);
    return {k, b1, 1.0F, 1.0F, b1, k};
}

Sos all_pass_bandwidth(const Corner& c, double half_width)
{
    // 0.475 pi: beyond it the tangent runs away. NaN takes the cap too.
    constexpr double kWidest = 1.4922564917298002;
    const float t = rounded::tan(static_cast<float>(half_width <= kWidest ? half_width : kWidest));
    return all_pass(c, -(1.0F - 2.0F / (t + 1.0F)));
}

Sos resonant_band_pass(const Corner& c, float q)
{
    const float t = rounded::tan(c.w / (2.0F * q));
    const float beta = 0.5F * (1.0F - t) / (1.0F + t);
    return {0.5F - beta, 0.0F, beta - 0.5F, 1.0F, -2.0F * (0.5F + beta) * c.cos, 2.0F * beta};
}

Sos bilinear_low_pass(float half_angle, float inverse_q)
{
    // At 0 Hz the cotangent is held where its square still is a number.
    const float k = std::min(1.0F / rounded::tan(half_angle), 1e18F);
    const float k2 = k * k;
    return {1.0F, 2.0F, 1.0F, k2 + inverse_q * k + 1.0F, 2.0F * (1.0F - k2), k2 - inverse_q * k + 1.0F};
}

Sos bilinear_high_pass(float half_angle, float inverse_q)
{
    const float t = rounded::tan(half_angle);
    const float t2 = t * t;
    return {1.0F, -2.0F, 1.0F, t2 + inverse_q * t + 1.0F, 2.0F * (t2 - 1.0F), t2 - inverse_q * t + 1.0F};
}

Sos chebyshev(float ripple_db, float wn, int kind)
{
    float ba[kFilterDesignSize];
    filter_design(2, ripple_db, wn, kDesignChebyshev, kind, ba);
    const float gain = ba[kFilterDesignGain];
    return {gain, gain * ba[0], gain * ba[1], 1.0F, ba[2], ba[3]};
}

float first_order_pole(float w) { return rounded::pow(2.72F, -w); }

Sos first_order_low_pass(float pole)
{
    const float b0 = (1.0F - pole) * 0.5F;
    return {b0, b0, 0.0F, 1.0F, -pole, 0.0F};
}

Sos first_order_high_pass(float pole)
{
    const float b0 = (1.0F + pole) * 0.5F;
    return {b0, -b0, 0.0F, 1.0F, -pole, 0.0F};
}

Sos first_order_all_pass(float pole) { return {-pole, 1.0F, 0.0F, 1.0F, -pole, 0.0F}; }

Sos first_order_low_shelf(float w, float V)
{
    const float s = std::sqrt(V);
    const float t = rounded::tan(w * 0.5F);
    return {s + V * t, V * t - s, 0.0F, t + s, t - s, 0.0F};
}

Sos first_order_high_shelf(float w, float V)
{
    const float u = std::sqrt(V) * rounded::tan(w * 0.5F);
    return {V + u, u - V, 0.0F, u + 1.0F, u - 1.0F, 0.0F};
}

}  // namespace lbx
