// SPDX-License-Identifier: Apache-2.0
// One value set in a schematic's document, and nothing else of it changed.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "schematic/schematic.h"
#include "support/problem.h"

namespace vantoro {

struct Assignment {
    std::string path;  // "eq.bands[0].boostDb"
    nlohmann::ordered_json value;
};

// The block and what follows its point. Throws UserError.
struct Target {
    const Block& block;
    std::string path;
};
Target target_of(const Schematic& schematic, const std::string& path);

// A channel of a terminal that has `count`: of "output.1" it is 1. None: the text says no such channel.
std::optional<int> terminal_channel(std::string_view text, std::string_view terminal, int count);

// Sets `value` in `document`, which reads as `schematic`. A table that is left to its defaults is written out when one
// of its values is set. What is wrong goes to `problems`, as do warnings of this value; with an error the document
// stays as it was.
void place_value(nlohmann::ordered_json& document, const Schematic& schematic, const Assignment& value,
                 std::optional<int> rate, std::vector<Problem>& problems);

// Writes a whole parameter and checks nothing: several that are right only together come first this way, and then each
// through place_value.
void place_whole(nlohmann::ordered_json& document, const Schematic& schematic, const Assignment& value);

}  // namespace vantoro
