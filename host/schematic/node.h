// SPDX-License-Identifier: Apache-2.0
// The graph while it is read: nodes whose pin counts may be open, and wires as they are written.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "catalog/catalog.h"

namespace vantoro {

// A block or a terminal.
struct Node {
    std::string id;
    const BlockType* type = nullptr;  // null: a terminal, any count will do
    std::optional<int> inputs{}, outputs{};
    bool broken = false;  // its type or its pins are wrong: nothing to check against
};

// One end of a wire: "mix" (all pins), "mix.2", "mix.2-5", "mix.1-" (from pin 1 on).
struct End {
    static constexpr int kUnknown = -1;
    int node = kUnknown;
    int first = 0;
    std::optional<int> count{};  // open: up to the last pin
    std::string text{};          // as written
};

struct Wire {
    End from, to;
    int index;  // in the document
};

// "1 input", "2 inputs"
std::string count_text(int count, std::string_view what);

}  // namespace vantoro
