// SPDX-License-Identifier: Apache-2.0
#include "analysis/probe.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "catalog/entries.h"
#include "schematic/bypass.h"
#include "schematic/order.h"
#include "support/nearest.h"

namespace vantoro {

namespace {

std::size_t index(int n) { return static_cast<std::size_t>(n); }

int find_block(const Schematic& schematic, const std::string& id)
{
    const auto found = std::ranges::find(schematic.blocks, id, &Block::id);
    if (found != schematic.blocks.end())
        return static_cast<int>(found - schematic.blocks.begin());
    std::vector<std::string_view> ids;
    for (const Block& block : schematic.blocks)
        ids.push_back(block.id);
    const std::string near = nearest(id, ids);
    throw UserError(id + ": no block of this name" + did_you_mean(near));
}

// "eq", "eq.1", "way.1 high"; with a title "Low-pass", "LR24 high".
std::string name_of(const Schematic& schematic, const Feed& feed)
{
    if (feed.block < 0)
        return feed.block == Feed::kTerminal ? "input" : "silence";
    const Block& block = schematic.blocks[index(feed.block)];
    const VantoroPin* note = note_of(*block.type, PinSide::output, feed.pin, block.pins);
    const bool note_tells = note && (note->first == note->last || note->every >= block.pins.outputs);
    std::string name = block.title.empty() ? block.id : block.title;
    if (block.pins.outputs > 1 && (block.title.empty() || !note_tells))
        name += '.' + std::to_string(feed.pin);
    if (note)
        name += ' ' + std::string(note->name);
    return name;
}

// The blocks that an output hears, through others too.
std::vector<bool> heard_blocks(const Schematic& schematic)
{
    std::vector<bool> heard(schematic.blocks.size());
    std::vector<const std::vector<Feed>*> open = {&schematic.outputs};
    while (!open.empty()) {
        const std::vector<Feed>& sources = *open.back();
        open.pop_back();
        for (const Feed& feed : sources)
            if (feed.block >= 0 && !heard[index(feed.block)]) {
                heard[index(feed.block)] = true;
                open.push_back(&schematic.blocks[index(feed.block)].sources);
            }
    }
    return heard;
}

// Drops the blocks that no output hears.
void reduce(Schematic& schematic)
{
    const std::vector<bool> heard = heard_blocks(schematic);
    std::vector<int> place(heard.size());
    std::vector<Block> blocks;
    for (std::size_t b = 0; b < heard.size(); ++b) {
        place[b] = static_cast<int>(blocks.size());
        if (heard[b])
            blocks.push_back(std::move(schematic.blocks[b]));
    }
    const auto move = [&](std::vector<Feed>& sources) {
        for (Feed& feed : sources)
            if (feed.block >= 0)
                feed.block = place[index(feed.block)];
    };
    for (Block& block : blocks)
        move(block.sources);
    move(schematic.outputs);
    schematic.blocks = std::move(blocks);
}

void put_in_order(Schematic& schematic)
{
    std::vector<Problem> problems;
    schematic.order = order_of(schematic.blocks, problems);
    if (!problems.empty())
        throw UserError("a control of these blocks hears a later one of them: " + problems.front().value);
}

Probe finish(Schematic schematic)
{
    schematic.changes.clear();
    reduce(schematic);
    put_in_order(schematic);
    Probe probe{std::move(schematic), {}};
    for (const Feed& feed : probe.schematic.outputs)
        probe.names.push_back(name_of(probe.schematic, feed));
    return probe;
}

}  // namespace

Probe probe_graph(Schematic schematic)
{
    Probe probe = finish(std::move(schematic));
    const std::vector<std::string> names = probe.names;
    for (std::size_t out = 0; out < names.size(); ++out) {
        const int block = probe.schematic.outputs[out].block;
        if (block < 0 || probe.schematic.blocks[index(block)].title.empty() ||
            std::ranges::count(names, names[out]) > 1)
            probe.names[out] = "output " + std::to_string(out) + " (" + probe.names[out] + ')';
    }
    return probe;
}

Probe probe_blocks(Schematic schematic, const std::vector<std::string>& ids)
{
    std::vector<int> chain;
    for (const std::string& id : ids) {
        chain.push_back(find_block(schematic, id));
        if (std::ranges::count(chain, chain.back()) > 1)
            throw UserError(id + ": named twice; a chain has every block once");
    }
    for (Block& block : schematic.blocks)
        for (Feed& feed : block.sources)
            if (feed.block == Feed::kTerminal)
                feed = {};
    for (std::size_t n = 0; n < chain.size(); ++n) {
        Block& block = schematic.blocks[index(chain[n])];
        const std::vector<int> pins = signal_pins(block);
        const int width = n == 0 ? static_cast<int>(pins.size()) : schematic.blocks[index(chain[n - 1])].pins.outputs;
        if (n == 0)
            schematic.inputs = width;
        for (int i = 0; i < static_cast<int>(pins.size()); ++i)
            block.sources[index(pins[index(i)])] =
                i < width ? Feed{n == 0 ? Feed::kTerminal : chain[n - 1], i} : Feed{};
    }
    schematic.outputs.clear();
    for (int pin = 0; pin < schematic.blocks[index(chain.back())].pins.outputs; ++pin)
        schematic.outputs.push_back({chain.back(), pin});
    return finish(std::move(schematic));
}

std::vector<double> corners_of(const Schematic& schematic)
{
    std::vector<double> corners;
    for (const Block& block : schematic.blocks)
        for (const VectorEntry& entry : entries_of(*block.type, block.pins, block.vector))
            if (entry.param && is_read(*entry.param, entry.meaning) && entry.meaning.as->unit == std::string_view("Hz"))
                corners.push_back(static_cast<double>(entry.value));
    return corners;
}

}  // namespace vantoro
