// SPDX-License-Identifier: Apache-2.0
// JSON for people: what fits into a line stands on one.
#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

namespace vantoro {

std::string json_lines(const nlohmann::ordered_json& value);  // ends with a new line

}  // namespace vantoro
