// SPDX-License-Identifier: Apache-2.0
// The spectrum of what is heard, for a display.
#pragma once

#include <memory>
#include <span>
#include <vector>

namespace vantoro {

class SpectrumView {
public:
    static constexpr float kSilence = -160;  // dB, and nothing is lower

    // `points` from 20 Hz to half the rate, even in octaves.
    SpectrumView(int rate, int points);
    ~SpectrumView();
    SpectrumView(SpectrumView&&) noexcept;
    SpectrumView& operator=(SpectrumView&&) noexcept;

    std::size_t samples() const { return window_.size(); }  // about 0.17 s, a power of 2
    const std::vector<double>& frequencies() const { return hz_; }
    // dB at each frequency: the highest of what lies nearer to it than to its neighbours; a sine of full scale has 0.
    // `signal` has samples() of them.
    std::vector<float> levels(std::span<const float> signal) const;

private:
    struct Transform;
    std::unique_ptr<Transform> transform_;
    std::vector<double> window_, hz_, edges_;  // edges in bins, one more than there are points
};

}  // namespace vantoro
