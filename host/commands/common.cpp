// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "commands/commands.h"
#include "engine/engine.h"
#include "io/program.h"

namespace vantoro {

void check_output(const std::string& path, const std::vector<std::string>& read, std::vector<PartFile::Kept> kept)
{
    for (const std::string& file : read)
        kept.push_back({&file == &read.front() ? "the schematic" : "a file that the schematic reads", file});
    if (const std::string why = PartFile::refusal(path, kept); !why.empty())
        throw UserError(why);
}

std::string kind_of(const std::string& path, const std::vector<std::string>& kinds)
{
    const std::string extension = std::filesystem::path(path).extension().string();
    std::vector<std::string> extensions;
    for (const std::string& kind : kinds) {
        if (extension == '.' + kind)
            return kind;
        extensions.push_back('.' + kind);
    }
    throw UserError(path + ": the extension names the kind of file: " + listed(extensions, " or "));
}

void draw(const std::string& path, const Axis& axis, const std::vector<Curve>& curves, const std::string& title,
          const View& view)
{
    const std::string kind = std::filesystem::path(path).extension().string().substr(1);
    write_file(path, run_program("gnuplot", {"--default-settings", "-"}, plot_script(axis, curves, title, kind, view),
                                 "gnuplot-nox"));
}

void print_problems(const std::vector<Problem>& problems)
{
    for (std::size_t i = 0; i < std::min(kMostShown, problems.size()); ++i)
        std::fprintf(stderr, "vantoro: %s\n", text_of(problems[i]).c_str());
    if (problems.size() > kMostShown)
        std::fprintf(stderr, "vantoro: and %zu more problems\n", problems.size() - kMostShown);
}

Warnings warnings_of(bool strict, bool quiet)
{
    return strict ? Warnings::refuse : quiet ? Warnings::drop : Warnings::print;
}

Schematic load_schematic(const std::string& path, const ReadOptions& options, Warnings what)
{
    std::vector<Problem> warnings;
    Schematic schematic = read_schematic(path, options, &warnings);
    for (Problem& problem : warnings)
        problem.warning = what != Warnings::refuse;
    if (has_errors(warnings))
        throw UserError(warnings);
    if (what == Warnings::print)
        print_problems(warnings);
    return schematic;
}

int rate_of(const Schematic& schematic, std::optional<int> asked)
{
    if (schematic.rate && asked && *asked != *schematic.rate)
        throw UserError("--rate " + std::to_string(*asked) + ": the schematic is made for " +
                        std::to_string(*schematic.rate) + " Hz");
    return schematic.rate.value_or(asked.value_or(kDefaultRate));
}

void add_schematic(Command& command, std::string& path)
{
    command.option("schematic", path, "SCHEMATIC", "The schematic (JSON)").required();
}

void add_channels(Command& command, std::optional<int>& channels)
{
    command.option("--channels", channels, "N", "Channels of the input, where the schematic leaves them open")
        .from(1, kMaxPins);
}

void add_rate(Command& command, std::optional<int>& rate, const char* otherwise)
{
    command.option("--rate", rate, "HZ", otherwise).from(kMinRate, kMaxRate);
}

void add_strict(Command& command, bool& strict) { command.flag("--strict", strict, "Warnings are errors"); }

void add_quiet(Command& command, bool& quiet) { command.flag("-q,--quiet", quiet, "Print nothing but errors"); }

void add_arithmetic(Command& command, std::string& arithmetic)
{
    command
        .option("--arithmetic", arithmetic, "NAME",
                "Of all blocks, whatever the schematic says: documented, or quiet where a type has it")
        .one_of({"documented", "quiet"});
}

std::optional<bool> is_quiet(const std::string& arithmetic)
{
    return arithmetic.empty() ? std::nullopt : std::optional(arithmetic == "quiet");
}

void add_settings(Command& command, std::vector<std::string>& settings, When when)
{
    command.option("--set", settings, "SETTING",
                   when == When::any
                       ? "BLOCK.PARAM=VALUE from the start, or BLOCK.PARAM=VALUE@SECONDS; one value, may be given again"
                       : "BLOCK.PARAM=VALUE; one value, may be given again");
}

std::vector<Setting> parse_settings(const std::vector<std::string>& texts, When when)
{
    std::vector<Setting> settings;
    std::vector<Problem> problems;
    for (const std::string& text : texts)
        try {
            settings.push_back(parse_setting(text));
            if (when == When::start && settings.back().seconds > 0)
                problems.push_back({"--set", text, "a value from the start, without @ and seconds"});
        } catch (const UserError& error) {
            problems.insert(problems.end(), error.problems().begin(), error.problems().end());
        }
    if (!problems.empty())
        throw UserError(std::move(problems));
    return settings;
}

std::unique_ptr<Engine> make_engine(const std::string& path, Schematic schematic, int rate)
{
    try {
        return std::make_unique<Engine>(std::move(schematic), rate);
    } catch (const std::runtime_error& error) {
        throw UserError({{.where = {}, .value = {}, .wanted = error.what(), .file = path}});
    }
}

}  // namespace vantoro
