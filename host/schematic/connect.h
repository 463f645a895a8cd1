// SPDX-License-Identifier: Apache-2.0
// Which output pin feeds which input pin.
#pragma once

#include <vector>

#include "schematic/node.h"
#include "schematic/schematic.h"
#include "support/problem.h"

namespace vantoro {

// What each input pin of each node hears, by the numbers of nodes: a block or a terminal, through parts that are used.
// The pins must be settled; broken nodes are passed over.
std::vector<std::vector<Feed>> connect(const std::vector<Node>& nodes, const std::vector<Wire>& wires,
                                       std::vector<Problem>& problems);

}  // namespace vantoro
