// SPDX-License-Identifier: Apache-2.0
// A schematic as text for people.
#pragma once

#include "schematic/schematic.h"

namespace vantoro {

// On standard output: rate, channels, then each block in the order of processing with what it hears and how it is set.
void print_graph(const Schematic& schematic);

}  // namespace vantoro
