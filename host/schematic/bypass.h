// SPDX-License-Identifier: Apache-2.0
// A schematic as it is listened to: blocks passed by, outputs alone. The blocks all stay, and with them the order, the
// pins and the meters.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "schematic/schematic.h"

namespace vantoro {

// The input pins that carry the signal itself: no controls, no sidechain.
std::vector<int> signal_pins(const Block& block);

// Whether each output has a signal input of its own that can stand for it.
bool can_be_bypassed(const Block& block);

// Listeners of these blocks hear what the blocks hear. Ids of blocks that are not there, or that cannot be bypassed,
// are passed over.
Schematic bypassed(Schematic schematic, const std::set<std::string>& ids);

// The other outputs are silent; none named: all are heard.
Schematic soloed(Schematic schematic, const std::set<int>& outputs);

}  // namespace vantoro
