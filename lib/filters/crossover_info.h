// SPDX-License-Identifier: Apache-2.0
// Parameters and outputs of the crossovers.
#pragma once

#include "crossover.h"
#include "section_info.h"

namespace lbx::crossover {

using namespace lbx::info;

inline constexpr VantoroPinRule kTwoWay = rule("n -> 2n", pins(VANTORO_N), pins(VANTORO_N, 2), 1, 2);
inline constexpr VantoroPinRule kThreeWay = rule("n -> 3n", pins(VANTORO_N), pins(VANTORO_N, 3), 1, 3);

constexpr ParamWords band_gain(std::string_view name)
{
    return gain_db(name, 0, {-50, 24}, "gain of the band").clamped(kLevelRange);
}
constexpr ParamWords double_gain(std::string_view name)
{
    return gain_db(name, 0, {-25, 12}, "counts twice: each of the two equal filters in series has it")
        .clamped(kLevelRange)
        .valid_in({-kInfinity, kMostGainDb / 2});
}
inline constexpr VantoroParam kLowGainDb = band_gain("lowGainDb"), kLowTwiceDb = double_gain("lowGainDb");
inline constexpr VantoroParam kHighGainDb = band_gain("highGainDb"), kHighTwiceDb = double_gain("highGainDb");
inline constexpr VantoroParam kMedGainDb = band_gain("medGainDb"), kMedTwiceDb = double_gain("medGainDb");

// `gain` is read by the types that are one filter twice.
constexpr Choices<10> types(std::span<const VantoroReading> gain = {})
{
    return {{LBX_CHOICE(LR12), LBX_CHOICE(Butter12), LBX_CHOICE(Bessel12), LBX_CHOICE(Butter18), LBX_CHOICE(Bessel18),
             LBX_CHOICE(LR24, gain), LBX_CHOICE(Butter24), LBX_CHOICE(Bessel24), LBX_CHOICE(LR36, gain),
             LBX_CHOICE(LR48, gain)}};
}
inline constexpr VantoroReading kLowTwice[] = {reads(kCrossover2WayLowGainDB, kLowTwiceDb)};
inline constexpr VantoroReading kHighTwice[] = {reads(kCrossover2WayHighGainDB, kHighTwiceDb)};
inline constexpr VantoroReading kMedTwice[] = {reads(kCrossover3WayMedGainDB, kMedTwiceDb)};
inline constexpr Choices kLowTypes = types(kLowTwice), kHighTypes = types(kHighTwice), kMedLpTypes = types(kMedTwice),
                         kMedHpTypes = types();

// The type says how many sections a band has.
constexpr ParamWords type_choice(std::string_view name, const Choices<10>& types, const char* help)
{
    return choice(name, types.list, LR24, help).flagged(VANTORO_SIZES);
}
inline constexpr VantoroParam kLowType = type_choice("lowType", kLowTypes, "low-pass of the low band");
inline constexpr VantoroParam kLowFc = corner_hz("lowFc", 250, "corner of the low band");
inline constexpr VantoroParam kHighType = type_choice("highType", kHighTypes, "high-pass of the high band");
inline constexpr VantoroParam kHighFc = corner_hz("highFc", 3000, "corner of the high band");
inline constexpr VantoroParam kPolarityLow = flag("polarity", 0, "1 inverts the low band");
inline constexpr VantoroSlot kTwoWayLayout[] = {value(kLowType),    value(kLowFc),  value(kLowGainDb),
                                                value(kHighType),   value(kHighFc), value(kHighGainDb),
                                                value(kPolarityLow)};

inline constexpr VantoroParam kMedLpType = type_choice("medLpType", kMedLpTypes, "low-pass of the mid band");
inline constexpr VantoroParam kMedLpFc = corner_hz("medLpFc", 3000, "upper corner of the mid band");
inline constexpr VantoroParam kMedHpType = type_choice("medHpType", kMedHpTypes, "high-pass of the mid band");
inline constexpr VantoroParam kMedHpFc = corner_hz("medHpFc", 250, "lower corner of the mid band");
inline constexpr VantoroParam kPolarity1 = flag("polarity1", 0, "1 inverts the low band");
inline constexpr VantoroParam kPolarity2 = flag("polarity2", 0, "1 inverts the mid band");
inline constexpr VantoroSlot kThreeWayLayout[] = {
    value(kLowType),    value(kLowFc),     value(kLowGainDb), value(kHighType),  value(kHighFc),
    value(kHighGainDb), value(kMedLpType), value(kMedLpFc),   value(kMedHpType), value(kMedHpFc),
    value(kMedGainDb),  value(kPolarity1), value(kPolarity2)};

// Bands are 0 low, 1 high, 2 mid.
int bands(const BlockAlgo* blk);
void band_sections(const BlockAlgo* blk, int band, const Paths& paths);

void linear_model(const BlockAlgo* blk, const Paths& paths);

}  // namespace lbx::crossover
