// SPDX-License-Identifier: Apache-2.0
// What the filters' descriptions have in common: the gain, and the fourth number of a response, which is a Q, a slope,
// a bandwidth or a ripple.
#pragma once

#include "../framework/info.h"
#include "../kernels/section_design.h"

namespace lbx::info {

inline constexpr VantoroRange kAboveZero = {std::numeric_limits<float>::min(), kInfinity};

inline constexpr ParamWords kSectionGainDb = gain_db("gainDb", 0, {-50, 24}, "gain of the whole").clamped(kLevelRange);

inline constexpr ParamWords kQuality =
    real("q", "", 1, {0.1F, 16}, "larger is narrower; at a corner, more resonant").logarithmic().clamped(kQRange);
inline constexpr ParamWords kSlope =
    real("slope", "", 1, {0.1F, 2}, "steepness; 1 is the steepest shelf without overshoot")
        .in_steps(0.01F)
        .clamped(kSlopeRange);
inline constexpr ParamWords kBandwidth =
    real("bandwidth", "octaves", 1, {0.05F, 8}, "between the -3 dB points").logarithmic().clamped(kOctaveRange);
inline constexpr ParamWords kRippleDb =
    real("rippleDb", "dB", 1, {0.1F, 10}, "ripple of the pass band").decibel().clamped(kRippleRange);

template <std::size_t kCount>
struct Choices {
    VantoroChoice list[kCount];
};

// For the module: what each choice limits an entry to, by the choice's number. Entries that it does not read have no
// limits.
template <std::size_t kCount>
constexpr std::array<VantoroRange, kCount> clamps_by_choice(const VantoroChoice (&choices)[kCount], int entry,
                                                            const VantoroParam& itself)
{
    std::array<VantoroRange, kCount> clamps = {};
    for (const VantoroChoice& choice : choices) {
        const VantoroParam* as = &itself;
        for (int r = 0; r < choice.reading_count; ++r)
            if (choice.readings[r].entry == entry)
                as = choice.readings[r].as;
        clamps[static_cast<std::size_t>(choice.value)] = as ? as->clamp : kAnyValue;
    }
    return clamps;
}

}  // namespace lbx::info
