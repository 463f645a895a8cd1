// SPDX-License-Identifier: Apache-2.0
// Named values to vector and back.
#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <map>

#include <nlohmann/json.hpp>

#include "catalog/catalog.h"
#include "support/decimal.h"
#include "support/json_text.h"

namespace vantoro {
namespace {

using nlohmann::json;
using Problems = std::vector<Problem>;

bool same_name(std::string_view a, std::string_view b)
{
    return std::ranges::equal(a, b,
                              [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

int count_of(Per per, Pins pins)
{
    switch (per) {
    case Per::none:
        return 0;
    case Per::input:
        return pins.inputs;
    case Per::output:
        return pins.outputs;
    case Per::input_pair:
        return pins.inputs / 2;
    case Per::crosspoint:
        return pins.inputs * pins.outputs;
    case Per::group:
        return std::max(pins.inputs, pins.outputs) / std::min(pins.inputs, pins.outputs);
    }
    return 0;
}

std::string joined(std::span<const std::string_view> names)
{
    std::string out;
    for (std::string_view name : names)
        out.append(out.empty() ? "" : ", ").append(name);
    return out;
}

// The values of a table's rows, one after the other.
using Cells = std::vector<float>;
using Numbers = std::map<std::string_view, float>;

// The rows a table must have; -1 where the schematic chooses.
int rows_wanted(const Table& table, Pins pins, const Numbers& numbers)
{
    if (!table.rows_of.empty())
        return static_cast<int>(numbers.at(table.rows_of) * numbers.at(table.columns_of));
    return table.per == Per::none ? -1 : count_of(table.per, pins);
}

// The length of a matrix's rows; 0: the table is no matrix.
std::size_t matrix_row(const Table& table, Pins pins, const Numbers& numbers)
{
    const int length =
        table.columns_of.empty() ? count_of(table.matrix, pins) : static_cast<int>(numbers.at(table.columns_of));
    return static_cast<std::size_t>(length);
}

class Builder {
public:
    Builder(const BlockType& type, Pins pins, Problems& problems) : type_(type), pins_(pins), problems_(problems) {}

    std::vector<float> build(const json& params)
    {
        if (!params.is_null() && !params.is_object()) {
            fault("", params, "an object of named values");
            return {};
        }
        names_known(params, "", slot_names(), "parameter");
        for (const Slot& slot : type_.layout)
            if (slot.kind == Slot::Kind::value)
                numbers_[slot.param.name] = member(slot.param, params, "");
        for (const Slot& slot : type_.layout)
            if (slot.kind == Slot::Kind::table)
                tables_[slot.table] = read_table(*slot.table, params);
        return lay_out();
    }

private:
    void fault(std::string where, const json& value, std::string wanted)
    {
        problems_.push_back({std::move(where), as_text(value), std::move(wanted)});
    }

    std::vector<std::string_view> slot_names() const
    {
        std::vector<std::string_view> names;
        for (const Slot& slot : type_.layout)
            if (slot.kind == Slot::Kind::value || slot.kind == Slot::Kind::table)
                names.push_back(slot.table ? slot.table->name : slot.param.name);
        return names;
    }

    void names_known(const json& object, const std::string& where, std::span<const std::string_view> names,
                     std::string_view what)
    {
        for (const auto& [name, value] : object.items()) {
            if (std::ranges::find(names, name) != names.end())
                continue;
            std::string wanted = "no " + std::string(what) + " of " + std::string(type_.name);
            if (const std::string near = nearest(name, names); !near.empty())
                wanted += "; did you mean " + near + "?";
            else
                wanted += names.empty() ? "; it has none" : "; there is " + joined(names);
            fault(where + pointer_step(name), value, wanted);
        }
    }

    float member(const Param& param, const json& object, const std::string& where)
    {
        const auto it = object.is_object() ? object.find(param.name) : object.end();
        return it == object.end() ? param.usual : number(param, *it, where + "/" + std::string(param.name));
    }

    float number(const Param& param, const json& value, const std::string& where)
    {
        if (param.kind == Param::Kind::choice)
            return chosen(param, value, where);
        if (param.kind == Param::Kind::flag && value.is_boolean())
            return value.get<bool>() ? 1.0F : 0.0F;
        const double wide = value.is_number() ? value.get<double>() : std::nan("");
        const auto v = static_cast<float>(wide);
        const bool whole = param.kind == Param::Kind::real || std::floor(wide) == wide;
        const int below = count_of(param.below, pins_);
        if (std::isfinite(v) && whole && v >= param.min && v <= param.max &&
            (below == 0 || v < static_cast<float>(below)))
            return v;
        const bool too_large = std::isinf(v) && v >= param.min && v <= param.max;
        fault(where, value,
              below > 0   ? "a whole number from 0 to " + std::to_string(below - 1)
              : too_large ? "a number of single precision, to 3.4e38"
                          : range_text(param));
        return param.usual;
    }

    float chosen(const Param& param, const json& value, const std::string& where)
    {
        for (const Choice& choice : param.choices)
            if (value.is_string() ? same_name(value.get_ref<const std::string&>(), choice.name) : value == choice.value)
                return static_cast<float>(choice.value);
        std::vector<std::string_view> names;
        for (const Choice& choice : param.choices)
            names.push_back(choice.name);
        const std::string near = value.is_string() ? nearest(value.get<std::string>(), names) : std::string{};
        fault(where, value, range_text(param) + (near.empty() ? "" : "; did you mean " + near + "?"));
        return param.usual;
    }

    Cells usual_cells(const Table& table) const
    {
        const int rows = rows_wanted(table, pins_, numbers_);
        Cells cells(table.usual.begin(), table.usual.end());
        for (int row = 0; row < rows; ++row)
            for (const Param& column : table.columns)
                cells.push_back(column.usual);
        return cells;
    }

    Cells read_table(const Table& table, const json& params)
    {
        const auto it = params.is_object() ? params.find(table.name) : params.end();
        if (it == params.end())
            return usual_cells(table);
        const std::string where = "/" + std::string(table.name);
        if (!it->is_array()) {
            fault(where, *it, "an array");
            return usual_cells(table);
        }
        Cells cells;
        for (std::size_t i = 0; i < it->size(); ++i)
            read_row(table, (*it)[i], where + "/" + std::to_string(i), cells);
        check_length(table, *it, where, cells.size() / table.columns.size());
        return cells;
    }

    void read_row(const Table& table, const json& row, const std::string& where, Cells& cells)
    {
        const bool single = table.columns.size() == 1;
        if (row.is_object() && !single) {
            std::vector<std::string_view> names;
            for (const Param& column : table.columns)
                names.push_back(column.name);
            names_known(row, where, names, "column of " + std::string(table.name));
            for (const Param& column : table.columns)
                cells.push_back(member(column, row, where));
        } else if (row.is_array()) {
            const std::size_t wanted = single ? matrix_row(table, pins_, numbers_) : table.columns.size();
            if (row.size() != wanted)
                fault(where, row, wanted == 0 ? "a number" : std::to_string(wanted) + " numbers");
            for (std::size_t i = 0; i < wanted; ++i) {
                const Param& column = table.columns[single ? 0 : i];
                cells.push_back(i < row.size() ? number(column, row[i], where + "/" + std::to_string(i))
                                               : column.usual);
            }
        } else if (single) {
            cells.push_back(number(table.columns[0], row, where));
        } else {
            fault(where, row, "an object of named values, or an array of " + std::to_string(table.columns.size()));
            for (const Param& column : table.columns)
                cells.push_back(column.usual);
        }
    }

    void check_length(const Table& table, const json& value, const std::string& where, std::size_t rows)
    {
        const int wanted = rows_wanted(table, pins_, numbers_);
        const auto least = static_cast<std::size_t>(wanted < 0 ? table.min : wanted);
        const auto most = static_cast<std::size_t>(wanted < 0 ? table.max : wanted);
        if (rows >= least && rows <= most)
            return;
        std::string text = std::to_string(least) + (least == most ? "" : " to " + std::to_string(most)) + " rows";
        problems_.push_back({where, std::to_string(value.size()) + " rows", text});
    }

    std::vector<float> lay_out() const
    {
        std::vector<float> vector;
        std::vector<std::pair<std::size_t, const Slot*>> references;
        std::map<const Table*, std::size_t> begins;
        for (const Slot& slot : type_.layout) {
            const std::size_t columns = slot.table ? slot.table->columns.size() : 1;
            switch (slot.kind) {
            case Slot::Kind::value:
                vector.push_back(numbers_.at(slot.param.name));
                break;
            case Slot::Kind::count: {
                const std::size_t rows = tables_.at(slot.table).size() / columns;
                vector.push_back(static_cast<float>(rows));
                break;
            }
            case Slot::Kind::first_of:
                references.emplace_back(vector.size(), &slot);
                vector.push_back(0);
                break;
            case Slot::Kind::table:
                begins[slot.table] = vector.size();
                append(*slot.table, vector);
                break;
            }
        }
        for (const auto& [at, slot] : references) {
            const std::size_t rows = tables_.at(slot->table).size() / slot->table->columns.size();
            vector[at] = static_cast<float>(begins.at(slot->table) + static_cast<std::size_t>(slot->column) * rows);
        }
        return vector;
    }

    void append(const Table& table, std::vector<float>& vector) const
    {
        const Cells& cells = tables_.at(&table);
        if (table.order == Table::Order::rows) {
            vector.insert(vector.end(), cells.begin(), cells.end());
            return;
        }
        for (std::size_t column = 0; column < table.columns.size(); ++column)
            for (std::size_t i = column; i < cells.size(); i += table.columns.size())
                vector.push_back(cells[i]);
    }

    const BlockType& type_;
    Pins pins_;
    Problems& problems_;
    Numbers numbers_;
    std::map<const Table*, Cells> tables_;
};

// ---- the way back ----

json shown(const Param& param, float v)
{
    for (const Choice& choice : param.choices)
        if (v == static_cast<float>(choice.value))
            return choice.name;
    if (param.kind == Param::Kind::flag)
        return v != 0;
    if (param.kind == Param::Kind::real)
        return short_decimal(v);
    return static_cast<long>(v);
}

json shown(const Table& table, std::span<const float> cells, std::size_t rows, std::size_t matrix_row)
{
    const auto cell = [&](std::size_t row, std::size_t column) {
        const bool by_rows = table.order == Table::Order::rows;
        return cells[by_rows ? row * table.columns.size() + column : column * rows + row];
    };
    json out = json::array();
    for (std::size_t row = 0; row < rows; ++row) {
        if (table.columns.size() > 1) {
            json object = json::object();
            for (std::size_t column = 0; column < table.columns.size(); ++column)
                object[std::string(table.columns[column].name)] = shown(table.columns[column], cell(row, column));
            out.push_back(object);
        } else if (matrix_row > 0) {
            if (row % matrix_row == 0)
                out.push_back(json::array());
            out.back().push_back(shown(table.columns[0], cell(row, 0)));
        } else {
            out.push_back(shown(table.columns[0], cell(row, 0)));
        }
    }
    return out;
}

// ---- setting one value ----

// "bands[3].boostDb": "bands", "3", "boostDb".
std::vector<std::string> steps_of(std::string_view path)
{
    std::vector<std::string> steps(1);
    for (char c : path) {
        if (c == '[' || c == '.')
            steps.emplace_back();
        else if (c != ']')
            steps.back() += c;
    }
    return steps;
}

json value_of(std::string_view text)
{
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error == std::errc{} && end == text.data() + text.size() && std::isfinite(number))
        return number;
    json value = parse_value(text);
    return value.is_discarded() ? json(text) : value;
}

// What is right where `step` leads nowhere from `node`.
std::string wanted_at(const json& node, const std::string& step)
{
    if (node.is_array())
        return node.empty() ? "nothing: it is empty" : "an index from 0 to " + std::to_string(node.size() - 1);
    if (!node.is_object())
        return "nothing: the value has no parts";
    std::vector<std::string_view> names;
    for (const auto& [name, value] : node.items())
        names.push_back(name);
    const std::string near = nearest(step, names);
    return near.empty() ? "one of " + joined(names) : "unknown; did you mean " + near + "?";
}

const json* step_to(const json& node, const std::string& step)
{
    if (node.is_object())
        return node.contains(step) ? &node.at(step) : nullptr;
    std::size_t index = 0;
    const auto [end, error] = std::from_chars(step.data(), step.data() + step.size(), index);
    const bool found =
        node.is_array() && error == std::errc{} && end == step.data() + step.size() && index < node.size();
    return found ? &node.at(index) : nullptr;
}

// The value at a path below `root`; null, and a fault, where there is none.
json* find_value(json& root, std::string_view path, std::string_view text, Problems& problems)
{
    const json* node = &root;
    std::string where;
    for (const std::string& step : steps_of(path)) {
        where += pointer_step(step);
        const json* next = step_to(*node, step);
        if (!next) {
            problems.push_back({where, std::string(text), wanted_at(*node, step)});
            return nullptr;
        }
        node = next;
    }
    return const_cast<json*>(node);
}

}  // namespace

std::vector<float> build_vector(const BlockType& type, Pins pins, const json& params, Problems& problems)
{
    return Builder(type, pins, problems).build(params);
}

std::vector<float> default_vector(const BlockType& type, Pins pins)
{
    Problems none;
    return build_vector(type, pins, nullptr, none);
}

json named_values(const BlockType& type, Pins pins, std::span<const float> vector)
{
    json out = json::object();
    Numbers numbers;
    std::map<const Table*, std::size_t> counts;
    std::size_t at = 0;
    for (const Slot& slot : type.layout) {
        if (slot.kind == Slot::Kind::table) {
            const Table& table = *slot.table;
            const std::size_t rows =
                counts.contains(&table) ? counts[&table] : static_cast<std::size_t>(rows_wanted(table, pins, numbers));
            const std::size_t size = rows * table.columns.size();
            out[std::string(table.name)] =
                shown(table, vector.subspan(at, size), rows, matrix_row(table, pins, numbers));
            at += size;
            continue;
        }
        const float v = vector[at++];
        if (slot.kind == Slot::Kind::count)
            counts[slot.table] = static_cast<std::size_t>(v);
        if (slot.kind == Slot::Kind::value) {
            numbers[slot.param.name] = v;
            out[std::string(slot.param.name)] = shown(slot.param, v);
        }
    }
    return out;
}

bool set_value(const BlockType& type, Pins pins, json& params, std::string_view path, std::string_view text,
               Problems& problems)
{
    const std::size_t before = problems.size();
    const std::string name = steps_of(path).front();
    json next = params.is_null() ? json::object() : params;
    if (name == path) {
        next[name] = value_of(text);
    } else {
        // An element: the table is written out first, as it stands or by its defaults.
        json all = named_values(type, pins, build_vector(type, pins, params, problems));
        json* element = find_value(all, path, text, problems);
        if (!element)
            return false;
        *element = value_of(text);
        next[name] = all[name];
    }
    build_vector(type, pins, next, problems);
    if (problems.size() > before)
        return false;
    params = std::move(next);
    return true;
}

}  // namespace vantoro
