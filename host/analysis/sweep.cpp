// SPDX-License-Identifier: Apache-2.0
#include "analysis/sweep.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include <kissfft.hh>

namespace vantoro {

namespace {

Spectrum run(const Spectrum& in, bool inverse)
{
    Spectrum out(in.size());
    kissfft<double>(in.size(), inverse).transform(in.data(), out.data());
    return out;
}

}  // namespace

double Sweep::second_at(double hz) const { return seconds() * std::log(hz / from) / std::log(to / from); }

double Sweep::lead(double harmonic) const { return seconds() * std::log(harmonic) / std::log(to / from); }

std::vector<float> samples_of(const Sweep& sweep)
{
    const double nepers = std::log(sweep.to / sweep.from);
    const double level = std::pow(10, sweep.level_db / 20);
    std::vector<float> samples;
    samples.reserve(sweep.length);
    for (std::size_t i = 0; i < sweep.length; ++i) {
        const double part = static_cast<double>(i) / static_cast<double>(sweep.length);
        const double turns = sweep.from * sweep.seconds() / nepers * std::expm1(part * nepers);
        samples.push_back(static_cast<float>(level * std::sin(2 * std::numbers::pi * (turns - std::floor(turns)))));
    }
    return samples;
}

Spectrum transform(const Signal& signal) { return run(Spectrum(signal.begin(), signal.end()), false); }

Signal deconvolved(const Signal& response, std::span<const float> stimulus, const Filter& filter, double floor)
{
    const std::size_t size = response.size();
    Signal padded(stimulus.begin(), stimulus.end());
    padded.resize(size);
    const Spectrum x = transform(padded);
    Spectrum y = transform(response);
    for (std::size_t i = 0; i <= size / 2; ++i) {
        const auto weight = filter(static_cast<double>(i) / static_cast<double>(size)) *
                            (std::norm(x[i]) < floor ? std::norm(x[i]) / floor : 1);
        y[i] = weight != 0.0 ? y[i] / (x[i] * static_cast<double>(size)) * weight : 0;
        if (i > 0)
            y[size - i] = std::conj(y[i]);
    }
    Signal time;
    time.reserve(y.size());
    for (const auto value : run(y, true))
        time.push_back(value.real());
    return time;
}

}  // namespace vantoro
