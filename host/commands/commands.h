// SPDX-License-Identifier: Apache-2.0
// The subcommands: each adds itself to the program and sets the exit status when it has run.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "analysis/plot.h"
#include "commands/command_line.h"
#include "io/part_file.h"
#include "schematic/reader.h"

namespace vantoro {

class Engine;

inline constexpr int kFailure = 1;     // reading, writing or computing failed
inline constexpr int kUsageError = 2;  // something the user wrote is wrong (UserError); no file was touched

// Each on a line of standard error, after the program's name; those beyond kMostShown are only counted.
void print_problems(const std::vector<Problem>& problems);

// What becomes of warnings: --strict makes them errors, --quiet drops them.
enum class Warnings {
    print,
    drop,
    refuse
};
Warnings warnings_of(bool strict, bool quiet);

// Both throw UserError.
Schematic load_schematic(const std::string& path, const ReadOptions& options, Warnings what);
std::unique_ptr<Engine> make_engine(const std::string& path, Schematic schematic, int rate);

// Throws UserError where an output must not be written: it cannot be, or it is one of `read`, the files of a schematic,
// or of `kept`. To be asked before anything is opened for writing. An empty path and "-" are no file.
void check_output(const std::string& path, const std::vector<std::string>& read, std::vector<PartFile::Kept> kept = {});

// Which of `kinds`, the extensions without a dot, a file to write is. Throws UserError.
std::string kind_of(const std::string& path, const std::vector<std::string>& kinds);
// A picture of the curves, of the kind that the name of the file says.
void draw(const std::string& path, const Axis& axis, const std::vector<Curve>& curves, const std::string& title,
          const View& view);

std::string backend_names();  // of live audio, in this build

// The schematic's rate, or what was asked for with --rate, or the default. Throws UserError where the first two differ.
int rate_of(const Schematic& schematic, std::optional<int> asked);

// Options that several commands have.
void add_schematic(Command& command, std::string& path);
void add_channels(Command& command, std::optional<int>& channels);
void add_rate(Command& command, std::optional<int>& rate, const char* otherwise);
inline constexpr const char* kRateLeftOpen = "Where the schematic leaves it open [48000]";
void add_strict(Command& command, bool& strict);
void add_quiet(Command& command, bool& quiet);

void add_arithmetic(Command& command, std::string& arithmetic);
std::optional<bool> is_quiet(const std::string& arithmetic);  // for ReadOptions

enum class When {
    start,
    any
};  // when --set may be
void add_settings(Command& command, std::vector<std::string>& settings, When when);
// Throws UserError.
std::vector<Setting> parse_settings(const std::vector<std::string>& texts, When when);

void add_blocks_command(CommandLine& line);
void add_check_command(CommandLine& line);
void add_diff_command(CommandLine& line);
void add_devices_command(CommandLine& line);
void add_export_command(CommandLine& line);
void add_graph_command(CommandLine& line);
void add_import_command(CommandLine& line);
void add_live_command(CommandLine& line);
void add_measure_command(CommandLine& line);
void add_remote_commands(CommandLine& line);  // set, get
void add_response_command(CommandLine& line);
void add_run_command(CommandLine& line);

}  // namespace vantoro
