// SPDX-License-Identifier: Apache-2.0
// Exponential sine sweeps, and what they tell: A. Farina, "Simultaneous Measurement of Impulse Response and Distortion
// with a Swept-Sine Technique". A harmonic of such a sweep is the sweep itself, earlier: after deconvolution distortion
// arrives before the response and does not touch it.
#pragma once

#include <functional>
#include <span>
#include <vector>

#include "analysis/response.h"

namespace vantoro {

using Signal = std::vector<double>;

// Frequencies in Hz; the length in samples; the level is that of the peak.
struct Sweep {
    int rate;
    double from, to;
    std::size_t length;
    double level_db;

    double seconds() const { return static_cast<double>(length) / rate; }
    double second_at(double hz) const;   // when it is there
    double lead(double harmonic) const;  // seconds by which a harmonic arrives early
};

std::vector<float> samples_of(const Sweep& sweep);

// A bin for each sample, not scaled.
Spectrum transform(const Signal& signal);

// What turns `stimulus` into `response`, in a circle as long as `response`: what arrives early is at its end. `filter`
// is applied, by frequencies in cycles per sample from 0 to 0.5; where it is 0 the stimulus may be silent. The power of
// the stimulus counts as `floor` where it is less.
using Filter = std::function<std::complex<double>(double)>;
Signal deconvolved(const Signal& response, std::span<const float> stimulus, const Filter& filter, double floor = 0);

}  // namespace vantoro
