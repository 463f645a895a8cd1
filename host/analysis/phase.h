// SPDX-License-Identifier: Apache-2.0
// What phase tells: delay, and phase that is not folded into 360 degrees.
#pragma once

#include <vector>

#include "analysis/response.h"

namespace vantoro {

// Each bin of the axis and its neighbour, so that phase has a slope: twice as many bins.
Axis with_neighbours(const Axis& axis);

// On an axis with neighbours: the values of every second bin, and the group delay there in seconds. Not a number where
// nothing is known.
struct Slope {
    Spectrum values;
    std::vector<double> delay;
};
Slope take_slopes(const Axis& pairs, const Spectrum& values);

// Degrees, from the first known point on without jumps: the delay tells how often the phase turned between two points.
std::vector<double> unwrapped_deg(const Axis& axis, const Slope& slope);

// The delay of the signal itself, in seconds: filters add next to none far above their corners, so it is that of the
// highest octave in which a point lies within 40 dB of the top; the median there.
double bare_delay(const Axis& axis, const Slope& slope);

}  // namespace vantoro
