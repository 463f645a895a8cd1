// SPDX-License-Identifier: Apache-2.0
#include "analysis/spectrum.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>
#include <numbers>

#include <kissfft.hh>

namespace vantoro {

namespace {

using Complex = std::complex<double>;

constexpr double kLowest = 20;    // Hz
constexpr double kSeconds = 0.1;  // at least, rounded up to a power of 2

// Hann's, scaled so that the bin of a sine has the sine's amplitude.
std::vector<double> window(std::size_t size)
{
    std::vector<double> out(size);
    for (std::size_t i = 0; i < size; ++i)
        out[i] = (2 - 2 * std::cos(2 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(size))) /
                 static_cast<double>(size);
    return out;
}

float decibel(double power)
{
    return std::max(SpectrumView::kSilence, static_cast<float>(10 * std::log10(std::max(power, 1e-30))));
}

}  // namespace

struct SpectrumView::Transform {
    explicit Transform(std::size_t size) : fft(size, false) {}
    kissfft<double> fft;
};

SpectrumView::SpectrumView(int rate, int points)
    : window_(window(std::bit_ceil(static_cast<std::size_t>(kSeconds * rate))))
{
    transform_ = std::make_unique<Transform>(window_.size());
    const double octaves = std::log2(rate / 2.0 / kLowest) / (points - 1);
    const double bins_per_hz = static_cast<double>(window_.size()) / rate;
    for (int i = 0; i < points; ++i) {
        hz_.push_back(kLowest * std::exp2(octaves * i));
        edges_.push_back(hz_.back() * std::exp2(-octaves / 2) * bins_per_hz);
    }
    edges_.push_back(hz_.back() * bins_per_hz);
}

SpectrumView::~SpectrumView() = default;
SpectrumView::SpectrumView(SpectrumView&&) noexcept = default;
SpectrumView& SpectrumView::operator=(SpectrumView&&) noexcept = default;

std::vector<float> SpectrumView::levels(std::span<const float> signal) const
{
    std::vector<Complex> in(window_.size()), out(window_.size());
    for (std::size_t i = 0; i < in.size(); ++i)
        in[i] = window_[i] * static_cast<double>(signal[i]);
    transform_->fft.transform(in.data(), out.data());
    const std::size_t last = out.size() / 2;
    std::vector<float> levels;
    for (std::size_t i = 0; i < hz_.size(); ++i) {
        // Bins between the edges; where there is none, the two around the middle in proportion.
        const double middle = (edges_[i] + edges_[i + 1]) / 2;
        const auto below = std::min(static_cast<std::size_t>(middle), last - 1);
        const double part = std::clamp(middle - static_cast<double>(below), 0.0, 1.0);
        double power = (1 - part) * std::norm(out[below]) + part * std::norm(out[below + 1]);
        for (auto bin = static_cast<std::size_t>(std::ceil(edges_[i]));
             bin <= last && static_cast<double>(bin) <= edges_[i + 1]; ++bin)
            power = std::max(power, std::norm(out[bin]));
        levels.push_back(decibel(power));
    }
    return levels;
}

}  // namespace vantoro
