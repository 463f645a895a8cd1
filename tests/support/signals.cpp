// SPDX-License-Identifier: Apache-2.0
#include "signals.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>

namespace rig {

double from_db(double db) { return std::pow(10.0, db / 20); }

double rms(std::span<const float> x)
{
    double sum = 0;
    for (const float v : x)
        sum += static_cast<double>(v) * static_cast<double>(v);
    return std::sqrt(sum / static_cast<double>(x.size()));
}

std::vector<float> noise(int samples, std::uint32_t seed)
{
    std::vector<float> result(static_cast<std::size_t>(samples));
    for (float& v : result) {
        seed = seed * 1664525U + 1013904223U;
        v = static_cast<float>(static_cast<std::int32_t>(seed) >> 8) * 0x1p-23F;
    }
    return result;
}

std::vector<float> sine(int samples, double hz, double rate, double amplitude)
{
    std::vector<float> result(static_cast<std::size_t>(samples));
    for (std::size_t i = 0; i < result.size(); ++i)
        result[i] = static_cast<float>(amplitude * std::sin(2 * std::numbers::pi * hz * static_cast<double>(i) / rate));
    return result;
}

std::vector<std::vector<float>> stimulus(int pins, int samples)
{
    std::vector<std::vector<float>> signal;
    for (int pin = 0; pin < std::max(pins, 1); ++pin) {
        signal.push_back(noise(samples, static_cast<std::uint32_t>(pin + 1)));
        for (int i = 0; i < samples; ++i) {
            float& v = signal.back()[static_cast<std::size_t>(i)];
            v = i / (8 + 3 * pin) % 3 == 0 ? 0.0F : 0.5F * v + 0.25F;
        }
    }
    return signal;
}

std::vector<std::uint32_t> bits(std::span<const float> samples)
{
    std::vector<std::uint32_t> result(samples.size());
    std::ranges::transform(samples, result.begin(), [](float v) { return std::bit_cast<std::uint32_t>(v); });
    return result;
}

}  // namespace rig
