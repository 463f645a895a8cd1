// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "commands/commands.h"
#include "engine/engine.h"

namespace vantoro {

std::string problem_lines(const std::string& path, const SchematicError& error)
{
    constexpr std::size_t kMost = 200;
    std::string lines;
    const auto& problems = error.problems();
    for (std::size_t i = 0; i < std::min(kMost, problems.size()); ++i) {
        const Problem& p = problems[i];
        lines += (i > 0 ? "\n" : "") + path;
        for (const std::string* part : {&p.where, &p.value, &p.wanted})
            lines += part->empty() ? "" : ": " + *part;
    }
    if (problems.size() > kMost)
        lines += "\n" + path + ": and " + std::to_string(problems.size() - kMost) + " more problems";
    return lines;
}

Schematic load_schematic(const std::string& path, std::optional<int> channels)
{
    try {
        return read_schematic(path, channels);
    } catch (const SchematicError& error) {
        throw UsageError(problem_lines(path, error));
    }
}

std::unique_ptr<Engine> make_engine(const std::string& path, Schematic schematic, int rate)
{
    try {
        return std::make_unique<Engine>(std::move(schematic), rate);
    } catch (const std::runtime_error& error) {
        throw UsageError(path + ": " + error.what());
    }
}

}  // namespace vantoro
