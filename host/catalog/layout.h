// SPDX-License-Identifier: Apache-2.0
// Walking a description: its lists as spans, what a choice makes of other entries, and vectors taken apart.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "catalog/catalog.h"

namespace vantoro {

// ---- lists ----

template <class Item>
std::span<const Item> list_of(const Item* items, int count)
{
    return {items, static_cast<std::size_t>(count)};
}
inline std::span<const VantoroSlot> layout_of(const BlockType& type) { return list_of(type.layout, type.layout_count); }
inline std::span<const VantoroPin> pins_of(const BlockType& type) { return list_of(type.pin_list, type.pin_count); }
inline std::span<const VantoroParam> columns_of(const VantoroTable& t) { return list_of(t.columns, t.column_count); }
inline std::span<const VantoroChoice> choices_of(const VantoroParam& p) { return list_of(p.choices, p.choice_count); }
// The table of this name; null: there is none.
const VantoroTable* table_of(const BlockType& type, std::string_view name);
inline std::span<const VantoroReading> readings_of(const VantoroChoice& choice)
{
    return list_of(choice.readings, choice.reading_count);
}

// ---- entries ----

// What stands side by side and may be read by one another's choices: the entries of a layout (null: no value), or the
// columns of a table.
using Entries = std::vector<const VantoroParam*>;
Entries entries_of(const BlockType& type);
Entries entries_of(const VantoroTable& table);

// The choice that a value means; null: none, or the parameter has none.
const VantoroChoice* choice_of(const VantoroParam& param, float value);

struct Meaning {
    const VantoroParam* as;   // null: not read
    const VantoroChoice* by;  // the choice that says so; null: the entry itself does
};
// Whether the library looks at the entry at all.
inline bool is_read(const VantoroParam& param, const Meaning& meaning)
{
    return meaning.as && (param.flags & unsigned{VANTORO_UNUSED}) == 0;
}
// What the n-th entry is while the entries have these values.
Meaning meaning_of(const Entries& entries, std::span<const float> values, std::size_t n);

// ---- vectors ----

// The numbers of a vector, an item an entry of the layout.
struct Numbers {
    std::vector<float> values;              // 0 where the entry is no value
    std::vector<std::vector<float>> cells;  // of a table, row after row; empty where the entry is no table
};
Numbers take_apart(const BlockType& type, PinCounts pins, std::span<const float> vector);
std::vector<float> put_together(const BlockType& type, const Numbers& numbers);

// The place of a table's cell among those of the vector.
std::size_t place_of(const VantoroTable& table, std::size_t cell, std::size_t rows);

// The rows a table must have; -1 where the vector says how many. `values` are those of the layout.
int rows_wanted(const VantoroTable& table, PinCounts pins, std::span<const float> values);
// The length of a matrix's rows; 0: the table is no matrix.
std::size_t matrix_row(const VantoroTable& table, PinCounts pins, std::span<const float> values);
// A table that nobody wrote.
std::vector<float> initial_cells(const VantoroTable& table, PinCounts pins, std::span<const float> values);

}  // namespace vantoro
