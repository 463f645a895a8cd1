// SPDX-License-Identifier: Apache-2.0
// Responses and curves for a page: computed on copies, away from what plays.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "control/document.h"

namespace vantoro {

struct ResponseRequest {
    int from = 0;                     // channel of the input
    std::vector<int> to{};            // outputs
    std::vector<std::string> blocks;  // each by itself, from its first input to its first output
    int points_per_octave = 48;
};

// {"frequency": [...], "responses": {"output.0": {"db": [...], "phase": [...]}, "comp": {"note": "..."}}, "speaker":
// ...} `speaker`: the text of a measured loudspeaker, or empty. Throws UserError.
nlohmann::ordered_json response_json(const Document& document, const ResponseRequest& request,
                                     const std::string& speaker);

// {"in": [dB], "out": [dB]}: what a block makes of square waves of 1 kHz at rising levels. Throws UserError.
nlohmann::ordered_json curve_json(const Document& document, const std::string& id);

}  // namespace vantoro
