// SPDX-License-Identifier: Apache-2.0
// Wires: how many pins the open blocks get, which output feeds which input, and the order of processing.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "catalog/catalog.h"
#include "schematic/schematic.h"

namespace vantoro {

inline constexpr int kUnknownNode = -1;

// One end of a wire: "mix" (all pins), "mix.2", "mix.2-5", "mix.1-" (from pin 1 on).
struct End {
    int node = kUnknownNode;  // a block, or a terminal (see Wiring); unknown: the wire is left out
    int first = 0;
    std::optional<int> count{};  // open: up to the last pin
    std::string text{};          // as written
};

struct Wire {
    End from, to;
    int index;  // in the document
};

// The parts of "id.first-last"; false when the text is no such thing.
bool parse_end(std::string_view text, std::string& id, End& end);

// A block or terminal whose pin counts may be open.
struct Node {
    std::string id;
    const BlockType* type;  // null: a terminal, any count will do
    std::optional<int> inputs{}, outputs{};
    bool broken = false;  // its type is unknown: nothing to check against
};

// Settles what is open: counts spread along wires that join all pins and across blocks whose rule leaves no choice;
// what is then still open takes the fewest pins that its numbered wires and its rule ask for. Terminal nodes stay open
// when nothing is wired to them.
void settle_pins(std::vector<Node>& nodes, const std::vector<Wire>& wires, std::vector<Problem>& problems);

// What each input pin of each node hears. Nodes must be settled; broken ones are passed over.
std::vector<std::vector<Source>> connect(const std::vector<Node>& nodes, const std::vector<Wire>& wires,
                                         std::vector<Problem>& problems);

// The order of processing of the first `count` nodes. Every cycle is named, block by block.
std::vector<int> order_of(const std::vector<Node>& nodes, const std::vector<std::vector<Source>>& sources, int count,
                          std::vector<Problem>& problems);

}  // namespace vantoro
