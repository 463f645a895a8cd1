// SPDX-License-Identifier: Apache-2.0
// Numbers with a unit, as people write them: "350 Hz", "1.2kHz", "-6 dB".
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

namespace vantoro {

// The number in `unit`; empty: the text is no number with a unit, or the unit is of another kind. Case does not count.
std::optional<double> in_unit(std::string_view text, std::string_view unit);

// The same of a value, which may be a plain number; NaN: neither.
double number_in(const nlohmann::json& value, std::string_view unit);

// The units that in_unit takes for one: "Hz or kHz".
std::string units_like(std::string_view unit);

// The same as a regular expression for whole texts.
std::string quantity_pattern(std::string_view unit);

}  // namespace vantoro
