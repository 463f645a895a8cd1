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
    const auto bits = [](float x) { return std::bit_cast<std::int32_t>(x); };
    const auto magnitude = [&](float x) { return bits(x) & 0x7fffffff; };
    for (std::size_t ch = 0; ch < peaks_.size() && frames > 0; ++ch) {
        const float* x = channels[ch];
        std::int32_t peak = 0;
        std::int32_t above = 0;
        std::int32_t flat = magnitude(x[0]) == kFullScale && last_[ch] == bits(x[0]) ? 1 : 0;
        for (int i = 0; i < frames; ++i) {
            peak = std::max(peak, magnitude(x[i]));
            above += magnitude(x[i]) > kFullScale ? 1 : 0;
        }
        const int loud = peak >= kFullScale ? frames : 0;  // seldom more than 0
        for (int i = 1; i < loud; ++i)
            flat += ((magnitude(x[i]) ^ kFullScale) | (bits(x[i]) ^ bits(x[i - 1]))) == 0 ? 1 : 0;
        peaks_[ch] = std::max(peaks_[ch], peak);
        last_[ch] = bits(x[frames - 1]);
        above_ += above;
        flat_ += flat;
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
    out += " dBFS, " + std::to_string(above_) + " samples above full scale";
    return flat_ > 0 ? out + ", " + std::to_string(flat_) + " flat at full scale" : out;
}

}  // namespace vantoro
