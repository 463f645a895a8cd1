// SPDX-License-Identifier: Apache-2.0
// Whether what a recursive filter rings with dies away.
#pragma once

#include <cmath>
#include <span>
#include <vector>

#include "catalog/catalog.h"

namespace vantoro {

// The triangle in which both poles of 1 + a1 / z + a2 / z^2 lie within the unit circle, its edges included.
inline bool stable_poles(double a1, double a2) { return std::abs(a2) <= 1 && std::abs(a1) <= 1 + a2; }

// Warns of a vector that passed build_vector and gives a filter a pole outside of the unit circle: at the first number
// of which another value, nearer to the default, mends that; the block itself where no number does alone. Nothing is
// known of blocks that a pin controls, and nothing is said of a number that has a warning in `problems` already.
void check_stability(const BlockType& type, PinCounts pins, std::span<const float> vector, Pace pace,
                     std::vector<Problem>& problems);

}  // namespace vantoro
