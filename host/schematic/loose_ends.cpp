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

// Read by the program: nothing needs to hear it.
bool is_meter(const Block& block) { return has_trait(*block.type, VANTORO_METER); }

// Which blocks something hears.
std::vector<bool> heard_blocks(const Schematic& schematic)
{
    std::vector<bool> heard(schematic.blocks.size());
    const auto mark = [&](const std::vector<Feed>& sources) {
        for (const Feed& feed : sources)
            if (feed.block >= 0)
                heard[index(feed.block)] = true;
    };
    for (const Block& block : schematic.blocks)
        mark(block.sources);
    mark(schematic.outputs);
    return heard;
}

Problem warning(std::string where, std::string text)
{
    return {.where = std::move(where), .value = {}, .wanted = std::move(text), .warning = true};
}

// "input 2 is silent: no wire enters it"
std::string silent_text(std::string_view what, const std::vector<int>& pins)
{
    const bool one = pins.size() == 1;
    return std::string(what) + (one ? " " : "s ") + list_of(pins) +
           (one ? " is silent: no wire enters it" : " are silent: no wire enters them");
}

// A block of several outputs may offer more than is wanted of it: one that is heard is enough.
void check_block(const Block& block, bool heard, std::vector<Problem>& warnings)
{
    const std::string where = "/blocks" + pointer_step(block.id);
    const std::vector<int> unfed = silent(block.sources);
    const bool useful = heard || is_meter(block);
    if (unfed.size() == block.sources.size() && !heard)
        warnings.push_back(warning(where, "no wire reaches this block"));
    else if (!useful)
        warnings.push_back(warning(where, "nothing hears this block"));
    else if (!unfed.empty())
        warnings.push_back(warning(where, silent_text("input", unfed)));
}

}  // namespace

std::vector<Problem> loose_ends(const Schematic& schematic, std::optional<int> inputs)
{
    std::vector<Problem> warnings;
    const std::vector<bool> heard = heard_blocks(schematic);
    for (std::size_t b = 0; b < schematic.blocks.size(); ++b)
        check_block(schematic.blocks[b], heard[b], warnings);
    if (inputs.value_or(0) > 0 && !schematic.hears_input)
        warnings.push_back(warning("/inputs", "nothing hears the input"));
    const std::vector<int> unfed = silent(schematic.outputs);
    if (!unfed.empty())
        warnings.push_back(warning("/wires", silent_text("output channel", unfed)));
    if (schematic.outputs.empty() && std::ranges::none_of(schematic.blocks, is_meter))
        warnings.push_back(warning("/wires", "nothing is wired to \"output\""));
    return warnings;
}

}  // namespace vantoro
