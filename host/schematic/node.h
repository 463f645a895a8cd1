// SPDX-License-Identifier: Apache-2.0
// The graph while it is read: nodes whose pin counts may be open, and wires as they are written.
#pragma once

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "catalog/catalog.h"

namespace vantoro {

inline constexpr std::string_view kInputId = "input";
inline constexpr std::string_view kOutputId = "output";

// A block, a terminal, or a side of a part that is used.
struct Node {
    std::string id;
    const BlockType* type = nullptr;  // null: a terminal, any count will do
    std::optional<int> inputs{}, outputs{};
    bool broken = false;  // its type or its pins are wrong: nothing to check against
    // A side of a part that is used: what enters it leaves it. Outside it goes by its id, inside by this name.
    std::string_view inside{};
    std::vector<std::string> names{};  // of the pins of such a side, if they have some

    bool passes() const { return !inside.empty(); }
    bool seen_outside(bool source) const { return !passes() || source != (inside == kInputId); }
    std::string name(bool source) const { return seen_outside(source) ? id : std::string(inside); }
};

// One end of a wire: "mix" (all pins), "mix.2", "mix.2-5", "mix.1-" (from pin 1 on), or the same of the pins that go by
// a name: "xo.low", "xo.low.1".
struct End {
    static constexpr int kUnknown = -1;
    int node = kUnknown;
    int first = 0, every = 1;    // a negative number counts from the end of the side, -1 is its last pin
    int last = -1;               // where such pins end, from the end of the side
    std::optional<int> count{};  // open: up to the last
    std::string text{};          // as written
    std::string_view name{};     // that these pins go by, and the first of all that do
    int first_named = 0;

    // On a side of so many pins: the n-th pin of this end, and how many it has.
    int pin(int n, int side) const { return first + every * n + (first < 0 ? side : 0); }
    int pins(int side) const { return count.value_or(std::max((side + last - pin(0, side) + every) / every, 0)); }
    // All that go by the same name; without one, the whole side.
    int pins_named(int side) const { return End{.first = first_named, .every = every, .last = last}.pins(side); }
    // The fewest pins of a side on which an open end has so many.
    int side(int pins) const { return first - last + every * (pins - 1); }
};

struct Wire {
    End from, to;
    int index;  // in the document, or beyond those of it: in the parts that are used
    int first;  // index of the first wire that stands in the same place

    static std::string place(int index) { return "/wires/" + std::to_string(index); }
};

// "1 input", "2 inputs"
std::string count_text(int count, std::string_view what);

}  // namespace vantoro
