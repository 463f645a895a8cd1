// SPDX-License-Identifier: Apache-2.0
// The subcommands: each adds itself to the program and sets the exit status when it has run.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "schematic/reader.h"

namespace vantoro {

class Engine;

inline constexpr int kFailure = 1;     // reading, writing or computing failed
inline constexpr int kUsageError = 2;  // something the user wrote is wrong (UserError); no file was touched

// Each on a line of standard error, after the program's name; those beyond kMostShown are only counted.
void print_problems(const std::vector<Problem>& problems);

// Both throw UserError; warnings are printed, or with `strict` they are errors.
Schematic load_schematic(const std::string& path, const ReadOptions& options, bool strict);
std::unique_ptr<Engine> make_engine(const std::string& path, Schematic schematic, int rate);

std::string backend_names();  // of live audio, in this build

// The schematic's rate, or what was asked for with --rate, or the default. Throws UserError where the first two differ.
int rate_of(const Schematic& schematic, std::optional<int> asked);

void add_blocks_command(CLI::App& app, int& status);
void add_check_command(CLI::App& app, int& status);
void add_diff_command(CLI::App& app, int& status);
void add_devices_command(CLI::App& app, int& status);
void add_export_command(CLI::App& app, int& status);
void add_graph_command(CLI::App& app, int& status);
void add_import_command(CLI::App& app, int& status);
void add_live_command(CLI::App& app, int& status);
void add_remote_commands(CLI::App& app, int& status);  // set, get
void add_response_command(CLI::App& app, int& status);
void add_run_command(CLI::App& app, int& status);

}  // namespace vantoro
