// SPDX-License-Identifier: Apache-2.0
#include "analysis/phase.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace vantoro {

namespace {

constexpr double kNotKnown = std::numeric_limits<double>::quiet_NaN();

}  // namespace

Axis with_neighbours(const Axis& axis)
{
    Axis pairs{axis.rate, axis.size, {}};
    for (const int bin : axis.bins) {
        const int first = std::min(bin, axis.size / 2 - 1);  // the last bin has its neighbour below
        pairs.bins.push_back(first);
        pairs.bins.push_back(first + 1);
    }
    return pairs;
}

Slope take_slopes(const Axis& pairs, const Spectrum& values)
{
    const double step = 2 * std::numbers::pi * pairs.rate / pairs.size;  // radians per second from bin to bin
    Slope slope;
    for (std::size_t i = 0; i + 1 < values.size(); i += 2) {
        const std::complex<double> turn = values[i + 1] * std::conj(values[i]);
        slope.values.push_back(values[i]);
        slope.delay.push_back(std::abs(turn) > 0 ? -std::arg(turn) / step : kNotKnown);
    }
    return slope;
}

std::vector<double> unwrapped_deg(const Axis& axis, const Slope& slope)
{
    std::vector<double> degrees;
    double last_hz = 0, last_delay = kNotKnown, last_deg = 0;
    for (std::size_t i = 0; i < slope.values.size(); ++i) {
        if (std::isnan(slope.delay[i])) {
            degrees.push_back(kNotKnown);
            continue;
        }
        double deg = std::arg(slope.values[i]) * 180 / std::numbers::pi;
        if (!std::isnan(last_delay)) {
            const double expected = last_deg - 180 * (last_delay + slope.delay[i]) * (axis.hz(i) - last_hz);
            deg += 360 * std::round((expected - deg) / 360);
        }
        degrees.push_back(deg);
        last_hz = axis.hz(i);
        last_delay = slope.delay[i];
        last_deg = deg;
    }
    return degrees;
}

double bare_delay(const Axis& axis, const Slope& slope)
{
    constexpr double kDepth = 0.01;  // 40 dB
    double top = 0;
    for (const auto h : slope.values)
        top = std::isnan(h.real()) ? top : std::max(top, std::abs(h));
    std::vector<double> delays;
    double highest = 0;  // Hz
    for (std::size_t i = slope.values.size(); i-- > 0 && 2 * axis.hz(i) >= highest;) {
        if (std::isnan(slope.delay[i]) || std::abs(slope.values[i]) < kDepth * top)
            continue;
        highest = std::max(highest, axis.hz(i));
        delays.push_back(slope.delay[i]);
    }
    if (delays.empty())
        return 0;
    const auto middle = delays.begin() + static_cast<std::ptrdiff_t>(delays.size() / 2);
    std::ranges::nth_element(delays, middle);
    return *middle;
}

}  // namespace vantoro
