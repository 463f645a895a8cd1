// SPDX-License-Identifier: Apache-2.0
// Reads schematics from JSON (docs/schematic.md). Every problem is found in one reading.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "schematic/schematic.h"
#include "support/problem.h"

namespace vantoro {

// BLOCK.PARAM=VALUE[@SECONDS], as on the command line.
struct Setting {
    std::string text;
    double seconds = 0;  // 0: from the start
    std::string block, path, value;
};
// Throws UserError.
Setting parse_setting(std::string_view text);

// A file that a schematic names.
struct FileSource {
    std::string path;  // for reports
    std::string text;  // its bytes
};

// What is known beside the document.
struct ReadOptions {
    std::optional<int> channels{};  // of the input; open: what the document says, or its wires ask for, or 2
    std::optional<int> rate{};      // Hz, where the document leaves it open
    std::vector<Setting> settings{};
    std::optional<bool> quiet{};  // the arithmetic of all blocks, whatever the document says: quiet where a type has it
    // Reads a file of a part or of a table, or throws UserError. Open: none may be named; read_schematic reads those
    // beside the document.
    std::function<FileSource(const std::string&)> file{};
    bool places = true;  // whether problems of the document have lines; not in a text that nobody sees
};

// Both throw UserError with everything that is wrong. `warnings` gets what runs, but hardly as it is meant.
Schematic read_schematic(const std::string& path, const ReadOptions& options = {},
                         std::vector<Problem>* warnings = nullptr);
Schematic parse_schematic(std::string_view text, const ReadOptions& options = {},
                          std::vector<Problem>* warnings = nullptr);

// A file that the schematic at `schematic` names, relative to its folder: its path, and what is in it, or UserError.
std::string beside(const std::string& schematic, const std::string& name);
FileSource read_beside(const std::string& schematic, const std::string& name);

// A whole file, up to 64 MiB. Throws UserError.
std::string read_file(const std::string& path);

}  // namespace vantoro
