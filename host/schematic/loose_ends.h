// SPDX-License-Identifier: Apache-2.0
// Blocks and pins that are not connected: the schematic runs, but hardly as it is meant.
#pragma once

#include <optional>
#include <vector>

#include "schematic/schematic.h"
#include "support/problem.h"

namespace vantoro {

// Warnings. `inputs`: the channels that the document gives the input, if it does.
std::vector<Problem> loose_ends(const Schematic& schematic, std::optional<int> inputs);

}  // namespace vantoro
