// SPDX-License-Identifier: Apache-2.0
// What the control side tells, as JSON (docs/control.md).
#pragma once

#include <span>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "control/document.h"
#include "live/player.h"

namespace vantoro {

nlohmann::ordered_json to_json(std::span<const Problem> problems);
nlohmann::ordered_json to_json(const PlayerStatus& status);

// The document and all that belongs to it. `by`: who changed it last; `speaker`: the measured loudspeaker's name.
nlohmann::ordered_json state_json(const Document& document, const std::string& by, const std::string& speaker);

// The order of levels in a message: "input.0", "eq.0", "eq.1", "output.0".
std::vector<std::string> signals_of(const Schematic& schematic);

// The same of what a player measured, in dB.
nlohmann::ordered_json meters_json(const Schematic& schematic, const Readings& readings);

double rounded(double value, int decimals);

}  // namespace vantoro
