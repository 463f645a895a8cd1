// SPDX-License-Identifier: Apache-2.0
// One number: from JSON, and what there is to say about it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "catalog/layout.h"

namespace vantoro {

// Open: `value` is not what the parameter takes, and that is reported. It may be a text with a unit that fits the one
// that the parameter has under the choices made.
std::optional<float> read_number(const VantoroParam& param, const Meaning& meaning, PinCounts pins,
                                 const nlohmann::json& value, const std::string& where, std::vector<Problem>& problems);

// What a number that stands in `param` does instead of what it says, beside the others as `meaning` tells; empty: it
// does that. Reports are rare, so nothing of one is made before.
std::string surprise(const VantoroParam& param, const Meaning& meaning, float value, const BlockType& type);
// The same of a frequency that is not below half the rate, and of a speed that blocks of this size do not follow.
std::string too_high(const Meaning& meaning, float value, Pace pace);

}  // namespace vantoro
