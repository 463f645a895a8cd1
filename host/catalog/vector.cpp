// SPDX-License-Identifier: Apache-2.0
// From named values to the vector.
#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <utility>

#include <nlohmann/json.hpp>

#include "catalog/layout.h"
#include "catalog/number.h"
#include "catalog/stability.h"
#include "catalog/words.h"
#include "support/decimal.h"
#include "support/json_text.h"
#include "support/nearest.h"

namespace vantoro {
namespace {

using nlohmann::json;
using Problems = std::vector<Problem>;
using Names = std::vector<std::string_view>;

// What someone wrote for one entry.
struct Item {
    const json* value;  // null: nothing
    std::string where;
};

const json* member(const json& object, const char* name)
{
    const auto it = object.is_object() ? object.find(name) : object.end();
    return it == object.end() ? nullptr : &*it;
}

// The members of an object that go by the names of the entries.
std::vector<Item> items_of(const Entries& entries, const json& object, const std::string& where)
{
    std::vector<Item> items;
    for (const VantoroParam* entry : entries)
        items.push_back(entry ? Item{member(object, entry->name), where + "/" + entry->name} : Item{});
    return items;
}

class Builder {
public:
    Builder(const BlockType& type, PinCounts pins, Problems& problems)
        : type_(type), pins_(pins), problems_(problems),
          entries_(entries_of(type)), numbers_{std::vector<float>(entries_.size()),
                                               std::vector<std::vector<float>>(entries_.size())}
    {}

    std::vector<float> build(const json& params)
    {
        if (!params.is_null() && !params.is_object()) {
            fault("", params, "an object of named values");
            return {};
        }
        check_names(params, "", names_of_layout(), "parameter");
        read_items(entries_, items_of(entries_, params, ""), true, numbers_.values);
        const auto layout = layout_of(type_);
        for (std::size_t i = 0; i < layout.size(); ++i)
            if (layout[i].kind == VANTORO_ROWS)
                numbers_.cells[i] = read_table(i, params);
        check_switch(params);
        return put_together(type_, numbers_);
    }

private:
    void fault(std::string where, const json& value, std::string wanted)
    {
        problems_.push_back({std::move(where), as_text(value), std::move(wanted)});
    }

    Names names_of_layout() const
    {
        Names names;
        for (const VantoroSlot& slot : layout_of(type_))
            if (slot.kind == VANTORO_VALUE || slot.kind == VANTORO_ROWS)
                names.emplace_back(slot.table ? slot.table->name : slot.param->name);
        return names;
    }

    void check_names(const json& object, const std::string& where, const Names& names, const std::string& what)
    {
        for (const auto& [name, value] : object.items()) {
            if (std::ranges::find(names, name) != names.end())
                continue;
            std::string wanted = "no " + what + " of " + type_.name;
            if (const std::string near = nearest(name, names); !near.empty())
                wanted += did_you_mean(near);
            else
                wanted += names.empty() ? "; it has none" : "; there is " + joined(names);
            fault(where + pointer_step(name), value, wanted);
        }
    }

    // A layout or a row. What is left out, and what is wrong, has its default. `by_name`: whoever wrote an item meant
    // it; in an array every column has to be there.
    void read_items(const Entries& entries, const std::vector<Item>& items, bool by_name, std::span<float> values)
    {
        std::vector<bool> good(entries.size());
        const auto read = [&](std::size_t i, const Meaning& meaning) {
            std::optional<float> v;
            if (items[i].value)
                v = read_number(*entries[i], meaning, pins_, *items[i].value, items[i].where, problems_);
            good[i] = v.has_value();
            values[i] = v.value_or(entries[i]->initial);
        };
        for (std::size_t i = 0; i < entries.size(); ++i)  // the choices say what the others mean
            if (entries[i] && entries[i]->kind == VANTORO_CHOICE)
                read(i, {entries[i], nullptr});
        for (std::size_t i = 0; i < entries.size(); ++i)
            if (entries[i] && entries[i]->kind != VANTORO_CHOICE)
                read(i, meaning_of(entries, values, i));
        for (std::size_t i = 0; i < entries.size(); ++i) {
            if (!good[i])
                continue;
            const Meaning meaning = meaning_of(entries, values, i);
            if (!by_name && !is_read(*entries[i], meaning))
                continue;
            if (std::string text = surprise(*entries[i], meaning, values[i], type_); !text.empty())
                problems_.push_back({items[i].where, as_text(*items[i].value), std::move(text), true});
        }
    }

    std::vector<float> read_table(std::size_t entry, const json& params)
    {
        const VantoroTable& table = *layout_of(type_)[entry].table;
        const std::string where = std::string("/") + table.name;
        const json* rows = member(params, table.name);
        if (rows && !rows->is_array())
            fault(where, *rows, "an array");
        if (!rows || !rows->is_array())
            return initial_cells(table, pins_, numbers_.values);
        if (const Meaning meaning = meaning_of(entries_, numbers_.values, entry); meaning.by && !meaning.as)
            problems_.push_back({where, as_text(*rows), std::string("is not read by ") + meaning.by->name, true});
        std::vector<float> cells;
        for (std::size_t i = 0; i < rows->size(); ++i)
            read_row(table, (*rows)[i], where + "/" + std::to_string(i), cells);
        check_length(table, *rows, where, cells.size() / static_cast<std::size_t>(table.column_count));
        return cells;
    }

    void read_row(const VantoroTable& table, const json& row, const std::string& where, std::vector<float>& cells)
    {
        const Entries entries = entries_of(table);
        const std::size_t columns = entries.size();
        if (columns == 1 && row.is_array()) {
            read_matrix_row(table, row, where, cells);
            return;
        }
        const std::size_t begin = cells.size();
        cells.resize(begin + columns);
        const auto values = std::span(cells).last(columns);
        if (columns == 1) {
            read_items(entries, {{&row, where}}, true, values);
        } else if (row.is_object()) {
            Names names;
            for (const VantoroParam* column : entries)
                names.emplace_back(column->name);
            check_names(row, where, names, std::string("column of ") + table.name);
            read_items(entries, items_of(entries, row, where), true, values);
        } else if (row.is_array() && row.size() == columns) {
            std::vector<Item> items;
            for (std::size_t i = 0; i < columns; ++i)
                items.push_back({&row[i], where + "/" + std::to_string(i)});
            read_items(entries, items, false, values);
        } else {
            fault(where, row,
                  row.is_array() ? std::to_string(columns) + " numbers"
                                 : "an object of named values, or an array of " + std::to_string(columns));
        }
    }

    void read_matrix_row(const VantoroTable& table, const json& row, const std::string& where,
                         std::vector<float>& cells)
    {
        const std::size_t wanted = matrix_row(table, pins_, numbers_.values);
        if (row.size() != wanted)
            fault(where, row, wanted == 0 ? "a number" : std::to_string(wanted) + " numbers");
        cells.resize(cells.size() + wanted);
        const auto values = std::span(cells).last(wanted);
        for (std::size_t i = 0; i < std::min(wanted, row.size()); ++i)
            read_items(entries_of(table), {{&row[i], where + "/" + std::to_string(i)}}, true, values.subspan(i, 1));
    }

    void check_length(const VantoroTable& table, const json& value, const std::string& where, std::size_t rows)
    {
        const int wanted = rows_wanted(table, pins_, numbers_.values);
        const auto least = static_cast<std::size_t>(wanted < 0 ? table.min_rows : wanted);
        const auto most = static_cast<std::size_t>(wanted < 0 ? table.max_rows : wanted);
        if (rows >= least && rows <= most)
            return;
        std::string text = std::to_string(least) + (least == most ? "" : " to " + std::to_string(most)) + " rows";
        problems_.push_back({where, std::to_string(value.size()) + " rows", std::move(text)});
    }

    // A block that is off until someone says otherwise, and silent while it is off.
    void check_switch(const json& params)
    {
        constexpr const char* kSwitch = "enable";
        if (!has_trait(type_, VANTORO_CLEAR_OUTPUTS) || member(params, kSwitch))
            return;
        for (const VantoroParam* entry : entries_)
            if (entry && entry->kind == VANTORO_FLAG && entry->name == std::string_view(kSwitch) && entry->initial == 0)
                problems_.push_back({std::string("/") + kSwitch, "left out",
                                     std::string(type_.name) + " is silent unless it is 1", true});
    }

    const BlockType& type_;
    PinCounts pins_;
    Problems& problems_;
    Entries entries_;
    Numbers numbers_;
};

}  // namespace

std::vector<float> build_vector(const BlockType& type, PinCounts pins, const json& params, Problems& problems,
                                std::optional<Pace> pace)
{
    Problems found;
    std::vector<float> vector = Builder(type, pins, found).build(params);
    if (pace && std::ranges::all_of(found, &Problem::warning))
        check_vector(type, pins, vector, *pace, found);
    problems.insert(problems.end(), std::make_move_iterator(found.begin()), std::make_move_iterator(found.end()));
    return vector;
}

std::vector<float> default_vector(const BlockType& type, PinCounts pins)
{
    std::vector<float> vector(
        static_cast<std::size_t>(Vantoro_initial_vector(&type, pins.inputs, pins.outputs, nullptr, 0)));
    Vantoro_initial_vector(&type, pins.inputs, pins.outputs, vector.data(), static_cast<int>(vector.size()));
    return vector;
}

void check_vector(const BlockType& type, PinCounts pins, std::span<const float> vector, Pace pace, Problems& problems)
{
    const auto check = [&](const Entries& entries, std::span<const float> values, std::span<const float> before,
                           const std::string& where) {
        for (std::size_t i = 0; i < entries.size(); ++i) {
            if (!entries[i])
                continue;
            const Meaning meaning = meaning_of(entries, values, i);
            std::string text = at_this_pace(meaning, values[i], pace);
            if (text.empty())
                text = beside_others(meaning, entries, values, i, before);
            if (!text.empty())
                problems.push_back({where + "/" + entries[i]->name, decimal(values[i]), std::move(text), true});
        }
    };
    const Numbers numbers = take_apart(type, pins, vector);
    check(entries_of(type), numbers.values, {}, "");
    const auto layout = layout_of(type);
    for (std::size_t i = 0; i < layout.size(); ++i) {
        if (layout[i].kind != VANTORO_ROWS)
            continue;
        const Entries columns = entries_of(*layout[i].table);
        const std::span<const float> cells = numbers.cells[i];
        const std::size_t width = columns.size();
        for (std::size_t row = 0; row < cells.size() / width; ++row)
            check(columns, cells.subspan(row * width, width),
                  row > 0 ? cells.subspan((row - 1) * width, width) : std::span<const float>(),
                  std::string("/") + layout[i].table->name + "/" + std::to_string(row));
    }
    check_stability(type, pins, vector, pace, problems);
}

}  // namespace vantoro
