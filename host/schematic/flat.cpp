// SPDX-License-Identifier: Apache-2.0
#include "schematic/flat.h"

#include <bit>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "catalog/layout.h"
#include "catalog/words.h"
#include "schematic/draft.h"

namespace vantoro {

namespace {

using json = nlohmann::ordered_json;

std::size_t index(int n) { return static_cast<std::size_t>(n); }

// "eq", "eq.2" or "eq.2-5": a run of the pins of a side.
std::string run_text(const std::string& id, int first, int count, int side)
{
    if (count == side)
        return id;
    return id + '.' + std::to_string(first) + (count > 1 ? '-' + std::to_string(first + count - 1) : "");
}

bool follows(const Feed& feed, const Feed& before)
{
    return feed.block == before.block && feed.pin == before.pin + 1 && feed.block != Feed::kSilence;
}

void add_wires(const Schematic& schematic, const std::string& id, const std::vector<Feed>& sources, json& wires)
{
    for (std::size_t pin = 0, end = 0; pin < sources.size(); pin = end) {
        for (end = pin + 1; end < sources.size() && follows(sources[end], sources[end - 1]);)
            ++end;
        const Feed& feed = sources[pin];
        if (feed.block == Feed::kSilence)
            continue;
        const int count = static_cast<int>(end - pin);
        const Block* from = feed.block == Feed::kTerminal ? nullptr : &schematic.blocks[index(feed.block)];
        wires.push_back({run_text(from ? from->id : std::string(kInputId), feed.pin, count,
                                  from ? from->pins.outputs : schematic.inputs),
                         run_text(id, static_cast<int>(pin), count, static_cast<int>(sources.size()))});
    }
}

// Takes out of rows what is not read and is the default all the same: written, it would be warned of.
void drop_unread(const VantoroTable& table, std::span<const float> cells, json& rows)
{
    const Entries entries = entries_of(table);
    for (json& row : rows) {
        const std::span<const float> values = cells.first(entries.size());
        cells = cells.subspan(entries.size());
        for (std::size_t n = 0; n < entries.size() && row.is_object(); ++n)
            if (!is_read(*entries[n], meaning_of(entries, values, n)) &&
                std::bit_cast<std::uint32_t>(values[n]) == std::bit_cast<std::uint32_t>(entries[n]->initial))
                row.erase(entries[n]->name);
    }
}

// The values of one vector that are not those of another, in the order of the description.
json differing(const Block& block, const std::vector<float>& vector, const std::vector<float>& from)
{
    const json now = tidy(named_values(*block.type, block.pins, vector));
    const json before = tidy(named_values(*block.type, block.pins, from));
    const Numbers numbers = take_apart(*block.type, block.pins, vector);
    const auto layout = layout_of(*block.type);
    json out = json::object();
    for (std::size_t i = 0; i < layout.size(); ++i) {
        const VantoroSlot& slot = layout[i];
        if (slot.kind != VANTORO_VALUE && slot.kind != VANTORO_ROWS)
            continue;
        const std::string name = slot.table ? slot.table->name : slot.param->name;
        if (now[name].dump() == before[name].dump())  // in text -0 is not 0
            continue;
        out[name] = now[name];
        if (slot.table && slot.table->column_count > 1)
            drop_unread(*slot.table, numbers.cells[i], out[name]);
    }
    return out;
}

json block_json(const Block& block)
{
    json out{{"type", block.type->name}, {"inputs", block.pins.inputs}, {"outputs", block.pins.outputs}};
    if (block.quiet)
        out["arithmetic"] = "quiet";
    if (!block.title.empty())
        out["title"] = block.title;
    if (json params = differing(block, block.vector, default_vector(*block.type, block.pins)); !params.empty())
        out["params"] = std::move(params);
    return out;
}

json changes_json(const Schematic& schematic)
{
    std::vector<const std::vector<float>*> vectors;  // as the changes so far leave them
    for (const Block& block : schematic.blocks)
        vectors.push_back(&block.vector);
    json out = json::array();
    for (const Change& change : schematic.changes) {
        const Block& block = schematic.blocks[index(change.block)];
        const std::vector<float>*& before = vectors[index(change.block)];
        const json changed = differing(block, change.vector, *before);
        json set = json::object();
        for (const auto& [name, value] : changed.items())
            set[block.id + '.' + name] = value;
        before = &change.vector;
        if (!set.empty())
            out.push_back({{"at", change.seconds}, {"set", set}});
    }
    return out;
}

}  // namespace

json flat_json(const Schematic& schematic)
{
    json out = json::object();
    if (!schematic.title.empty())
        out["title"] = schematic.title;
    if (schematic.rate)
        out["rate"] = *schematic.rate;
    out.update({{"blockSize", schematic.block_size},
                {"inputs", schematic.inputs},
                {"outputs", schematic.outputs.size()},
                {"blocks", json::object()},
                {"wires", json::array()}});
    for (const Block& block : schematic.blocks) {
        out["blocks"][block.id] = block_json(block);
        add_wires(schematic, block.id, block.sources, out["wires"]);
    }
    add_wires(schematic, std::string(kOutputId), schematic.outputs, out["wires"]);
    if (json changes = changes_json(schematic); !changes.empty())
        out["changes"] = std::move(changes);
    return out;
}

}  // namespace vantoro
