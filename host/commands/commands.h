// SPDX-License-Identifier: Apache-2.0
// The subcommands: each adds itself to the program and leaves its exit status behind when it has run.
#pragma once

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include <CLI/CLI.hpp>

#include "schematic/schematic.h"

namespace vantoro {

class Engine;

inline constexpr int kFailure = 1;     // reading, writing or computing went wrong on the way
inline constexpr int kUsageError = 2;  // something the user wrote is wrong; nothing was touched

// What a user got wrong: one or more lines for standard error.
class UsageError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Every problem of a schematic, a line each: file, place, value, what would be right.
std::string problem_lines(const std::string& path, const SchematicError& error);

// Both throw UsageError.
Schematic load_schematic(const std::string& path, std::optional<int> channels);
std::unique_ptr<Engine> make_engine(const std::string& path, Schematic schematic, int rate);

void add_blocks_command(CLI::App& app, int& status);
void add_check_command(CLI::App& app, int& status);
void add_graph_command(CLI::App& app, int& status);
void add_response_command(CLI::App& app, int& status);
void add_run_command(CLI::App& app, int& status);

}  // namespace vantoro
