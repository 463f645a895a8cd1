// SPDX-License-Identifier: Apache-2.0
#include "catalog/layout.h"

#include <algorithm>

namespace vantoro {

namespace {

// A number of rows or columns that stands in the vector: bounded, whatever it is.
int size_in(std::span<const float> values, int entry)
{
    constexpr float kMost = 4096;
    return static_cast<int>(std::clamp(values[static_cast<std::size_t>(entry)], 0.0F, kMost));
}

std::size_t rows_of(const VantoroTable& table, std::span<const float> cells)
{
    return cells.size() / static_cast<std::size_t>(table.column_count);
}

std::size_t entry_of(const BlockType& type, const VantoroTable* table)
{
    const auto slot = std::ranges::find_if(
        layout_of(type), [=](const VantoroSlot& s) { return s.kind == VANTORO_ROWS && s.table == table; });
    return static_cast<std::size_t>(slot - layout_of(type).begin());
}

}  // namespace

std::size_t place_of(const VantoroTable& table, std::size_t cell, std::size_t rows)
{
    const auto columns = static_cast<std::size_t>(table.column_count);
    return table.by_columns != 0 ? cell % columns * rows + cell / columns : cell;
}

const VantoroTable* table_of(const BlockType& type, std::string_view name)
{
    for (const VantoroSlot& slot : layout_of(type))
        if (slot.kind == VANTORO_ROWS && slot.table->name == name)
            return slot.table;
    return nullptr;
}

Entries entries_of(const BlockType& type)
{
    Entries entries;
    for (const VantoroSlot& slot : layout_of(type))
        entries.push_back(slot.param);
    return entries;
}

Entries entries_of(const VantoroTable& table)
{
    Entries entries;
    for (const VantoroParam& column : columns_of(table))
        entries.push_back(&column);
    return entries;
}

const VantoroChoice* choice_of(const VantoroParam& param, float value)
{
    for (const VantoroChoice& choice : choices_of(param))
        if (static_cast<float>(choice.value) == value)
            return &choice;
    return nullptr;
}

Meaning meaning_of(const Entries& entries, std::span<const float> values, std::size_t n)
{
    for (std::size_t i = 0; i < entries.size(); ++i)
        if (const VantoroChoice* choice = entries[i] ? choice_of(*entries[i], values[i]) : nullptr)
            for (const VantoroReading& reading : readings_of(*choice))
                if (reading.entry == static_cast<int>(n))
                    return {reading.as, choice};
    return {entries[n], nullptr};
}

int rows_wanted(const VantoroTable& table, PinCounts pins, std::span<const float> values)
{
    if (table.rows_entry >= 0)
        return size_in(values, table.rows_entry) * size_in(values, table.columns_entry);
    return table.per == VANTORO_PER_NOTHING ? -1 : Vantoro_count_per(table.per, pins.inputs, pins.outputs);
}

std::size_t matrix_row(const VantoroTable& table, PinCounts pins, std::span<const float> values)
{
    const int length = table.columns_entry >= 0 ? size_in(values, table.columns_entry)
                                                : Vantoro_count_per(table.row_length, pins.inputs, pins.outputs);
    return static_cast<std::size_t>(length);
}

std::vector<float> initial_cells(const VantoroTable& table, PinCounts pins, std::span<const float> values)
{
    const int wanted = rows_wanted(table, pins, values);
    if (wanted < 0) {
        const std::span cells = list_of(table.initial, table.initial_rows * table.column_count);
        return {cells.begin(), cells.end()};
    }
    std::vector<float> cells;
    for (int row = 0; row < wanted; ++row)
        for (const VantoroParam& column : columns_of(table))
            cells.push_back(column.initial);
    return cells;
}

Numbers take_apart(const BlockType& type, PinCounts pins, std::span<const float> vector)
{
    const auto layout = layout_of(type);
    Numbers out{std::vector<float>(layout.size()), std::vector<std::vector<float>>(layout.size())};
    std::vector<std::size_t> rows(layout.size());
    std::size_t at = 0;
    for (std::size_t i = 0; i < layout.size(); ++i) {
        const VantoroTable* table = layout[i].table;
        if (layout[i].kind != VANTORO_ROWS) {
            const float v = vector[at++];
            if (layout[i].kind == VANTORO_VALUE)
                out.values[i] = v;
            if (layout[i].kind == VANTORO_COUNT)
                rows[entry_of(type, table)] = static_cast<std::size_t>(v);
            continue;
        }
        if (const int wanted = rows_wanted(*table, pins, out.values); wanted >= 0)
            rows[i] = static_cast<std::size_t>(wanted);
        out.cells[i].resize(rows[i] * static_cast<std::size_t>(table->column_count));
        for (std::size_t cell = 0; cell < out.cells[i].size(); ++cell)
            out.cells[i][cell] = vector[at + place_of(*table, cell, rows[i])];
        at += out.cells[i].size();
    }
    return out;
}

std::vector<float> put_together(const BlockType& type, const Numbers& numbers)
{
    const auto layout = layout_of(type);
    std::vector<float> vector;
    std::vector<std::size_t> begins(layout.size());
    for (std::size_t i = 0; i < layout.size(); ++i) {
        begins[i] = vector.size();
        vector.push_back(numbers.values[i]);
        if (layout[i].kind != VANTORO_ROWS)
            continue;
        const std::vector<float>& cells = numbers.cells[i];
        vector.resize(begins[i] + cells.size());
        for (std::size_t cell = 0; cell < cells.size(); ++cell)
            vector[begins[i] + place_of(*layout[i].table, cell, rows_of(*layout[i].table, cells))] = cells[cell];
    }
    // What the vector says of its own tables.
    for (std::size_t i = 0; i < layout.size(); ++i) {
        if (layout[i].kind != VANTORO_COUNT && layout[i].kind != VANTORO_FIRST_OF)
            continue;
        const std::size_t table = entry_of(type, layout[i].table);
        const std::size_t rows = rows_of(*layout[i].table, numbers.cells[table]);
        const std::size_t column = static_cast<std::size_t>(layout[i].column);
        vector[begins[i]] = static_cast<float>(layout[i].kind == VANTORO_COUNT ? rows : begins[table] + column * rows);
    }
    return vector;
}

}  // namespace vantoro
