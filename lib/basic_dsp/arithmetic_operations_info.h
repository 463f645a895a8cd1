// SPDX-License-Identifier: Apache-2.0
// The parameters of the level smoother and the polynomial, and the linear models.
#pragma once

#include "../framework/info.h"
#include "arithmetic_operations.h"

namespace lbx::arithmetic {

using namespace lbx::info;

// Not valid beyond the clamp either: a set keeps the clamped time but derives the factor from the one it was handed,
// and hundredths of a millisecond make that unstable.
inline constexpr VantoroRange kTimes = {1, 8686};
inline constexpr VantoroParam kTime =
    real("time", "ms", 121, {10, 2000}, "twice the time constant of the average; 8686 / time is rounded to whole dB/s")
        .logarithmic()
        .clamped(kTimes)
        .valid_in(kTimes);
inline constexpr VantoroParam kRate =
    real("rate", "dB/s", 121, {1, 1000}, "fall in silence, in 10 log10 of the average; in 20 log10 it is twice as fast")
        .logarithmic()
        .clamped(kTimes)
        .valid_in(kTimes);
inline constexpr VantoroReading kReadsRate[] = {reads(kBasicRMSTime, kRate)};
inline constexpr VantoroChoice kTimeUnits[] = {one_choice("Milliseconds", 0), one_choice("DbPerSecond", 1, kReadsRate)};
inline constexpr VantoroParam kIsDbPs = choice("isDbPs", kTimeUnits, 0, "unit of time");

inline constexpr VantoroSlot kSmootherLayout[] = {value(kTime), value(kIsDbPs)};

inline constexpr VantoroParam kCoefficient[] = {
    real("c", "", 0, {-2, 2}, "of x to the power of the row's index").in_steps(0.01F)};
inline constexpr float kConstantOne[] = {1, 0, 0};
inline constexpr VantoroTable kCoefficients =
    list("coefficients", kCoefficient, 2, 10000, kConstantOne, "lowest power first, from the constant on");

inline constexpr VantoroSlot kPolynomialLayout[] = {count(kCoefficients), rows(kCoefficients)};

void invert_model(const BlockAlgo* blk, const Paths& paths);
void sum_model(const BlockAlgo* blk, const Paths& paths);  // the sum and the difference

}  // namespace lbx::arithmetic
