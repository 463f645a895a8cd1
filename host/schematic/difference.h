// SPDX-License-Identifier: Apache-2.0
// What differs between two schematics.
#pragma once

#include <string>
#include <vector>

#include "schematic/schematic.h"

namespace vantoro {

// A line each: "eq.fc: 1000 Hz -> 1200 Hz". Empty: they run alike. Titles, the order in which blocks are written and
// changes do not count.
std::vector<std::string> differences(const Schematic& from, const Schematic& to);

}  // namespace vantoro
