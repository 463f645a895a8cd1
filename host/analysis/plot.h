// SPDX-License-Identifier: Apache-2.0
// Responses on paper: magnitude and phase over frequency, drawn by gnuplot, or as a table.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "analysis/response.h"

namespace vantoro {

struct Curve {
    std::string name;
    Spectrum values;  // not a number: nothing is known there
    bool dashed = false;
};

double magnitude_db(std::complex<double> h);  // -300 dB at least
double phase_deg(std::complex<double> h);     // -180 .. 180

// A line of names, then a line per frequency: Hz, and dB and degrees of each curve; what is not known is left empty.
std::string csv_text(const Axis& axis, const std::vector<Curve>& curves);

// A gnuplot script that writes the picture to its standard output. `picture`: "svg" or "png".
std::string plot_script(const Axis& axis, const std::vector<Curve>& curves, std::string_view title,
                        std::string_view picture);

}  // namespace vantoro
