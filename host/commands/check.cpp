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
    std::vector<std::string> settings;
    std::optional<int> channels;
    std::optional<int> rate;
    bool quiet = false;
    bool strict = false;
    bool flat = false;
};

int check(const Options& options)
{
    Schematic schematic = load_schematic(options.schematic,
                                         {.channels = options.channels,
                                          .rate = options.rate.value_or(kDefaultRate),
                                          .settings = parse_settings(options.settings, When::any)},
                                         warnings_of(options.strict, options.quiet));
    const LibraryLog log(options.quiet);
    const int rate = rate_of(schematic, options.rate);
    const auto engine = make_engine(options.schematic, std::move(schematic), rate);
    if (options.flat)
        std::fputs(json_lines(flat_json(engine->schematic())).c_str(), stdout);
    else if (!options.quiet)
        print_graph(engine->schematic());
    return 0;
}

}  // namespace

void add_check_command(CommandLine& line)
{
    auto options = std::make_shared<Options>();
    Command command = line.add("check", "List every problem of a schematic, or print its graph");
    add_schematic(command, options->schematic);
    add_settings(command, options->settings, When::any);
    add_channels(command, options->channels);
    add_rate(command, options->rate, kRateLeftOpen);
    command.flag("--flat", options->flat, "Print it as a schematic of plain numbers with every pin counted");
    add_strict(command, options->strict);
    add_quiet(command, options->quiet);
    command.runs([options] { return check(*options); });
}

}  // namespace vantoro
