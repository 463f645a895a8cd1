// SPDX-License-Identifier: Apache-2.0
// Tables whose numbers stand in a file: "taps": {"file": "room.wav", "channel": 1}. The file is a sound file, of whose
// channel each sample is a row, or a text, of which each line is one.
#pragma once

#include <optional>
#include <vector>

#include <nlohmann/json.hpp>

#include "catalog/catalog.h"
#include "support/problem.h"

namespace vantoro {

struct Draft;

// The rows that an object in place of a table names. None, and problems with their places below the parameters, or in
// the file itself.
std::optional<nlohmann::json> read_table_file(const VantoroTable& table, const nlohmann::json& written, Draft& draft,
                                              std::vector<Problem>& problems);

// Puts rows in place of all such objects among the parameters of a block.
void read_table_files(const BlockType& type, nlohmann::json& params, Draft& draft, std::vector<Problem>& problems);

}  // namespace vantoro
