// SPDX-License-Identifier: Apache-2.0
// From a vector back to named values.
#include <nlohmann/json.hpp>

#include "catalog/layout.h"
#include "support/decimal.h"

namespace vantoro {
namespace {

using nlohmann::json;

json shown(const VantoroParam& param, float v)
{
    if (const VantoroChoice* choice = choice_of(param, v))
        return choice->name;
    if (param.kind == VANTORO_FLAG)
        return v != 0;
    if (param.kind == VANTORO_REAL)
        return short_decimal(v);
    return static_cast<long>(v);
}

// Of one column: plain numbers, or rows of this length.
json shown_matrix(const VantoroParam& column, std::span<const float> cells, std::size_t length)
{
    json out = json::array();
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (length > 0 && i % length == 0)
            out.push_back(json::array());
        (length > 0 ? out.back() : out).push_back(shown(column, cells[i]));
    }
    return out;
}

json shown_rows(std::span<const VantoroParam> columns, std::span<const float> cells)
{
    json out = json::array();
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (i % columns.size() == 0)
            out.push_back(json::object());
        const VantoroParam& column = columns[i % columns.size()];
        out.back()[column.name] = shown(column, cells[i]);
    }
    return out;
}

}  // namespace

json named_values(const BlockType& type, PinCounts pins, std::span<const float> vector)
{
    const Numbers numbers = take_apart(type, pins, vector);
    const auto layout = layout_of(type);
    json out = json::object();
    for (std::size_t i = 0; i < layout.size(); ++i) {
        if (layout[i].kind == VANTORO_VALUE)
            out[layout[i].param->name] = shown(*layout[i].param, numbers.values[i]);
        if (layout[i].kind != VANTORO_ROWS)
            continue;
        const VantoroTable& table = *layout[i].table;
        out[table.name] = table.column_count == 1
                              ? shown_matrix(*table.columns, numbers.cells[i], matrix_row(table, pins, numbers.values))
                              : shown_rows(columns_of(table), numbers.cells[i]);
    }
    return out;
}

}  // namespace vantoro
