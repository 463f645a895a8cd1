// SPDX-License-Identifier: Apache-2.0
#include "schematic/loose_ends.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "support/json_walk.h"

namespace vantoro {

namespace {

std::size_t index(int n) { return static_cast<std::size_t>(n); }

// "0", "1 and 3", "0 to 3, 5 and 7"
std::string list_of(const std::vector<int>& pins)
{
    std::vector<std::string> runs;
    for (std::size_t i = 0; i < pins.size();) {
        std::size_t end = i + 1;
        while (end < pins.size() && pins[end] == pins[end - 1] + 1)
            ++end;
        const bool run = end > i + 2;
        runs.push_back(std::to_string(pins[i]) + (run ? " to " + std::to_string(pins[end - 1]) : ""));
        i = run ? end : i + 1;
    }
    std::string text;
    for (std::size_t i = 0; i < runs.size(); ++i)
        text += (i == 0 ? "" : i + 1 < runs.size() ? ", " : " and ") + runs[i];
    return text;
}

std::vector<int> silent(const std::vector<Feed>& sources)
{
    std::vector<int> pins;
    for (std::size_t pin = 0; pin < sources.size(); ++pin)
        if (sources[pin].block == Feed::kSilence)
            pins.push_back(static_cast<int>(pin));
    return pins;
}

// Read by the program: its outputs need not be used.
bool is_meter(const Block& block) { return has_trait(*block.type, VANTORO_METER); }

// The blocks of which some output is used.
std::vector<bool> used_blocks(const Schematic& schematic)
{
    std::vector<bool> used(schematic.blocks.size());
    const auto mark = [&](const std::vector<Feed>& sources) {
        for (const Feed& feed : sources)
            if (feed.block >= 0)
                used[index(feed.block)] = true;
    };
    for (const Block& block : schematic.blocks)
        mark(block.sources);
    mark(schematic.outputs);
    return used;
}

Problem warning(std::string where, std::string text)
{
    return {.where = std::move(where), .value = {}, .wanted = std::move(text), .warning = true};
}

// "input 2 is not connected"
std::string silent_text(std::string_view what, const std::vector<int>& pins)
{
    const bool one = pins.size() == 1;
    return std::string(what) + (one ? " " : "s ") + list_of(pins) + (one ? " is not connected" : " are not connected");
}

// Of several outputs, such as the ways of a crossover, one that is used is enough.
void check_block(const Block& block, bool used, std::vector<Problem>& warnings)
{
    const std::string where = "/blocks" + pointer_step(block.id);
    const std::vector<int> unfed = silent(block.sources);
    const bool useful = used || is_meter(block);
    if (unfed.size() == block.sources.size() && !used)
        warnings.push_back(warning(where, "not connected"));
    else if (!useful)
        warnings.push_back(warning(where, "no output of this block is used"));
    else if (!unfed.empty())
        warnings.push_back(warning(where, silent_text("input", unfed)));
}

}  // namespace

std::vector<Problem> loose_ends(const Schematic& schematic, std::optional<int> inputs)
{
    std::vector<Problem> warnings;
    const std::vector<bool> used = used_blocks(schematic);
    for (std::size_t b = 0; b < schematic.blocks.size(); ++b)
        check_block(schematic.blocks[b], used[b], warnings);
    if (inputs.value_or(0) > 0 && !schematic.hears_input)
        warnings.push_back(warning("/inputs", "the input is not used"));
    const std::vector<int> unfed = silent(schematic.outputs);
    if (!unfed.empty())
        warnings.push_back(warning("/wires", silent_text("output channel", unfed)));
    if (schematic.outputs.empty() && std::ranges::none_of(schematic.blocks, is_meter))
        warnings.push_back(warning("/wires", "nothing is wired to \"output\""));
    return warnings;
}

}  // namespace vantoro
