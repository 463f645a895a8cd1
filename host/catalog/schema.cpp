// SPDX-License-Identifier: Apache-2.0
// The parameters of a type as JSON schema: what an editor completes, and underlines where 'vantoro check' would report
// or warn. Names as they stand here only, although the program takes choices in any case.
#include <algorithm>
#include <cmath>
#include <limits>
#include <set>

#include <nlohmann/json.hpp>

#include "catalog/layout.h"
#include "catalog/words.h"
#include "support/quantity.h"

namespace vantoro {
namespace {

using json = nlohmann::ordered_json;

// "slope of the shelf, Hz, most often 20 to 20000"
std::string description_of(const VantoroParam& param)
{
    std::string text = param.help;
    const auto add = [&](const std::string& part) { text += (text.empty() || part.empty() ? "" : ", ") + part; };
    const bool number = param.kind == VANTORO_REAL || param.kind == VANTORO_INTEGER;
    add(param.unit);
    add(number ? "most often " + limits_text(param.range) : "");
    return text;
}

// What a number is taken as without an error or a warning.
void add_limits(const VantoroParam& param, json& out)
{
    const float min = std::max(param.clamp.min, param.valid.min), max = std::min(param.clamp.max, param.valid.max);
    if (param.below != VANTORO_PER_NOTHING)
        out["minimum"] = 0;
    else if (min == std::numeric_limits<float>::min())
        out["exclusiveMinimum"] = 0;
    else if (std::isfinite(min))
        out["minimum"] = number_json(min);
    if (std::isfinite(max))
        out["maximum"] = number_json(max);
}

json expression_schema() { return {{"type", "string"}, {"pattern", "^="}}; }

// Names, and numbers that an editor does not offer.
json choice_schema(const VantoroParam& param)
{
    json names = json::array();
    int least = std::numeric_limits<int>::max(), most = std::numeric_limits<int>::min();
    for (const VantoroChoice& choice : choices_of(param)) {
        names.push_back(choice.name);
        least = std::min(least, choice.value);
        most = std::max(most, choice.value);
    }
    return {{"anyOf",
             {{{"enum", names}}, {{"type", "integer"}, {"minimum", least}, {"maximum", most}}, expression_schema()}}};
}

// A number, or a text: an expression, or a number with its unit. `open`: the unit follows from a choice.
json number_schema(const VantoroParam& param, bool open)
{
    json out{{"type", {param.kind == VANTORO_INTEGER ? "integer" : "number", "string"}}};
    if (!open)
        out["pattern"] = param.unit[0] == '\0' ? "^=" : "^=|" + quantity_pattern(param.unit);
    return out;
}

// `limited`: the limits hold under every choice.
json schema_of(const VantoroParam& param, bool limited)
{
    json out{{"description", description_of(param)}};
    if (const VantoroChoice* choice = choice_of(param, param.initial))
        out["default"] = choice->name;
    else if (param.kind == VANTORO_FLAG)
        out["default"] = param.initial != 0;
    else
        out["default"] = number_json(param.initial);
    if (param.kind == VANTORO_CHOICE)
        out.update(choice_schema(param));
    else if (param.kind == VANTORO_FLAG)
        out["anyOf"] = {
            {{"type", "boolean"}}, {{"type", "integer"}, {"minimum", 0}, {"maximum", 1}}, expression_schema()};
    else
        out.update(number_schema(param, !limited));
    if (limited && param.kind != VANTORO_FLAG && param.kind != VANTORO_CHOICE)
        add_limits(param, out);
    return out;
}

// By name, what is never read is not to be given; in a row by position it must be.
json member_schema(const VantoroParam& param, bool limited)
{
    if ((param.flags & unsigned{VANTORO_UNUSED}) != 0)
        return {{"description", description_of(param)}, {"not", json::object()}};
    return schema_of(param, limited);
}

// The entries that some choice of `param` reads in its own way.
std::set<std::size_t> read_entries(const VantoroParam& param)
{
    std::set<std::size_t> entries;
    for (const VantoroChoice& choice : choices_of(param))
        for (const VantoroReading& reading : readings_of(choice))
            entries.insert(static_cast<std::size_t>(reading.entry));
    return entries;
}

// What the entries are under a choice: limits of their own, or not to be given.
json under_choice(const VantoroChoice& choice, const std::set<std::size_t>& entries, const Entries& params)
{
    json out = json::object();
    for (const std::size_t entry : entries) {
        if (!params[entry])
            continue;
        const auto readings = readings_of(choice);
        const auto reading = std::ranges::find(readings, static_cast<int>(entry), &VantoroReading::entry);
        const VantoroParam* as = reading == readings.end() ? params[entry] : reading->as;
        json& schema = out[params[entry]->name] = as ? json::object() : json(false);
        if (!as)
            continue;
        if (reading != readings.end())
            schema["description"] = as->name + (": " + description_of(*as));
        schema.update(number_schema(*as, false));
        add_limits(*as, schema);
    }
    return out;
}

// One condition for all the choices that read the same; the default holds where nothing is chosen.
void add_conditions(const VantoroParam& param, const Entries& params, json& schema)
{
    struct Group {
        json under, chosen;  // what holds, under which names and numbers
    };
    const std::set<std::size_t> entries = read_entries(param);
    std::vector<Group> groups;
    for (const VantoroChoice& choice : choices_of(param)) {
        const json under = under_choice(choice, entries, params);
        if (std::ranges::find(groups, under, &Group::under) == groups.end())
            groups.push_back({under, json::array()});
        json& chosen = std::ranges::find(groups, under, &Group::under)->chosen;
        chosen.push_back(choice.name);
        chosen.push_back(choice.value);
    }
    const VantoroChoice* initial = choice_of(param, param.initial);
    for (const auto& [under, chosen] : groups) {
        json condition{{"properties", {{param.name, {{"enum", chosen}}}}}};
        if (!initial || std::ranges::find(chosen, json(initial->name)) == chosen.end())
            condition["required"] = json::array({param.name});
        schema["allOf"].push_back({{"if", condition}, {"then", {{"properties", under}}}});
    }
}

// An object whose members are the entries.
json object_schema(const Entries& params)
{
    std::set<std::size_t> conditional;
    for (const VantoroParam* param : params)
        if (param)
            conditional.merge(read_entries(*param));
    json out{{"type", "object"}, {"additionalProperties", false}, {"properties", json::object()}};
    for (std::size_t i = 0; i < params.size(); ++i)
        if (params[i])
            out["properties"][params[i]->name] = member_schema(*params[i], !conditional.contains(i));
    for (const VantoroParam* param : params)
        if (param && !read_entries(*param).empty())
            add_conditions(*param, params, out);
    return out;
}

json schema_of(const VantoroTable& table)
{
    const Entries columns = entries_of(table);
    json row;
    if (columns.size() == 1) {
        const json cell = schema_of(*columns[0], true);
        row = {{"anyOf", {cell, {{"type", "array"}, {"items", cell}}}}};
    } else {
        json cells = json::array();
        for (const VantoroParam* column : columns)
            cells.push_back(schema_of(*column, false));
        row = {{"anyOf",
                {object_schema(columns),
                 {{"type", "array"}, {"items", cells}, {"minItems", cells.size()}, {"maxItems", cells.size()}}}}};
    }
    std::string description = length_text(table);
    if (table.help[0] != '\0')
        description += std::string("; ") + table.help;
    json out{{"description", description},
             {"type", json::array({"array", "object"})},
             {"items", row},
             {"if", {{"type", "object"}}},
             {"then", {{"$ref", "#/definitions/file"}}}};
    if (table.per == VANTORO_PER_NOTHING && table.rows_entry < 0)
        out.update({{"minItems", table.min_rows}, {"maxItems", table.max_rows}});
    return out;
}

}  // namespace

json params_schema(const BlockType& type)
{
    json out = object_schema(entries_of(type));
    for (const VantoroSlot& slot : layout_of(type))
        if (slot.kind == VANTORO_ROWS)
            out["properties"][slot.table->name] = schema_of(*slot.table);
    return out;
}

}  // namespace vantoro
