// SPDX-License-Identifier: Apache-2.0
// What differs between two schematics.
#pragma once

#include <string>
#include <vector>

#include "schematic/schematic.h"

namespace vantoro {

struct Difference {
    std::string what;      // "eq.fc"; the id of a block that is new or gone
    std::string from, to;  // "1000 Hz"; of a block its type, empty where it is not there
};

// Empty: they run alike. Titles, the order in which blocks are written and changes do not count.
std::vector<Difference> difference_list(const Schematic& from, const Schematic& to);

// A line each: "eq.fc: 1000 Hz -> 1200 Hz", "+ eq: Gen_Peaking".
std::vector<std::string> differences(const Schematic& from, const Schematic& to);

}  // namespace vantoro
