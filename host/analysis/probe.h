// SPDX-License-Identifier: Apache-2.0
// What a response is asked of: a schematic reduced to some of its blocks, with an input and outputs of its own.
#pragma once

#include <string>
#include <vector>

#include "schematic/schematic.h"

namespace vantoro {

struct Probe {
    Schematic schematic;             // without timed changes, and without blocks that no output hears
    std::vector<std::string> names;  // of its outputs: "output 0 (eq)", "way.1 high", or by the title of the block
};

// All of a schematic.
Probe probe_graph(Schematic schematic);

// Some blocks, each after the one before, pin by pin; the input is that of the first, the outputs are those of the
// last. Pins that carry no signal (controls, a sidechain) hear what they hear in the schematic, where the input is now
// silent. Throws UserError.
Probe probe_blocks(Schematic schematic, const std::vector<std::string>& ids);

// Every frequency that a block is set to, in Hz: corners, centres.
std::vector<double> corners_of(const Schematic& schematic);

}  // namespace vantoro
