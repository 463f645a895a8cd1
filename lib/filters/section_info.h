// SPDX-License-Identifier: Apache-2.0
// What the filters' descriptions have in common: gain, boost, and the fourth number of a response, which is a Q, a
// slope, a bandwidth or a ripple.
#pragma once

#include "../framework/info.h"
#include "../kernels/section_design.h"

namespace lbx::info {

inline constexpr VantoroRange kAboveZero = {std::numeric_limits<float>::min(), kInfinity};

inline constexpr ParamWords kSectionGainDb = gain_db("gainDb", 0, {-50, 24}, "gain of the whole").clamped(kLevelRange);
inline constexpr ParamWords kSectionBoostDb =
    gain_db("boostDb", 0, {-24, 24}, "of peaks and shelves").clamped(kLevelRange);
// Of equalisers, whose low- and high-passes read their boost as a gain.
inline constexpr ParamWords kPassGainDb = gain_db("passGainDb", 0, {-50, 24}, "of the pass band").clamped(kLevelRange);

inline constexpr ParamWords kQuality =
    real("q", "", 1, {0.1F, 16}, "larger is narrower; at a corner, more resonant").logarithmic().clamped(kQRange);
inline constexpr ParamWords kSlope =
    real("slope", "", 1, {0.1F, 2}, "steepness; 1 is the steepest shelf without overshoot")
        .in_steps(0.01F)
        .clamped(kSlopeRange);
inline constexpr ParamWords kBandwidth =
    real("width", "octaves", 1, {0.05F, 8}, "distance of the points 3 dB down").logarithmic().clamped(kOctaveRange);
inline constexpr ParamWords kRippleDb =
    real("rippleDb", "dB", 1, {0.1F, 10}, "ripple of the pass band").decibel().clamped(kRippleRange);

// The default row of a table, from its columns.
template <std::size_t kColumns>
struct InitialRow {
    float values[kColumns];
};
template <std::size_t kColumns>
constexpr InitialRow<kColumns> initial_row(const VantoroParam (&columns)[kColumns])
{
    InitialRow<kColumns> row = {};
    for (std::size_t i = 0; i < kColumns; ++i)
        row.values[i] = columns[i].initial;
    return row;
}

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
        VantoroRange& clamp = clamps[static_cast<std::size_t>(choice.value)] = itself.clamp;
        for (int r = 0; r < choice.reading_count; ++r)
            if (choice.readings[r].entry == entry)
                clamp = choice.readings[r].read != 0 ? choice.readings[r].as->clamp : kAnyValue;
    }
    return clamps;
}

}  // namespace lbx::info
