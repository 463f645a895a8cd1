// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstdio>

#include "commands/commands.h"
#include "engine/engine.h"

namespace vantoro {

void print_problems(const std::vector<Problem>& problems)
{
    for (std::size_t i = 0; i < std::min(kMostShown, problems.size()); ++i)
        std::fprintf(stderr, "vantoro: %s\n", text_of(problems[i]).c_str());
    if (problems.size() > kMostShown)
        std::fprintf(stderr, "vantoro: and %zu more problems\n", problems.size() - kMostShown);
}

Schematic load_schematic(const std::string& path, const ReadOptions& options, bool strict)
{
    std::vector<Problem> warnings;
    Schematic schematic = read_schematic(path, options, &warnings);
    for (Problem& problem : warnings)
        problem.warning = !strict;
    if (has_errors(warnings))
        throw UserError(warnings);
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

std::unique_ptr<Engine> make_engine(const std::string& path, Schematic schematic, int rate)
{
    try {
        return std::make_unique<Engine>(std::move(schematic), rate);
    } catch (const std::runtime_error& error) {
        throw UserError({{.where = {}, .value = {}, .wanted = error.what(), .file = path}});
    }
}

}  // namespace vantoro
