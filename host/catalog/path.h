// SPDX-License-Identifier: Apache-2.0
// Paths of values below a block's parameters: "fc", "bands[3].boostDb", "gains[0][1]".
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "support/problem.h"

namespace vantoro {

// "bands[3].boostDb": "bands", "3", "boostDb".
std::vector<std::string> steps_of(std::string_view path);

// What a text means as a value: a number, JSON, or else the text itself.
nlohmann::json value_of(std::string_view text);

// The value at a path below `root`, and where it is, as a JSON pointer. Null where there is none, and a problem that
// quotes `text`.
const nlohmann::json* find_value(const nlohmann::json& root, std::string_view path, std::string_view text,
                                 std::string& where, std::vector<Problem>& problems);

}  // namespace vantoro
