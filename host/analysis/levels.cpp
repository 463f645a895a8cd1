// SPDX-License-Identifier: Apache-2.0
#include "analysis/levels.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>

namespace vantoro {

// On the bits of the magnitudes, as integers: the compiler makes this vectors.
void Levels::add(const float* const* channels, int frames)
{
    constexpr std::int32_t kFullScale = std::bit_cast<std::int32_t>(1.0F);
    for (std::size_t ch = 0; ch < peaks_.size(); ++ch) {
        std::int32_t peak = peaks_[ch];
        std::int32_t above = 0;
        for (int i = 0; i < frames; ++i) {
            const std::int32_t magnitude = std::bit_cast<std::int32_t>(channels[ch][i]) & 0x7fffffff;
            peak = std::max(peak, magnitude);
            above += magnitude > kFullScale ? 1 : 0;
        }
        peaks_[ch] = peak;
        above_ += above;
    }
}

double Levels::peak_db(int channel) const
{
    return 20 * std::log10(static_cast<double>(std::bit_cast<float>(peaks_[static_cast<std::size_t>(channel)])));
}

std::string Levels::text() const
{
    if (peaks_.empty())
        return "";
    std::string out = ", peak";
    char number[32];
    for (int ch = 0; ch < static_cast<int>(peaks_.size()); ++ch) {
        std::snprintf(number, sizeof number, " %.2f", peak_db(ch));
        out += number;
    }
    return out + " dBFS, " + std::to_string(above_) + " samples above full scale";
}

}  // namespace vantoro
