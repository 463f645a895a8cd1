// SPDX-License-Identifier: Apache-2.0
// The order of processing.
#pragma once

#include <span>
#include <vector>

#include "schematic/schematic.h"
#include "support/problem.h"

namespace vantoro {

// Indices of the blocks, every source before its listeners; as written where that leaves room. Every cycle is a
// problem, block by block.
std::vector<int> order_of(std::span<const Block> blocks, std::vector<Problem>& problems);

}  // namespace vantoro
