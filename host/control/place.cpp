// SPDX-License-Identifier: Apache-2.0
#include "control/place.h"

#include <algorithm>

#include "catalog/layout.h"
#include "catalog/path.h"
#include "catalog/words.h"
#include "schematic/definitions.h"
#include "support/decimal.h"
#include "support/json_walk.h"
#include "support/nearest.h"

namespace vantoro {

namespace {

using nlohmann::json;
using nlohmann::ordered_json;

// A row may be written as an array in the order of the columns.
std::size_t index_of(const std::string& step, const VantoroTable& table)
{
    if (const auto index = number_of<std::size_t>(step))
        return *index;
    const auto columns = columns_of(table);
    return static_cast<std::size_t>(
        std::ranges::find_if(columns, [&](const VantoroParam& column) { return column.name == step; }) -
        columns.begin());
}

// Where a table as it is written holds a value, or has room for it; null: it is written in another form.
ordered_json* find_written(ordered_json& written, const std::vector<std::string>& steps, const VantoroTable& table)
{
    ordered_json* node = &written;
    if (written.is_object())
        return nullptr;  // in a file
    for (std::size_t n = 1; n < steps.size(); ++n) {
        const bool last = n + 1 == steps.size();
        if (node->is_object() && (last || node->contains(steps[n])))
            node = &(*node)[steps[n]];
        else if (const std::size_t i = index_of(steps[n], table); node->is_array() && i < node->size())
            node = &(*node)[i];
        else
            return nullptr;
    }
    return node->is_structured() ? nullptr : node;
}

// A block in the document: its own object, or the use of a part that it is in, and its id there.
struct Written {
    ordered_json& object;
    std::string inside{};
};

Written find_block(ordered_json& document, const std::string& id)
{
    ordered_json& blocks = document["blocks"];
    for (auto slash = id.find('/'); slash != id.npos && !blocks.contains(id); slash = id.find('/', slash + 1))
        if (const auto use = blocks.find(id.substr(0, slash)); use != blocks.end() && use->contains("part"))
            return {*use, id.substr(slash + 1)};
    return {blocks[id]};
}

// Writes a value that the use of a part changes. What the use says of parts of this value, in whatever spelling, is
// over.
void place_in_use(ordered_json& set, const std::string& block, const std::string& path, const VantoroTable* table,
                  const ordered_json& value)
{
    const auto numbered = [&](std::string_view text) {
        std::vector<std::string> steps = steps_of(text);
        for (std::size_t n = 1; table && n < steps.size(); ++n)
            steps[n] = std::to_string(index_of(steps[n], *table));
        return steps;
    };
    const std::vector<std::string> steps = numbered(path);
    std::vector<std::string> over;
    for (const auto& [key, old] : set.items())
        if (key.starts_with(block + '.')) {
            const std::vector<std::string> other = numbered(std::string_view(key).substr(block.size() + 1));
            if (other.size() >= steps.size() && std::equal(steps.begin(), steps.end(), other.begin()))
                over.push_back(key);
        }
    const std::string key = block + '.' + path;
    std::erase(over, key);  // which keeps its place
    for (const std::string& name : over)
        set.erase(name);
    set[key] = tidy(value);
}

// In place of the files that parameters name, the numbers that were in them.
void put_numbers(json& params, const Block& block)
{
    json numbers;
    for (const auto& [name, value] : params.items())
        if (value.is_object() && table_of(*block.type, name)) {
            if (numbers.is_null())
                numbers = named_values(*block.type, block.pins, block.vector);
            value = numbers[name];
        }
}

// Without the columns that have their default anyhow.
ordered_json short_rows(const json& rows, const VantoroTable& table)
{
    ordered_json out = rows;
    for (ordered_json& row : out)
        for (const VantoroParam& column : columns_of(table))
            if (row.is_object() && row.contains(column.name) && row[column.name].is_number() &&
                row[column.name].get<float>() == column.initial)
                row.erase(column.name);
    return out;
}

}  // namespace

Target target_of(const Schematic& schematic, const std::string& path)
{
    const std::size_t dot = path.find('.');
    const std::string id = path.substr(0, dot);
    const auto found = std::ranges::find(schematic.blocks, id, &Block::id);
    if (found != schematic.blocks.end())
        return {*found, dot == path.npos ? "" : path.substr(dot + 1)};
    std::vector<std::string_view> ids;
    for (const Block& block : schematic.blocks)
        ids.push_back(block.id);
    const std::string near = nearest(id, ids);
    throw UserError({{path, id, "there is no such block" + did_you_mean(near, "\"")}});
}

std::optional<int> terminal_channel(std::string_view text, std::string_view terminal, int count)
{
    if (!text.starts_with(terminal) || !text.substr(terminal.size()).starts_with('.'))
        return {};
    const auto channel = number_of<int>(text.substr(terminal.size() + 1));
    return channel && *channel >= 0 && *channel < count ? channel : std::nullopt;
}

void place_whole(ordered_json& document, const Schematic& schematic, const Assignment& value)
{
    const Target target = target_of(schematic, value.path);
    const std::vector<std::string> steps = steps_of(target.path);
    if (steps.size() != 1)
        return;
    if (const Written written = find_block(document, target.block.id); written.inside.empty())
        written.object["params"][steps.front()] = tidy(value.value);
    else
        place_in_use(written.object["set"], written.inside, target.path, table_of(*target.block.type, target.path),
                     value.value);
}

void place_value(ordered_json& document, const Schematic& schematic, const Assignment& value, std::optional<int> rate,
                 std::vector<Problem>& problems)
{
    const Target target = target_of(schematic, value.path);
    const Block& block = target.block;
    const Written place_of_block = find_block(document, block.id);
    ordered_json& written = place_of_block.object;
    json params = !place_of_block.inside.empty() ? json(named_values(*block.type, block.pins, block.vector))
                  : written.contains("params")   ? json(written["params"])
                                                 : json::object();
    const std::vector<std::string> steps = steps_of(target.path);
    const VantoroTable* table = table_of(*block.type, steps.front());
    json number = value.value;
    const bool from_file = table && steps.size() == 1 && number.is_object();  // whoever reads the document checks it
    put_numbers(params, block);
    std::vector<Problem> found, known;
    Definitions definitions(document.value("define", ordered_json::object()), rate, known);
    definitions.resolve(params, "", known);
    definitions.resolve(number, pointer_step(target.path), found);
    const auto pace = rate ? std::optional(Pace(*rate, schematic.block_size)) : std::nullopt;
    const bool good = from_file || (!has_errors(found) && set_value(*block.type, block.pins, params, target.path,
                                                                    number.dump(-1, ' ', true), found, pace));
    for (Problem& problem : found) {
        problem.where.insert(0, "/blocks" + pointer_step(block.id) + "/params");
        problems.push_back(std::move(problem));
    }
    if (!good)
        return;
    if (!place_of_block.inside.empty())
        return place_in_use(written["set"], place_of_block.inside, target.path, table, value.value);
    ordered_json& place = written["params"][steps.front()];
    if (steps.size() == 1 || !table)
        place = tidy(value.value);
    else if (ordered_json* cell = find_written(place, steps, *table))
        *cell = tidy(value.value);
    else
        place = short_rows(params[steps.front()], *table);
}

}  // namespace vantoro
