// SPDX-License-Identifier: Apache-2.0
// The parameters of the delays and gains, and their linear models.
#pragma once

#include "../framework/info.h"
#include "dsp_functions.h"

namespace lbx::dsp_functions {

using namespace lbx::info;

// ---- delays ----

inline constexpr VantoroRange kLengths = {1, 1500};
inline constexpr VantoroRange kDelays = {0, kLengths.max};  // and at most maxDelay
inline constexpr char kLengthHelp[] = "length of the delay line, truncated to whole samples";

inline constexpr VantoroParam kMaxDelay =
    real("maxDelay", "samples", 1, kLengths, kLengthHelp).in_steps(1).clamped(kLengths).flagged(VANTORO_SIZES);
inline constexpr VantoroParam kMaxDelayMs =
    real("maxDelay", "ms", 1, {1, 100}, kLengthHelp).in_steps(0.1F).clamped(kLengths);
inline constexpr VantoroParam kDelay =
    real("delay", "samples", 1, kLengths, "truncated to whole samples, at most maxDelay; 0 delays by maxDelay")
        .in_steps(1)
        .clamped(kDelays)
        .flagged(VANTORO_AT_MOST_BEFORE);
inline constexpr VantoroParam kDelayMs =
    real("delay", "ms", 1, {0.1F, 100},
         "truncated to whole samples (0.45 ms are 21 at 48 kHz), at most maxDelay; less than one delays by maxDelay")
        .in_steps(0.01F)
        .clamped(kDelays)
        .flagged(VANTORO_AT_MOST_BEFORE)
        .flagged(VANTORO_WHOLE_SAMPLES);

// The unit that is truncated to whole numbers of it.
constexpr VantoroParam whole_samples(VantoroParam param)
{
    param.kind = VANTORO_INTEGER;
    return param;
}
inline constexpr VantoroParam kMaxDelaySamples = whole_samples(kMaxDelay), kDelaySamples = whole_samples(kDelay);

inline constexpr int kMilliseconds = 1;
inline constexpr VantoroReading kReadsSamples[] = {reads(kBasicDelayMaxDelay, kMaxDelaySamples),
                                                   reads(kBasicDelayDelay, kDelaySamples)};
inline constexpr VantoroReading kReadsMs[] = {reads(kBasicDelayMaxDelay, kMaxDelayMs),
                                              reads(kBasicDelayDelay, kDelayMs)};
inline constexpr VantoroChoice kDelayUnits[] = {one_choice("Samples", 0, kReadsSamples),
                                                one_choice("Milliseconds", kMilliseconds, kReadsMs)};
inline constexpr VantoroParam kDelayType = choice("type", kDelayUnits, 0, "unit of both").flagged(VANTORO_SIZES);

inline constexpr VantoroSlot kDelayLayout[] = {value(kMaxDelay), value(kDelay), value(kDelayType)};
inline constexpr VantoroSlot kVolDelayLayout[] = {value(kMaxDelay)};

void delay_model(const BlockAlgo* blk, const Paths& paths);

// ---- gains ----

inline constexpr VantoroParam kGain = coarse_gain_db(
    "gain", 0, {-60, 24}, "coarse: up to 0.35 dB off, and 0 dB gives -0.256 dB; a factor (type Linear) is exact");
inline constexpr VantoroParam kFactor =
    real("factor", "", 0, {-2, 2}, "exact; below 0 it inverts").in_steps(0.01F).valid_in({-1000, 1000});  // 60 dB
inline constexpr VantoroReading kReadsFactor[] = {reads(kBasicGainGain, kFactor)};
inline constexpr VantoroChoice kGainUnits[] = {one_choice("dB", 0), one_choice("Linear", 1, kReadsFactor)};
inline constexpr VantoroParam kGainType = choice("type", kGainUnits, 0, "unit of gain");
inline constexpr VantoroParam kSlewRate = slew_rate(12).clamped(kSlewRates);

inline constexpr VantoroSlot kGainLayout[] = {value(kGain), value(kGainType)};
inline constexpr VantoroSlot kGainSlewLayout[] = {value(kGain), value(kGainType), value(kSlewRate)};

void gain_model(const BlockAlgo* blk, const Paths& paths);
void gain_slew_model(const BlockAlgo* blk, const Paths& paths);

}  // namespace lbx::dsp_functions
