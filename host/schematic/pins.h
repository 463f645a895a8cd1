// SPDX-License-Identifier: Apache-2.0
// How many pins the blocks get whose counts are open.
#pragma once

#include <vector>

#include "schematic/node.h"
#include "support/problem.h"

namespace vantoro {

// Counts spread along wires that join all pins and across blocks whose rule leaves no choice; what is then still open
// takes the fewest pins that its numbered wires and its rule ask for. Every node that is not broken has both counts
// afterwards; a terminal that nothing is wired to has none of a side. False: there are more pins than a program should
// make of a few lines of text, and the rest is left undone.
bool settle_pins(std::vector<Node>& nodes, const std::vector<Wire>& wires, std::vector<Problem>& problems);

}  // namespace vantoro
