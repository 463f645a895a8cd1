// SPDX-License-Identifier: Apache-2.0
// Frequency responses from the coefficients that blocks hold: exact complex numbers in double precision, carried
// through a graph in the order of processing.
#pragma once

#include <complex>
#include <span>
#include <string>
#include <vector>

#include "engine/engine.h"

namespace vantoro {

// A complex gain per frequency of an axis. Empty: nothing arrives.
using Spectrum = std::vector<std::complex<double>>;

// Where responses are computed: 20 Hz to half the rate, about evenly spaced in octaves around 1 kHz, each frequency a
// bin of one transform, so that a measurement meets it without interpolation.
struct Axis {
    int rate;  // Hz
    int size;  // of the transform: at least 4 s, 8 times its bins are 2 Hz or closer, with small prime factors only
    std::vector<int> bins;

    double hz(std::size_t i) const { return static_cast<double>(bins[i]) * rate / size; }
    double radians(std::size_t i) const;  // per sample
};
// With the bins next to `corners` (Hz) in between, so that a narrow notch is seen to its ground.
Axis make_axis(int rate, int points_per_octave, std::span<const double> corners = {});

struct Computed {
    std::vector<Spectrum> outputs;  // of the whole graph
    std::vector<std::string>
        ids;  // blocks on the way that are not linear, or not by themselves; then `outputs` is void
    std::vector<std::string> unstable;  // blocks on the way with a pole outside of the unit circle: what is drawn of
                                        // them is never heard
};

// From channel `from` of the graph's input. Gains that glide count as arrived. What a pin selects (curves, groups, a Q)
// is what it selected last: run the engine before.
Computed compute(const Engine& engine, int from, const Axis& axis);

// The sections between a linear block's first input and first output, each by itself: the bands of an equaliser.
std::vector<Spectrum> sections_of(const Engine& engine, int block, const Axis& axis);

}  // namespace vantoro
