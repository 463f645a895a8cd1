// SPDX-License-Identifier: Apache-2.0
// A schematic as text for people.
#pragma once

#include <string>
#include <vector>

#include "schematic/schematic.h"

namespace vantoro {

// On standard output: rate, channels, then each block in the order of processing with what it hears and how it is set.
void print_graph(const Schematic& schematic);

// How a block is set: "fc = 1000 Hz", in the order of its vector; a table's row is one item, of its first
// kMostRows.
inline constexpr std::size_t kMostRows = 64;
std::vector<std::string> settings_of(const Block& block);

}  // namespace vantoro
