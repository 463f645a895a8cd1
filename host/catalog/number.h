// SPDX-License-Identifier: Apache-2.0
// One number: from JSON, and what there is to say about it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "catalog/layout.h"

namespace vantoro {

// Open: `value` is not what the parameter takes, and that is reported.
std::optional<float> read_number(const VantoroParam& param, PinCounts pins, const nlohmann::json& value,
                                 const std::string& where, std::vector<Problem>& problems);

// A number in its place.
struct Placed {
    const VantoroParam& param;  // its own entry
    Meaning meaning;            // what it is beside the others
    float value;
    std::string where;
    std::string written;  // as the report quotes it
};
// Warns when the number, of one of the blocks of `type`, does something else than it says.
void check_use(const Placed& number, const BlockType& type, std::vector<Problem>& problems);
// Warns of a frequency that is not below half the rate.
void check_frequency(const Placed& number, int rate, std::vector<Problem>& problems);

}  // namespace vantoro
