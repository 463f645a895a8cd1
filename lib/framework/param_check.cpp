// SPDX-License-Identifier: Apache-2.0
// Whether a parameter vector can be handed to a block, from the block's description alone.
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>

#include "info.h"

namespace {

using namespace lbx;
using namespace lbx::info;

struct Check {
    std::span<const VantoroSlot> layout;
    int inputs, outputs;
    std::span<const float> vector;
    char* why;
    std::size_t size;

    [[gnu::format(printf, 2, 3)]] int refuse(const char* format, ...) const
    {
        if (why && size > 0) {
            std::va_list args;
            va_start(args, format);
            std::vsnprintf(why, size, format, args);
            va_end(args);
        }
        return RT_ERR_VALUE;
    }
};

// The entry before which nothing else of a layout has a length of its own.
float entry_of(const Check& check, int slot)
{
    const auto at = static_cast<std::size_t>(slot);
    return at < check.vector.size() ? check.vector[at] : 0.0F;
}

// The rows that a table has in the vector; -1 while its count is missing or out of range.
int rows_in(const Check& check, const VantoroTable& table)
{
    if (table.rows_entry >= 0) {
        const auto product =
            std::int64_t{to_int(entry_of(check, table.rows_entry))} * to_int(entry_of(check, table.columns_entry));
        return product < 0 || product > std::ssize(check.vector) ? -1 : static_cast<int>(product);
    }
    if (table.per != VANTORO_PER_NOTHING)
        return count_per(table.per, check.inputs, check.outputs);
    for (std::size_t i = 0; i < check.layout.size(); ++i)
        if (check.layout[i].kind == VANTORO_COUNT && check.layout[i].table == &table) {
            const int rows = to_int(entry_of(check, static_cast<int>(i)));
            return rows >= table.min_rows && rows <= table.max_rows ? rows : -1;
        }
    return -1;
}

bool is_choice(const VantoroParam& param, float v)
{
    for (int i = 0; i < param.choice_count; ++i)
        if (param.choices[i].value == to_int(v))
            return true;
    return false;
}

// `row` is -1 outside of tables.
int check_value(const Check& check, const VantoroParam& param, float v, const char* table, int row)
{
    char place[64];
    if (row < 0)
        std::snprintf(place, sizeof place, "%s", param.name);
    else
        std::snprintf(place, sizeof place, "%s[%d].%s", table, row, param.name);
    if (!std::isfinite(v))
        return check.refuse("%s is not finite", place);
    if (param.kind == VANTORO_CHOICE && !is_choice(param, v))
        return check.refuse("%s: %g is none of its choices", place, static_cast<double>(v));
    VantoroRange valid = param.valid;
    if (param.below != VANTORO_PER_NOTHING) {
        const auto count = static_cast<float>(count_per(param.below, check.inputs, check.outputs));
        valid = {std::max(valid.min, 0.0F), std::min(valid.max, count - 1)};
    } else if (param.kind != VANTORO_INTEGER)
        return RT_OK;
    const auto whole = static_cast<float>(to_int(v));
    return whole >= valid.min && whole <= valid.max
               ? static_cast<int>(RT_OK)
               : check.refuse("%s: %g; %g to %g", place, static_cast<double>(v), static_cast<double>(valid.min),
                              static_cast<double>(valid.max));
}

int check_rows(const Check& check, const VantoroTable& table, int rows, std::size_t at)
{
    for (int i = 0; i < rows * table.column_count; ++i) {
        const int column = table.by_columns ? i / rows : i % table.column_count;
        const int row = table.by_columns ? i % rows : i / table.column_count;
        if (const int result = check_value(check, table.columns[column], check.vector[at + static_cast<std::size_t>(i)],
                                           table.name, row))
            return result;
    }
    return RT_OK;
}

// The entries that a slot takes: -1 while the count of its table is missing or out of range.
std::int64_t size_of(const Check& check, const VantoroSlot& slot)
{
    const int rows = slot.table ? rows_in(check, *slot.table) : 1;
    if (rows < 0 || slot.kind != VANTORO_ROWS)
        return rows < 0 ? -1 : 1;
    return std::int64_t{rows} * slot.table->column_count;
}

// Where in the vector the rows of a table begin; without a table, its length. -1 as above.
std::int64_t start_of(const Check& check, const VantoroTable* table)
{
    std::int64_t at = 0;
    for (const VantoroSlot& slot : check.layout) {
        if (slot.kind == VANTORO_ROWS && slot.table == table)
            break;
        const std::int64_t size = size_of(check, slot);
        if (size < 0)
            return -1;
        at += size;
    }
    return at;
}

int check_entries(const Check& check)
{
    std::size_t at = 0;
    for (const VantoroSlot& slot : check.layout) {
        int result = RT_OK;
        const VantoroTable* table = slot.table;  // null: a value
        const int rows = table ? rows_in(check, *table) : 0;
        if (!table)
            result = check_value(check, *slot.param, check.vector[at], "", -1);
        else if (slot.kind == VANTORO_ROWS)
            result = check_rows(check, *table, rows, at);
        else if (slot.kind == VANTORO_FIRST_OF &&
                 to_int(check.vector[at]) != start_of(check, table) + std::int64_t{slot.column} * rows)
            result = check.refuse("entry %zu: %g is not where column %d of %s begins", at,
                                  static_cast<double>(check.vector[at]), slot.column, table->name);
        if (result != RT_OK)
            return result;
        at += static_cast<std::size_t>(size_of(check, slot));
    }
    return RT_OK;
}

}  // namespace

int Vantoro_param_check(int type, int inputs, int outputs, const float* vector, int length, char* why, size_t n)
{
    const VantoroBlockInfo* info = Vantoro_block_info(type);
    Check check = {{}, inputs, outputs, {}, why, n};
    if (!info)
        return check.refuse("%d is no block type", type);
    if (!Vantoro_pins_fit(info->pins, inputs, outputs))
        return check.refuse("%d -> %d pins; %s takes %s", inputs, outputs, info->name, info->pins->text);
    if (length < 0 || (length > 0 && !vector))
        return check.refuse("no vector");
    check.layout = {info->layout, static_cast<std::size_t>(info->layout_count)};
    check.vector = {vector, static_cast<std::size_t>(length)};
    const std::int64_t wanted = start_of(check, nullptr);
    if (wanted < 0)
        return check.refuse("a count is out of range or missing");
    if (wanted != length)
        return check.refuse("%d entries; %s takes %lld", length, info->name, static_cast<long long>(wanted));
    return check_entries(check);
}
