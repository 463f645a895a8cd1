// SPDX-License-Identifier: Apache-2.0
// The level detectors' parameters and linear model.
#pragma once

#include "hold_level_info.h"
#include "level_detectors.h"

namespace lbx::level_detectors {

using namespace lbx::info;

inline constexpr VantoroParam kMeasure = flag("enable", 1, "0 keeps the levels as they are");
inline constexpr VantoroSlot kLayout[] = {value(kMeasure), value(hold::kRmstc), value(hold::kHoldTime),
                                          value(hold::kDecayTime)};

inline constexpr VantoroParam kOctaves = real("width", "octaves", 1, {0.1F, 4}, "distance of the points 3 dB down")
                                             .logarithmic()
                                             .valid_in({std::numeric_limits<float>::min(), kInfinity});
inline constexpr VantoroReading kBandPass[] = {reads(kMultiLevelDetectorsFilterQ, kOctaves)};
inline constexpr VantoroChoice kBandTypes[] = {LBX_CHOICE(Detector_BP, kBandPass), LBX_CHOICE(Detector_LP),
                                               LBX_CHOICE(Detector_HP)};
inline constexpr VantoroParam kBand[] = {
    choice("type", kBandTypes, Detector_BP, "band-pass, low-pass or high-pass"),
    corner_hz("fc", 1000, "centre or corner"),
    real("q", "", 1, {0.3F, 10}, "Q").logarithmic().valid_in({std::numeric_limits<float>::min(), kInfinity}),
};
inline constexpr float kOneBand[] = {Detector_BP, 1000, 1};
inline constexpr VantoroTable kBands = list("bands", kBand, 1, 10, kOneBand, "measured side by side");
inline constexpr VantoroSlot kMultiLayout[] = {value(kMeasure),         value(hold::kRmstc), value(hold::kHoldTime),
                                               value(hold::kDecayTime), count(kBands),       rows(kBands)};

void linear_model(const BlockAlgo* blk, const Paths& paths);

}  // namespace lbx::level_detectors
