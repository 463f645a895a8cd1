// SPDX-License-Identifier: Apache-2.0
// Peaks of what is written, and how many samples do not fit.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vantoro {

class Levels {
public:
    explicit Levels(int channels) : peaks_(static_cast<std::size_t>(channels)) {}

    void add(const float* const* channels, int frames);

    double peak_db(int channel) const;  // re full scale 1.0; -infinity for silence
    std::int64_t above_full_scale() const { return above_; }
    std::string text() const;  // ", peak -3.21 -2.98 dBFS, 0 samples above full scale"

private:
    std::vector<std::int32_t> peaks_;  // bits of the magnitudes: they order as the magnitudes do
    std::int64_t above_ = 0;
};

}  // namespace vantoro
