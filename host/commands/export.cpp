// SPDX-License-Identifier: Apache-2.0
// vantoro export SCHEMATIC: what a product compiles in or loads, or an equaliser's list of filters.
#include <array>
#include <filesystem>
#include <memory>
#include <optional>

#include "commands/commands.h"
#include "commands/filter_lists.h"
#include "export/direct.h"
#include "export/table.h"
#include "schematic/preset.h"
#include "vantoro_graph.h"

namespace vantoro {
namespace {

struct Options {
    std::string schematic;
    std::string table, direct, binary, filters;  // one of them
    std::string block;
    std::string directory = ".";
    std::vector<std::string> settings;
    std::string arithmetic;
    std::optional<int> channels, rate;
    bool strict = false;
};

Schematic load(const Options& options)
{
    std::vector<Problem> problems;
    Schematic schematic = load_schematic(options.schematic,
                                         {.channels = options.channels,
                                          .rate = options.rate,
                                          .settings = parse_settings(options.settings, When::start),
                                          .quiet = is_quiet(options.arithmetic)},
                                         warnings_of(options.strict, false));
    if (schematic.changes.empty())
        return schematic;
    problems.push_back({"/changes", std::to_string(schematic.changes.size()), "not exported: a product makes its own",
                        !options.strict, options.schematic});
    if (options.strict)
        throw UserError(problems);
    print_problems(problems);
    return schematic;
}

int rate_in_product(const Schematic& schematic, const Options& options)
{
    return schematic.rate || options.rate ? rate_of(schematic, options.rate) : 0;
}

std::string checked_preset(const Options& options, const Schematic& schematic, int rate)
{
    std::array<char, 256> why{};
    std::string bytes = bytes_of(preset_of(schematic, rate));
    if (Vantoro_graph_check(bytes.data(), bytes.size(), why.data(), why.size()) != RT_OK)
        throw UserError({{.where = {}, .value = {}, .wanted = why.data(), .file = options.schematic}});
    return bytes;
}

void write_c(const Options& options, const Schematic& schematic, int rate)
{
    const bool direct = !options.direct.empty();
    const std::string& name = direct ? options.direct : options.table;
    const Product product = make_product(name, options.schematic, schematic, rate);
    const std::string path = (std::filesystem::path(options.directory) / name).string();
    for (const char* extension : {".c", ".h"})
        check_output(path + extension, schematic.files);
    const CFiles files = direct ? c_direct(product) : c_table(product);
    write_file(path + ".c", files.source);
    write_file(path + ".h", files.header);
}

int run(const Options& options)
{
    const Schematic schematic = load(options);
    if (!options.filters.empty()) {
        check_output(options.filters, schematic.files);
        write_file(options.filters, exported_filters(schematic, options.schematic, options.block,
                                                     rate_of(schematic, options.rate), options.strict));
        return 0;
    }
    const int rate = rate_in_product(schematic, options);
    const std::string preset = checked_preset(options, schematic, rate);
    if (options.binary.empty()) {
        write_c(options, schematic, rate);
        return 0;
    }
    check_output(options.binary, schematic.files);
    write_file(options.binary, preset);
    return 0;
}

}  // namespace

void add_export_command(CommandLine& line)
{
    auto options = std::make_shared<Options>();
    Command command =
        line.add("export", "Turn a schematic into what a product compiles in or loads, or its equaliser into a list");
    add_schematic(command, options->schematic);
    command.one_needed(
        {command.option("--c", options->table, "NAME", "NAME.c and NAME.h: a table for the graph runtime"),
         command.option("--direct", options->direct, "NAME",
                        "NAME.c and NAME.h: calls of the blocks, without a runtime"),
         command.option("--binary", options->binary, "FILE", "The table as a file to load"),
         command.option("--filters", options->filters, "FILE",
                        "An equaliser's list of filters, as room-correction programs read it")});
    command.option("--block", options->block, "ID", "The equaliser, where there are several").needs("--filters");
    command.option("-o,--directory", options->directory, "DIR", "Where C files go [.]");
    add_settings(command, options->settings, When::start);
    add_arithmetic(command, options->arithmetic);
    add_channels(command, options->channels);
    add_rate(command, options->rate, "Where the schematic leaves it open [any]");
    add_strict(command, options->strict);
    command.runs([options] { return run(*options); });
}

}  // namespace vantoro
