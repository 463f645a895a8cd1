// SPDX-License-Identifier: Apache-2.0
// vantoro import FILE: what is in a preset, or a list of filters as an equaliser. vantoro diff A B: what differs
// between schematics or presets.
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>

#include "catalog/filter_list.h"
#include "commands/commands.h"
#include "commands/filter_lists.h"
#include "commands/listing.h"
#include "schematic/difference.h"
#include "schematic/preset.h"
#include "vantoro_graph.h"

namespace vantoro {
namespace {

Schematic read_preset(const std::string& path, std::string_view bytes)
{
    try {
        return schematic_of(bytes);
    } catch (const UserError& error) {
        std::vector<Problem> problems = error.problems();
        problems.front().file = path;
        throw UserError(std::move(problems));
    }
}

// ---- import ----

int import(const std::string& path, const FilterImport& options)
{
    const std::string bytes = read_file(path);
    if (!is_preset(bytes) && is_filter_list(bytes))
        return import_filters(path, bytes, options);
    if (!options.into.empty())
        throw UserError(path + ": no list of filters, which --into takes");
    const Schematic schematic = read_preset(path, bytes);
    std::printf("preset of %zu bytes, version %u, CRC %08x\n", bytes.size(), VANTORO_PRESET_VERSION,
                Vantoro_preset_crc(bytes.data(), bytes.size()));
    print_graph(schematic);
    return 0;
}

// ---- diff ----

struct DiffOptions {
    std::string from, to;
    std::optional<int> channels;
};

constexpr int kDifferent = 1;

Schematic read_either(const std::string& path, const DiffOptions& options)
{
    const std::string text = read_file(path);
    return is_preset(text) ? read_preset(path, text) : read_schematic(path, {.channels = options.channels});
}

int diff(const DiffOptions& options)
{
    const Schematic from = read_either(options.from, options), to = read_either(options.to, options);
    const std::vector<std::string> lines = differences(from, to);
    for (const std::string& line : lines)
        std::puts(line.c_str());
    return lines.empty() ? 0 : kDifferent;
}

}  // namespace

void add_import_command(CommandLine& line)
{
    struct Options {
        std::string path;
        FilterImport filters;
    };
    auto options = std::make_shared<Options>();
    FilterImport& filters = options->filters;
    Command command = line.add("import", "Print what is in a preset, or make an equaliser of a list of filters");
    command.option("file", options->path, "FILE", "A preset (export --binary) or a list of filters (text)").required();
    command.option("--into", filters.into, "SCHEMATIC", "Write the filters into the equaliser of a schematic");
    command.option("--block", filters.block, "ID", "The equaliser, where there are several").needs("--into");
    add_rate(command, filters.rate, kRateLeftOpen);
    add_strict(command, filters.strict);
    command.notes("Lists are those of REW (filter settings as text) and Equalizer APO. Filters that the equaliser does "
                  "not have are named and left out.");
    command.runs([options] { return import(options->path, options->filters); });
}

void add_diff_command(CommandLine& line)
{
    auto options = std::make_shared<DiffOptions>();
    Command command = line.add("diff", "List what differs between two schematics or presets");
    command.option("from", options->from, "FROM", "A schematic (JSON) or a preset").required();
    command.option("to", options->to, "TO", "The other").required();
    add_channels(command, options->channels);
    command.notes("Exit status: 0 they run alike, 1 they differ, 2 one of them is wrong.");
    command.runs([options] { return diff(*options); });
}

}  // namespace vantoro
