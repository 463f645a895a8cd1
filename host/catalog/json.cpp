// SPDX-License-Identifier: Apache-2.0
// The catalog for programs: everything that a description says.
#include <cmath>

#include <nlohmann/json.hpp>

#include "catalog/layout.h"
#include "catalog/words.h"

namespace vantoro {
namespace {

using json = nlohmann::ordered_json;  // in the order of the description

// In the order of the enumerators.
constexpr const char* kKinds[] = {"real", "integer", "flag", "choice"};
constexpr const char* kScales[] = {"linear", "logarithmic", "decibel"};
constexpr const char* kOnSets[] = {"keeps", "restarts", "glides"};
constexpr const char* kUnknowns[] = {"", "n", "m", "kn"};
constexpr const char* kTraits[] = {"source",       "denormals", "contiguousPins", "unwrittenOutputs",
                                   "clearOutputs", "random",    "paramsInPlace",  "clips",
                                   "linearModel",  "terminal",  "meter"};

// An infinite bound is left out.
json json_of(VantoroRange range)
{
    json out = json::object();
    if (std::isfinite(range.min))
        out["min"] = number_json(range.min);
    if (std::isfinite(range.max))
        out["max"] = number_json(range.max);
    return out;
}

json json_of(const VantoroParam& param);

json json_of(const VantoroChoice& choice)
{
    json out{{"name", choice.name}, {"value", choice.value}};
    for (const VantoroReading& reading : readings_of(choice))
        out["readings"].push_back({{"entry", reading.entry}, {"as", reading.as ? json_of(*reading.as) : json()}});
    return out;
}

json json_of(const VantoroParam& param)
{
    json out{{"name", param.name},
             {"unit", param.unit},
             {"help", param.help},
             {"kind", kKinds[param.kind]},
             {"scale", kScales[param.scale]},
             {"belowHalfRate", (param.flags & unsigned{VANTORO_BELOW_HALF_RATE}) != 0},
             {"unused", (param.flags & unsigned{VANTORO_UNUSED}) != 0},
             {"below", per_text(param.below)},
             {"default", number_json(param.initial)},
             {"step", number_json(param.step)},
             {"clamp", json_of(param.clamp)},
             {"valid", json_of(param.valid)},
             {"range", json_of(param.range)}};
    for (const VantoroChoice& choice : choices_of(param))
        out["choices"].push_back(json_of(choice));
    return out;
}

json json_of(const VantoroTable& table)
{
    json out{{"name", table.name}, {"help", table.help}, {"byColumns", table.by_columns != 0}};
    for (const VantoroParam& column : columns_of(table))
        out["columns"].push_back(json_of(column));
    if (table.per != VANTORO_PER_NOTHING)
        out["rowsPer"] = per_text(table.per);
    else if (table.rows_entry >= 0)
        out.update({{"rowsEntry", table.rows_entry}, {"columnsEntry", table.columns_entry}});
    else
        out.update({{"minRows", table.min_rows}, {"maxRows", table.max_rows}});
    if (table.row_length != VANTORO_PER_NOTHING)
        out["rowLength"] = per_text(table.row_length);
    for (const float v : list_of(table.initial, table.initial ? table.initial_rows * table.column_count : 0))
        out["default"].push_back(number_json(v));
    return out;
}

json json_of(const VantoroSlot& slot)
{
    switch (slot.kind) {
    case VANTORO_VALUE:
        return {{"slot", "value"}, {"param", json_of(*slot.param)}};
    case VANTORO_COUNT:
        return {{"slot", "count"}, {"of", slot.table->name}};
    case VANTORO_ROWS:
        return {{"slot", "rows"}, {"table", json_of(*slot.table)}};
    case VANTORO_FIRST_OF:
        break;
    }
    return {{"slot", "firstOf"}, {"of", slot.table->name}, {"column", slot.column}};
}

json json_of(VantoroPinCount count)
{
    return {{"fixed", count.fixed}, {"times", count.times}, {"of", kUnknowns[count.of]}};
}

json json_of(const VantoroPin& pin)
{
    return {{"side", pin.output != 0 ? "output" : "input"},
            {"control", pin.control != 0},
            {"first", pin.first},
            {"last", pin.last},
            {"every", pin.every},
            {"name", pin.name},
            {"help", pin.help}};
}

json pins_json(const BlockType& type)
{
    const VantoroPinRule& rule = *type.pins;
    json out{{"rule", rule.text},
             {"inputs", json_of(rule.inputs)},
             {"outputs", json_of(rule.outputs)},
             {"minK", rule.min_k},
             {"maxN", rule.max_n},
             {"initialInputs", rule.initial_inputs},
             {"initialOutputs", rule.initial_outputs},
             {"named", json::array()}};
    for (const VantoroPin& pin : pins_of(type))
        out["named"].push_back(json_of(pin));
    return out;
}

json traits_json(unsigned traits)
{
    json names = json::array();
    for (std::size_t bit = 0; bit < std::size(kTraits); ++bit)
        if ((traits >> bit & 1U) != 0)
            names.push_back(kTraits[bit]);
    return names;
}

}  // namespace

json to_json(const BlockType& type)
{
    const PinCounts pins = initial_pins(type);
    json out{{"code", type.type},
             {"name", type.name},
             {"category", type.category},
             {"summary", type.summary},
             {"traits", traits_json(type.traits)},
             {"quiet", has_quiet(type)},
             {"onSet", kOnSets[type.on_set]},
             {"blockMultiple", type.block_multiple},
             {"maxBlock", type.max_block},
             {"delay", type.delay},
             {"pins", pins_json(type)},
             {"layout", json::array()},
             {"defaults", named_values(type, pins, default_vector(type, pins))}};
    for (const VantoroSlot& slot : layout_of(type))
        out["layout"].push_back(json_of(slot));
    return out;
}

json catalog_json()
{
    json out = json::array();
    for (const BlockType* type : every_type())
        out.push_back(to_json(*type));
    return out;
}

}  // namespace vantoro
