// SPDX-License-Identifier: Apache-2.0
// The tests' signals: the same on every machine.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace rig {

double from_db(double db);
double rms(std::span<const float> x);

// Noise in [-1, 1), the same on every machine.
std::vector<float> noise(int samples, std::uint32_t seed = 1);
std::vector<float> sine(int samples, double hz, double rate, double amplitude = 1.0);
// A signal per pin (one at least) that exercises controls as well as audio: noise in [-0.25, 0.75), each pin with its
// own stretches of exact zeros for gates, holds and resets.
std::vector<std::vector<float>> stimulus(int pins, int samples);
// The bits of every sample: compares signals exactly, -0 and NaN included.
std::vector<std::uint32_t> bits(std::span<const float> samples);

}  // namespace rig
