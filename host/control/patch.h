// SPDX-License-Identifier: Apache-2.0
// A JSON text with other values in it. What did not change keeps its characters: spaces, lines, order, the way a number
// is written. What is new is written as its neighbours are.
#pragma once

#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace vantoro {

// `text` must be JSON of bounded depth without repeated keys. New members of an object of several lines come before its
// last one, so that no other line changes.
std::string patched(std::string_view text, const nlohmann::ordered_json& to);

}  // namespace vantoro
