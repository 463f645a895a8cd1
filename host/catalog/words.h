// SPDX-License-Identifier: Apache-2.0
// What a description says, in words: shared by reports, sheets, JSON and the schema.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "catalog/catalog.h"

namespace vantoro {

// A float as a person would write it: 200, not 200.0.
nlohmann::ordered_json number_json(float v);
// The same for all numbers of a value.
nlohmann::ordered_json tidy(const nlohmann::ordered_json& value);

std::string joined(const std::vector<std::string_view>& names);  // "a, b, c"

std::string limits_text(VantoroRange range);          // "0.01 to 16", "from 0", "above 0", "up to 60", "any"
std::string default_text(const VantoroParam& param);  // "Gen_Param", "1000"
std::string length_text(const VantoroTable& table);  // "one per input", "0 to 10 rows"; of a grid: "rows times columns"
std::string_view per_text(VantoroPer per);           // "input", "pair of inputs"; empty for VANTORO_PER_NOTHING

}  // namespace vantoro
