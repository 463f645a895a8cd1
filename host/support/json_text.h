// SPDX-License-Identifier: Apache-2.0
// JSON from people, and from programs: syntax errors, repeated keys and every other problem with line and column;
// bounded nesting.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/json_walk.h"
#include "support/problem.h"

namespace vantoro {

struct JsonText {
    nlohmann::json value;  // discarded when the syntax is wrong
    // The keys of the objects that are a member `ordered`, as written, by the pointer of the object.
    std::map<std::string, std::vector<std::string>> order;
};

// A document, with comments: // to the end of the line, /* to its end */.
JsonText parse_document(std::string_view text, std::string_view ordered, std::vector<Problem>& problems);

// What parse_document takes without a problem, every object in the order in which it is written.
nlohmann::ordered_json parse_ordered(std::string_view text);

// A text of another program, without comments; discarded when the syntax is wrong.
nlohmann::json parse_json(std::string_view text, std::vector<Problem>& problems);

// A text from elsewhere, such as the command line; discarded when it is no JSON, or nested too deep.
nlohmann::json parse_value(std::string_view text);

// Gives each problem whose `where` is a JSON pointer, and that has no line yet, its place in a text that
// parse_document took. What is missing is placed at the innermost value around it.
void locate(std::string_view text, std::vector<Problem>& problems);

// A value as it is quoted in a report: one line, cut when long.
std::string as_text(const nlohmann::json& value);

}  // namespace vantoro
