// SPDX-License-Identifier: Apache-2.0
#include "commands/listing.h"

#include <algorithm>
#include <cstdio>
#include <span>

#include <nlohmann/json.hpp>

#include "catalog/entries.h"
#include "catalog/layout.h"
#include "support/columns.h"

namespace vantoro {
namespace {

// `items` after `label`, in lines that end between items.
void print_items(const char* label, const std::vector<std::string>& items)
{
    constexpr std::size_t kIndent = 12;
    std::string text;
    for (std::string item : items) {
        std::ranges::replace(item, ' ', kNoBreak);
        text += (text.empty() ? "" : "; ") + item;
    }
    if (!items.empty())
        std::fputs(flowed(std::string("      ") + label, kIndent, text).c_str(), stdout);
}

// "0 from eq.1", with what the pin means where it is not simply the n-th signal.
std::vector<std::string> inputs_of(const Schematic& schematic, const std::vector<Feed>& sources, const Block* block)
{
    std::vector<std::string> items;
    for (int pin = 0; pin < static_cast<int>(sources.size()); ++pin) {
        const Feed& source = sources[static_cast<std::size_t>(pin)];
        std::string text = std::to_string(pin);
        if (const VantoroPin* note = block ? note_of(*block->type, PinSide::input, pin, block->pins) : nullptr)
            text += " (" + std::string(note->name) + ')';
        text += source.block == Feed::kSilence ? " silent" : " from " + feed_text(schematic, source);
        items.push_back(std::move(text));
    }
    return items;
}

std::string value_text(const nlohmann::json& value)
{
    if (value.is_string())
        return value.get<std::string>();
    if (value.is_number()) {
        char text[32];
        std::snprintf(text, sizeof text, "%.7g", value.get<double>());  // what a float holds
        return text;
    }
    if (!value.is_array())
        return value.dump();
    std::string text;
    for (const nlohmann::json& one : value)
        text += (text.empty() ? "" : ", ") + value_text(one);
    return '[' + text + ']';
}

// "fc = 1000 Hz": the n-th of entries that have these values. A choice among them may give it another unit.
std::string assignment(const Entries& entries, std::span<const float> values, std::size_t n,
                       const nlohmann::json& value)
{
    const VantoroParam* as = meaning_of(entries, values, n).as;
    const std::string unit = as ? as->unit : "";
    const bool one = !unit.empty() && unit.find(" or ") == std::string::npos;
    return std::string(entries[n]->name) + " = " + value_text(value) + (one ? ' ' + unit : as ? "" : " (not read)");
}

// "fc = 1000 Hz, q = 0.7"; or the row as it is written, where it has no names.
std::string row_text(const VantoroTable& table, std::span<const float> cells, const nlohmann::json& row)
{
    const Entries entries = entries_of(table);
    std::string text;
    for (std::size_t n = 0; n < entries.size(); ++n)
        if (row.is_object() && row.contains(entries[n]->name))
            text += (text.empty() ? "" : ", ") + assignment(entries, cells, n, row[std::string(entries[n]->name)]);
    return text.empty() ? value_text(row) : text;
}

}  // namespace

std::vector<std::string> settings_of(const Block& block)
{
    std::vector<std::string> items;
    const nlohmann::json named = named_values(*block.type, block.pins, block.vector);
    const Numbers numbers = take_apart(*block.type, block.pins, block.vector);
    const Entries entries = entries_of(*block.type);
    for (std::size_t n = 0; n < entries.size(); ++n) {
        const VantoroSlot& slot = layout_of(*block.type)[n];
        if (slot.kind == VANTORO_VALUE && named.contains(slot.param->name))
            items.push_back(assignment(entries, numbers.values, n, named[slot.param->name]));
        if (slot.kind != VANTORO_ROWS || !named.contains(slot.table->name))
            continue;
        const nlohmann::json& rows = named[std::string(slot.table->name)];
        const std::size_t shown = std::min(rows.size(), kMostRows);
        const auto width = static_cast<std::size_t>(slot.table->column_count);
        for (std::size_t row = 0; row < shown; ++row)
            items.push_back(std::string(slot.table->name) + '[' + std::to_string(row) + "]: " +
                            row_text(*slot.table, std::span(numbers.cells[n]).subspan(row * width, width), rows[row]));
        if (rows.size() > shown)
            items.push_back("and " + std::to_string(rows.size() - shown) + " more");
    }
    return items;
}

namespace {

void print_block(const Schematic& schematic, const Block& block, std::size_t position)
{
    std::printf("%4zu  %s: %s (%d), %d -> %d\n", position, block.id.c_str(), std::string(block.type->name).c_str(),
                block.type->type, block.pins.inputs, block.pins.outputs);
    print_items("in", inputs_of(schematic, block.sources, &block));
    print_items("set", settings_of(block));
}

// Whether a gain of the block is 0 dB by the coarse conversion.
bool is_nearly_unity(const Block& block)
{
    const auto coarse = [](const VantoroParam& param) { return (param.flags & unsigned{VANTORO_COARSE_DB}) != 0; };
    const auto has_coarse = [&](const VantoroSlot& slot) {
        return slot.kind == VANTORO_ROWS ? std::ranges::any_of(columns_of(*slot.table), coarse)
                                         : slot.kind == VANTORO_VALUE && coarse(*slot.param);
    };
    if (std::ranges::none_of(layout_of(*block.type), has_coarse))
        return false;
    const std::vector<VectorEntry> entries = entries_of(*block.type, block.pins, block.vector);
    return std::ranges::any_of(
        entries, [&](const VectorEntry& e) { return e.value == 0 && e.meaning.as && coarse(*e.meaning.as); });
}

void print_hint(const Schematic& schematic)
{
    std::string ids;
    for (const Block& block : schematic.blocks)
        if (is_nearly_unity(block))
            ids += (ids.empty() ? "" : ", ") + block.id;
    if (!ids.empty())
        std::printf("0 dB is -0.256 dB here, by a coarse conversion: %s. Exact are gains of type Linear, and volume "
                    "controls (VC_)\n",
                    ids.c_str());
}

}  // namespace

void print_graph(const Schematic& schematic)
{
    std::printf("%s, blocks of %d samples, %d in, %zu out\n",
                schematic.rate ? (std::to_string(*schematic.rate) + " Hz").c_str() : "any rate", schematic.block_size,
                schematic.inputs, schematic.outputs.size());
    for (std::size_t i = 0; i < schematic.order.size(); ++i)
        print_block(schematic, schematic.blocks[static_cast<std::size_t>(schematic.order[i])], i + 1);
    std::puts("      output");
    print_items("in", inputs_of(schematic, schematic.outputs, nullptr));
    constexpr std::size_t kMostChanges = 50;  // a ramp has thousands
    for (std::size_t i = 0; i < std::min(kMostChanges, schematic.changes.size()); ++i)
        std::printf("      at %g s: %s\n", schematic.changes[i].seconds,
                    schematic.blocks[static_cast<std::size_t>(schematic.changes[i].block)].id.c_str());
    if (schematic.changes.size() > kMostChanges)
        std::printf("      and %zu more changes\n", schematic.changes.size() - kMostChanges);
    print_hint(schematic);
}

}  // namespace vantoro
