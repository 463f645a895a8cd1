// SPDX-License-Identifier: Apache-2.0
#include "catalog/entries.h"

#include <cmath>

#include "support/decimal.h"

namespace vantoro {

namespace {

std::string bracket(std::size_t n) { return '[' + std::to_string(n) + ']'; }

VectorEntry entry_of_value(const VantoroParam& param, const Meaning& meaning, float value)
{
    const bool sizes = (param.flags & unsigned{VANTORO_SIZES}) != 0;
    return {param.name, value, &param, meaning, nullptr, 0, 0, sizes};
}

// The cells of a table in the order of the vector.
std::vector<VectorEntry> cells_of(const VantoroTable& table, std::span<const float> cells, std::size_t matrix)
{
    const Entries columns = entries_of(table);
    const std::size_t rows = cells.size() / columns.size();
    std::vector<VectorEntry> out(cells.size());
    for (std::size_t cell = 0; cell < cells.size(); ++cell) {
        const std::size_t row = cell / columns.size(), column = cell % columns.size();
        const std::span values = cells.subspan(row * columns.size(), columns.size());
        std::string name = table.name + (matrix > 0 ? bracket(row / matrix) + bracket(row % matrix) : bracket(row));
        if (columns.size() > 1)
            name += std::string(".") + columns[column]->name;
        out[place_of(table, cell, rows)] = {name,   cells[cell], columns[column], meaning_of(columns, values, column),
                                            &table, row,         column,          false};
    }
    return out;
}

}  // namespace

std::vector<VectorEntry> entries_of(const BlockType& type, PinCounts pins, std::span<const float> vector)
{
    const Numbers numbers = take_apart(type, pins, vector);
    const Entries entries = entries_of(type);
    const auto layout = layout_of(type);
    std::vector<VectorEntry> out;
    for (std::size_t i = 0; i < layout.size(); ++i) {
        const VantoroTable* table = layout[i].table;
        if (entries[i]) {
            out.push_back(entry_of_value(*entries[i], meaning_of(entries, numbers.values, i), numbers.values[i]));
        } else if (layout[i].kind == VANTORO_ROWS) {
            const auto cells = cells_of(*table, numbers.cells[i], matrix_row(*table, pins, numbers.values));
            out.insert(out.end(), cells.begin(), cells.end());
        } else {
            out.push_back({table->name, vector[out.size()], nullptr, {}, table, 0, 0, true});
        }
    }
    return out;
}

std::string value_text(const VectorEntry& entry)
{
    if (!entry.param)
        return decimal(entry.value);
    if (const VantoroChoice* choice = choice_of(*entry.param, entry.value))
        return choice->name;
    if (entry.param->kind == VANTORO_FLAG)
        return std::trunc(entry.value) != 0 ? "true" : "false";
    const char* unit = entry.meaning.as ? entry.meaning.as->unit : "";
    return decimal(entry.value) + (unit[0] != '\0' ? " " : "") + unit;
}

}  // namespace vantoro
