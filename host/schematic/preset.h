// SPDX-License-Identifier: Apache-2.0
// A schematic as the graph runtime takes it (vantoro_graph.h): what is played here is what a product plays.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "schematic/schematic.h"

namespace vantoro {

// The preset, word by word. `rate` in Hz; 0: any. Its nodes are the blocks in the order of processing. The changes of
// the schematic are not part of it.
std::vector<std::uint32_t> preset_of(const Schematic& schematic, int rate);

// Its bytes, as they stand in a file.
std::string bytes_of(const std::vector<std::uint32_t>& preset);

// The schematic that a preset was made of; its ids are printable. Throws UserError with the runtime's reason for one
// that cannot run.
Schematic schematic_of(std::string_view preset);

// Whether a file begins like a preset.
bool is_preset(std::string_view bytes);

}  // namespace vantoro
