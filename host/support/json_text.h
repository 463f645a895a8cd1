// SPDX-License-Identifier: Apache-2.0
// JSON from people: syntax errors with line and column, repeated keys, bounded nesting.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/problem.h"

namespace vantoro {

struct JsonText {
    nlohmann::json value;            // discarded when the syntax is wrong
    std::vector<std::string> order;  // the keys of the top-level object `ordered`, as written
};

JsonText parse_json(std::string_view text, std::string_view ordered, std::vector<Problem>& problems);

// `key` as a step of a JSON pointer, slash included.
std::string pointer_step(std::string_view key);
// A value as it is quoted in a report: one line, cut when long.
std::string as_text(const nlohmann::json& value);

}  // namespace vantoro
