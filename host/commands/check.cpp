// SPDX-License-Identifier: Apache-2.0
// vantoro check SCHEMATIC: lists every problem, or prints the graph in the order of processing.
#include <cstdio>
#include <memory>
#include <optional>

#include <nlohmann/json.hpp>

#include "commands/commands.h"
#include "commands/listing.h"
#include "engine/engine.h"
#include "schematic/flat.h"
#include "support/json_lines.h"

namespace vantoro {
namespace {

struct Options {
    std::string schematic;
    std::optional<int> channels;
    std::optional<int> rate;
    bool quiet = false;
    bool strict = false;
    bool flat = false;
};

int check(const Options& options)
{
    Schematic schematic = load_schematic(
        options.schematic, {.channels = options.channels, .rate = options.rate.value_or(kDefaultRate)}, options.strict);
    const LibraryLog log(options.quiet);
    const int rate = rate_of(schematic, options.rate);
    const auto engine = make_engine(options.schematic, std::move(schematic), rate);
    if (options.flat)
        std::fputs(json_lines(flat_json(engine->schematic())).c_str(), stdout);
    else
        print_graph(engine->schematic());
    return 0;
}

}  // namespace

void add_check_command(CLI::App& app, int& status)
{
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("check", "List every problem of a schematic, or print its graph");
    command->add_option("schematic", options->schematic, "The schematic (JSON)")->required()->type_name("FILE");
    command->add_option("--channels", options->channels, "Channels of the input")->check(CLI::Range(1, kMaxPins));
    command->add_option("--rate", options->rate, "Hz, where the schematic leaves it open [48000]")
        ->check(CLI::Range(kMinRate, kMaxRate));
    command->add_flag("-q,--quiet", options->quiet, "Drop the library's log lines");
    command->add_flag("--strict", options->strict, "Warnings are errors");
    command->add_flag("--flat", options->flat, "Print it as a schematic of plain numbers with every pin counted");
    command->callback([options, &status] { status = check(*options); });
}

}  // namespace vantoro
