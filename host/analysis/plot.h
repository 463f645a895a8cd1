// SPDX-License-Identifier: Apache-2.0
// Responses on paper: magnitude and phase over frequency, drawn by gnuplot, or as a table.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/phase.h"

namespace vantoro {

struct Curve {
    std::string name;
    Spectrum values;  // not a number: nothing is known there
    bool dashed = false;
    std::vector<double> delay{};  // group delay in seconds, where it is wanted
};

// What is drawn below the magnitude.
enum class Lower {
    phase,          // -180 to 180 degrees
    unwrapped,      // degrees without jumps
    without_delay,  // the same without the bare delay of the curve
    group_delay     // ms
};

struct Range {
    double low, high;
};
struct View {
    Lower lower = Lower::phase;
    std::optional<Range> hz{}, db{};  // none: all of it
};

double magnitude_db(std::complex<double> h);  // -300 dB at least
double phase_deg(std::complex<double> h);     // -180 .. 180

// A line of names, then a line per frequency: Hz, and of each curve dB and what the picture has below; what is not
// known is left empty.
std::string csv_text(const Axis& axis, const std::vector<Curve>& curves, const View& view = {});

// A gnuplot script that writes the picture to its standard output. `picture`: "svg" or "png".
std::string plot_script(const Axis& axis, const std::vector<Curve>& curves, std::string_view title,
                        std::string_view picture, const View& view = {});

}  // namespace vantoro
