// SPDX-License-Identifier: Apache-2.0
#include "schematic/bypass.h"

#include <string_view>

namespace vantoro {

namespace {

std::size_t index(int n) { return static_cast<std::size_t>(n); }

bool carries_signal(const Block& block, int pin)
{
    const VantoroPin* note = note_of(*block.type, PinSide::input, pin, block.pins);
    return !note || (note->control == 0 && note->name != std::string_view("sidechain"));
}

}  // namespace

std::vector<int> signal_pins(const Block& block)
{
    std::vector<int> pins;
    for (int pin = 0; pin < block.pins.inputs; ++pin)
        if (carries_signal(block, pin))
            pins.push_back(pin);
    return pins;
}

bool can_be_bypassed(const Block& block)
{
    if (block.pins.outputs == 0 || signal_pins(block).size() != index(block.pins.outputs))
        return false;
    for (int pin = 0; pin < block.pins.outputs; ++pin)
        if (const VantoroPin* note = note_of(*block.type, PinSide::output, pin, block.pins); note && note->control != 0)
            return false;
    return true;
}

Schematic bypassed(Schematic schematic, const std::set<std::string>& ids)
{
    std::vector<std::vector<int>> ways(schematic.blocks.size());  // the input for each output; empty: not bypassed
    for (std::size_t b = 0; b < ways.size(); ++b)
        if (const Block& block = schematic.blocks[b]; ids.contains(block.id) && can_be_bypassed(block))
            ways[b] = signal_pins(block);
    const auto redirect = [&](std::vector<Feed>& sources) {
        for (Feed& feed : sources)
            while (feed.block >= 0 && !ways[index(feed.block)].empty())
                feed = schematic.blocks[index(feed.block)].sources[index(ways[index(feed.block)][index(feed.pin)])];
    };
    for (Block& block : schematic.blocks)
        redirect(block.sources);
    redirect(schematic.outputs);
    return schematic;
}

Schematic soloed(Schematic schematic, const std::set<int>& outputs)
{
    for (std::size_t n = 0; n < schematic.outputs.size(); ++n)
        if (!outputs.empty() && !outputs.contains(static_cast<int>(n)))
            schematic.outputs[n] = {};
    return schematic;
}

}  // namespace vantoro
