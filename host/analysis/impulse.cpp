// SPDX-License-Identifier: Apache-2.0
#include "analysis/impulse.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <limits>
#include <numbers>

#include "analysis/plot.h"

namespace vantoro {

namespace {

constexpr double kBelow = 2;       // the sweep begins at the lowest frequency divided by this
constexpr double kHighPass = 1.6;  // where between: the lowest frequency divided by this
constexpr double kAbove = 1.1;     // and ends at the highest times this, or at half the rate

// From 0 to 1 as x does.
double cosine_edge(double x) { return 0.5 - 0.5 * std::cos(std::numbers::pi * std::clamp(x, 0.0, 1.0)); }

std::size_t samples(double seconds, int rate) { return static_cast<std::size_t>(std::llround(seconds * rate)); }

// Butterworth, fourth order.
std::complex<double> high_pass(double hz, double corner)
{
    const std::complex<double> s(0, hz / corner), squared = s * s;
    return squared * squared / ((squared + 0.76537 * s + 1.0) * (squared + 1.84776 * s + 1.0));
}

// 1 within the range, but for the high-pass; 0 where the sweep does not reach.
std::complex<double> band(const TestSignal& test, double hz)
{
    const auto part = [hz](double from, double to) {
        return to == from ? 1 : std::log(hz / from) / std::log(to / from);
    };
    if (hz <= test.sweep.from / 2)
        return 0;
    const double below = hz < test.sweep.from ? cosine_edge(part(test.sweep.from / 2, test.sweep.from)) : 1;
    const double above = hz > test.highest ? cosine_edge(part(test.sweep.to, test.highest)) : 1;
    return high_pass(hz, test.lowest / kHighPass) * below * above;
}

double energy(std::span<const double> signal)
{
    double sum = 0;
    for (const double x : signal)
        sum += x * x;
    return sum;
}

// A stimulus by slices of a twelfth of an octave within the range.
struct Slices {
    double weakest_hz;
    double evenness;  // the power of the weakest re that of the strongest
    double floor;     // the lowest mean of a slice's bins, as transform() of `size` samples has them
};
constexpr double kWeak = 1e-4;

Slices slices_of(std::span<const float> stimulus, const TestSignal& test, std::size_t size)
{
    Signal padded(stimulus.begin(), stimulus.end());
    padded.resize(size);
    const Spectrum bins = transform(padded);
    const double per_hz = static_cast<double>(size) / test.sweep.rate, step = std::exp2(1.0 / 12);
    constexpr double kNone = std::numeric_limits<double>::infinity();
    Slices slices{0, kNone, kNone};
    double strongest = 1e-300;
    for (double hz = test.highest / step; hz >= test.lowest; hz /= step) {
        const auto first = static_cast<std::size_t>(hz * per_hz);
        const auto count = std::max<std::size_t>(static_cast<std::size_t>(hz * step * per_hz) - first, 1);
        double power = 0;
        for (std::size_t i = first; i < first + count; ++i)
            power += std::norm(bins[i]);
        strongest = std::max(strongest, power);
        if (power < slices.evenness) {
            slices.weakest_hz = hz;
            slices.evenness = power;
        }
        slices.floor = std::min(slices.floor, power / static_cast<double>(count));
    }
    slices.evenness /= strongest;
    return slices;
}

// The top of a parabola through three points: its offset from the middle one.
double top_offset(double left, double middle, double right)
{
    const double bend = left - 2 * middle + right;
    return bend < 0 ? 0.5 * (left - right) / bend : 0;
}

// Averages of a spectrum over fractions of an octave, by sums from its beginning.
class Smoothing {
public:
    explicit Smoothing(const Spectrum& bins) : sums_(bins.size() + 1), powers_(bins.size() + 1)
    {
        for (std::size_t i = 0; i < bins.size(); ++i) {
            sums_[i + 1] = sums_[i] + bins[i];
            powers_[i + 1] = powers_[i] + std::norm(bins[i]);
        }
    }
    // Bins within `lowest` to `highest`, of which `middle` is one.
    std::complex<double> at(int middle, double octaves, double lowest, double highest) const
    {
        const double reach = std::exp2(octaves / 2);
        const auto first = static_cast<std::size_t>(std::lround(std::max(middle / reach, lowest)));
        const auto end = static_cast<std::size_t>(std::lround(std::min(middle * reach, highest))) + 1;
        const double power = (powers_[end] - powers_[first]) / static_cast<double>(end - first);
        return std::polar(std::sqrt(std::max(power, 0.0)), std::arg(sums_[end] - sums_[first]));
    }

private:
    Spectrum sums_;
    std::vector<double> powers_;
};

// Up to half the rate, as if it arrived at time 0, or averages would cancel it.
Spectrum spectrum_of(const Windowed& windowed, const Axis& axis)
{
    Signal padded = windowed.samples;
    const auto size = static_cast<std::size_t>(axis.size);
    padded.resize(size);
    Spectrum bins = transform(padded);
    bins.resize(size / 2 + 1);
    const double step = 2 * std::numbers::pi * (windowed.arrival - windowed.start) / axis.size;
    for (std::size_t i = 0; i < bins.size(); ++i)
        bins[i] *= std::polar(1.0, step * static_cast<double>(i));
    return bins;
}

}  // namespace

TestSignal test_signal(int rate, double lowest, double highest, double seconds, double level_db)
{
    const double to = std::min(highest * kAbove, rate / 2.0);
    return {{rate, lowest / kBelow, to, samples(seconds, rate), level_db}, lowest, highest};
}

std::vector<float> samples_of(const TestSignal& test)
{
    std::vector<float> out = samples_of(test.sweep);
    const double in = test.sweep.second_at(test.lowest);
    const double fade = std::max(test.sweep.seconds() - test.sweep.second_at(test.highest), 0.001);
    for (std::size_t i = 0; i < out.size(); ++i) {
        const double time = static_cast<double>(i) / test.sweep.rate;
        out[i] *= static_cast<float>(cosine_edge(time / in) * cosine_edge((test.sweep.seconds() - time) / fade));
    }
    return out;
}

double weakest_hz(std::span<const float> stimulus, const TestSignal& test)
{
    const Slices slices = slices_of(stimulus, test, std::bit_ceil(stimulus.size()));
    return slices.evenness < kWeak ? slices.weakest_hz : 0;
}

double most_before(const Impulse& impulse) { return impulse.harmonic_lead * 3 / 8; }

Impulse impulse_of(std::span<const float> recording, std::span<const float> stimulus, const TestSignal& test,
                   bool foreign)
{
    const int rate = test.sweep.rate;
    Signal padded(recording.begin(), recording.end());
    padded.resize(std::bit_ceil(recording.size() + stimulus.size()));
    Impulse impulse{rate, {}, 0, 0, test.sweep.lead(2)};
    constexpr double kMargin = 0.01;
    const double floor = foreign ? kMargin * slices_of(stimulus, test, padded.size()).floor : 0;
    impulse.samples = deconvolved(
        padded, stimulus, [&](double cycles) { return band(test, cycles * rate); }, floor);
    const Signal& h = impulse.samples;
    const auto peak = std::ranges::max_element(h, {}, [](double x) { return std::abs(x); });
    impulse.peak = static_cast<std::size_t>(peak - h.begin());
    const auto beside = [&](std::size_t step) { return std::abs(h[(impulse.peak + step) % h.size()]); };
    impulse.arrival = static_cast<double>(impulse.peak) + top_offset(beside(h.size() - 1), beside(0), beside(1));
    return impulse;
}

Windowed windowed(const Impulse& impulse, Window window)
{
    const auto size = impulse.samples.size();
    const std::size_t before = samples(window.before, impulse.rate), after = samples(window.after, impulse.rate);
    Windowed out{{}, static_cast<double>(impulse.peak) - static_cast<double>(before), impulse.arrival};
    for (std::size_t i = 0; i < before + after; ++i) {
        const double left = 2 * (static_cast<double>(i) + 1) / static_cast<double>(before + 1);
        const double right = 2 * static_cast<double>(before + after - i) / static_cast<double>(after);
        out.samples.push_back(cosine_edge(left) * cosine_edge(right) *
                              impulse.samples[(impulse.peak + size - before + i) % size]);
    }
    return out;
}

double signal_to_noise_db(const Impulse& impulse, Window window)
{
    const std::size_t length = samples(impulse.harmonic_lead / 4, impulse.rate);
    const std::size_t size = impulse.samples.size();
    const Signal response = windowed(impulse, window).samples;
    Impulse noise = impulse;
    noise.peak = (impulse.peak + size - samples(impulse.harmonic_lead / 2, impulse.rate)) % size;
    const Window same{static_cast<double>(length) / 2 / impulse.rate, static_cast<double>(length) / 2 / impulse.rate};
    const double floor = energy(windowed(noise, same).samples) * static_cast<double>(response.size()) /
                         static_cast<double>(std::max<std::size_t>(length, 1));
    return 10 * std::log10(std::max(energy(response), 1e-300) / std::max(floor, 1e-300));
}

Spectrum response_of(const Windowed& response, const Windowed& plain, const Axis& axis, double lowest, double highest,
                     double octaves, double delay)
{
    const double per_hz = static_cast<double>(axis.size) / axis.rate;
    Spectrum bins = spectrum_of(response, axis), unit = spectrum_of(plain, axis);
    for (std::size_t i = 0; i < bins.size(); ++i)
        bins[i] = static_cast<double>(i) < std::floor(lowest * per_hz) ? 0 : bins[i] / unit[i];
    const Smoothing smoothing(bins);
    const double late = response.arrival - delay;
    Spectrum values(axis.bins.size(), std::numeric_limits<double>::quiet_NaN());
    for (std::size_t i = 0; i < values.size(); ++i)
        if (const int bin = axis.bins[i]; bin >= lowest * per_hz && bin <= highest * per_hz)
            values[i] = smoothing.at(bin, octaves, lowest * per_hz, highest * per_hz) *
                        std::polar(1.0, -axis.radians(i) * late);
    return values;
}

std::string frd_text(const Axis& axis, const Spectrum& values, const std::string& heading)
{
    std::string text = "* " + heading + "\n* Hz dB degrees\n";
    for (std::size_t i = 0; i < values.size(); ++i) {
        char row[80];
        std::snprintf(row, sizeof row, "%.6g %.4f %.3f\n", axis.hz(i), magnitude_db(values[i]), phase_deg(values[i]));
        text += std::isnan(values[i].real()) ? "" : row;
    }
    return text;
}

}  // namespace vantoro
