// SPDX-License-Identifier: Apache-2.0
// Peaks of what is written, how many samples do not fit, and how many stay at full scale, as behind a clipping block.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vantoro {

class Levels {
public:
    explicit Levels(int channels) : peaks_(static_cast<std::size_t>(channels)), last_(peaks_) {}

    void add(const float* const* channels, int frames);

    double peak_db(int channel) const;  // re full scale 1.0; -infinity for silence
    std::int64_t above_full_scale() const { return above_; }
    std::int64_t flat() const { return flat_; }  // at full scale, with the sample before
    std::string text() const;                    // ", peak -3.21 -2.98 dBFS, 0 samples above full scale"

private:
    std::vector<std::int32_t> peaks_;  // bits of the magnitudes: they order as the magnitudes do
    std::vector<std::int32_t> last_;   // bits of the last samples
    std::int64_t above_ = 0, flat_ = 0;
};

}  // namespace vantoro
