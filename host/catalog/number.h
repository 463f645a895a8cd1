// SPDX-License-Identifier: Apache-2.0
// One number: from JSON, and what there is to say about it.
#pragma once

#include <optional>
#include <span>
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
// The same of a frequency that is not below half the rate, of a speed that blocks of this size do not follow, and of a
// time that is no whole number of samples.
std::string at_this_pace(const Meaning& meaning, float value, Pace pace);
// The same of the n-th of several entries, which means `meaning`: limited by the one before it, or below that of the
// row before. `before`: that row; empty: there is none.
std::string beside_others(const Meaning& meaning, const Entries& entries, std::span<const float> values, std::size_t n,
                          std::span<const float> before);

}  // namespace vantoro
