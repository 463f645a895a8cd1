// SPDX-License-Identifier: Apache-2.0
// A schematic as the graph runtime takes it (vantoro_graph.h): what is played here is what a product plays.
#pragma once

#include <cstdint>
#include <vector>

#include "schematic/schematic.h"

namespace vantoro {

// The preset, word by word. `rate` in Hz; 0: any. Its nodes are the blocks in the order of processing. The changes of
// the schematic are not part of it.
std::vector<std::uint32_t> preset_of(const Schematic& schematic, int rate);

}  // namespace vantoro
