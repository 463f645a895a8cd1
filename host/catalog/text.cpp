// SPDX-License-Identifier: Apache-2.0
// The catalog as text and as JSON.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

#include <nlohmann/json.hpp>

#include "catalog/catalog.h"
#include "support/decimal.h"

namespace vantoro {
namespace {

using json = nlohmann::ordered_json;  // in the order of the sheet

std::string_view per_text(Per per)
{
    switch (per) {
    case Per::none:
        break;
    case Per::input:
        return "input";
    case Per::output:
        return "output";
    case Per::input_pair:
        return "pair of inputs";
    case Per::crosspoint:
        return "input and output";
    case Per::group:
        return "group";
    }
    return "";
}

std::string length_text(const Table& table)
{
    if (!table.rows_of.empty())
        return std::string(table.rows_of) + " x " + std::string(table.columns_of) + " entries";
    if (table.per != Per::none)
        return "one per " + std::string(per_text(table.per));
    return std::to_string(table.min) + " to " + std::to_string(table.max) + " rows";
}

std::string default_text(const Param& param)
{
    for (const Choice& choice : param.choices)
        if (param.usual == static_cast<float>(choice.value))
            return std::string(choice.name);
    return decimal(param.usual);
}

std::string padded(std::string_view text, std::size_t width)
{
    std::string out(text);
    out.resize(std::max(out.size() + 2, width), ' ');
    return out;
}

std::string trimmed(std::string text)
{
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

// "0.01 to 16", "from 0", "any".
std::string limits_text(const Param& param)
{
    const bool low = std::isfinite(param.min), high = std::isfinite(param.max);
    if (param.below != Per::none)
        return "0 to k - 1";
    if (low && high)
        return decimal(param.min) + " to " + decimal(param.max);
    return low ? "from " + decimal(param.min) : high ? "up to " + decimal(param.max) : "any";
}

// "0 LR12, 1 Butter12, ..." in lines of a sheet.
std::string choice_lines(const Param& param, std::string_view indent)
{
    std::string out, line;
    for (const Choice& choice : param.choices) {
        const bool last = choice.name == param.choices.back().name;
        const std::string item = std::to_string(choice.value) + " " + std::string(choice.name) + (last ? "" : ", ");
        if (line.size() + item.size() > 80)
            out += std::string(indent) + trimmed(std::exchange(line, {})) + "\n";
        line += item;
    }
    return line.empty() ? out : out + std::string(indent) + line + "\n";
}

// A line of a sheet: name, default with unit, limits, meaning; choices below.
std::string line_of(const Param& param, std::string_view indent)
{
    const std::string usual = default_text(param) + (param.unit.empty() ? "" : " " + std::string(param.unit));
    const bool flag = param.kind == Param::Kind::flag, choice = param.kind == Param::Kind::choice;
    const std::string limits = flag ? "0 or 1" : choice ? "see below" : limits_text(param);
    return std::string(indent) +
           trimmed(padded(param.name, 16) + padded(usual, 18) + padded(limits, 16) + std::string(param.help)) + "\n" +
           choice_lines(param, std::string(indent) + std::string(16, ' '));
}

std::string pin_text(const PinNote& note)
{
    std::string out = note.side == PinNote::Side::input ? "in " : "out ";
    if (note.every > 1)
        return out + std::to_string(note.first) + ", " + std::to_string(note.first + note.every) + " ...";
    if (note.first == note.last)
        return out + (note.first < 0 ? "last" : std::to_string(note.first));
    return out + std::to_string(note.first) + " ... " + (note.last == -1 ? "last" : "last but one");
}

std::string lines_of(const PinNote& note)
{
    return "  " +
           trimmed(padded(pin_text(note), 16) + padded(note.name, 18) + (note.control ? "control: " : "") +
                   std::string(note.meaning)) +
           "\n";
}

// What stands for a table that the schematic leaves out: "[[0, -6], [10, 0]]".
std::string usual_text(const Table& table)
{
    const std::size_t columns = table.columns.size();
    std::string out;
    for (std::size_t i = 0; i < table.usual.size(); ++i) {
        out += i == 0 ? "" : ", ";
        out += (columns > 1 && i % columns == 0 ? "[" : "") + decimal(table.usual[i]);
        out += columns > 1 && i % columns == columns - 1 ? "]" : "";
    }
    return "[" + out + "]";
}

std::string lines_of(const Table& table)
{
    std::string out = "  " + std::string(table.name) + "[]: " + length_text(table);
    if (!table.help.empty())
        out += "; " + std::string(table.help);
    out += "\n";
    for (const Param& column : table.columns)
        out += line_of(column, "    ");
    if (!table.usual.empty())
        out += "    left out: " + usual_text(table) + "\n";
    return out;
}

const Category& category_of(const BlockType& type)
{
    return *std::ranges::find(categories(), type.code & 0xff00, &Category::code);
}

const char* kind_name(Param::Kind kind)
{
    switch (kind) {
    case Param::Kind::real:
        return "real";
    case Param::Kind::integer:
        return "integer";
    case Param::Kind::flag:
        return "flag";
    case Param::Kind::choice:
        break;
    }
    return "choice";
}

json to_json(const Param& param)
{
    json out{{"name", param.name}, {"kind", kind_name(param.kind)}, {"default", short_decimal(param.usual)}};
    if (!param.unit.empty())
        out["unit"] = param.unit;
    if (!param.help.empty())
        out["help"] = param.help;
    if (std::isfinite(param.min))
        out["min"] = short_decimal(param.min);
    if (std::isfinite(param.max))
        out["max"] = short_decimal(param.max);
    if (param.below != Per::none)
        out["below"] = "one per " + std::string(per_text(param.below));
    for (const Choice& choice : param.choices)
        out["choices"][std::string(choice.name)] = choice.value;
    return out;
}

json to_json(const Table& table)
{
    json out{{"name", table.name}, {"length", length_text(table)}, {"columns", json::array()}};
    if (!table.help.empty())
        out["help"] = table.help;
    if (table.per == Per::none && table.rows_of.empty()) {
        out["min"] = table.min;
        out["max"] = table.max;
    }
    for (const Param& column : table.columns)
        out["columns"].push_back(to_json(column));
    return out;
}

json to_json(const PinNote& note)
{
    return {{"side", note.side == PinNote::Side::input ? "input" : "output"},
            {"first", note.first},
            {"last", note.last},
            {"every", note.every},
            {"name", note.name},
            {"meaning", note.meaning},
            {"control", note.control}};
}

}  // namespace

std::string range_text(const Param& param)
{
    if (param.kind == Param::Kind::flag)
        return "0 or 1";
    std::string names;
    for (const Choice& choice : param.choices)
        names += (names.empty() ? "one of " : ", ") + std::string(choice.name);
    if (!names.empty())
        return names;
    const std::string noun = param.kind == Param::Kind::integer ? "whole number" : "number";
    const std::string limits = limits_text(param);
    const bool both = std::isfinite(param.min) && std::isfinite(param.max);
    return limits == "any" ? "any " + noun : "a " + noun + (both ? " from " : " ") + limits;
}

json to_json(const BlockType& type)
{
    const auto pins = type.pins.usual;
    json out{{"code", type.code},
             {"name", type.name},
             {"category", category_of(type).title},
             {"summary", type.summary},
             {"pins", {{"rule", type.pins.text}, {"inputs", pins.inputs}, {"outputs", pins.outputs}}},
             {"parameters", json::array()},
             {"tables", json::array()},
             {"defaults", named_values(type, pins, default_vector(type, pins))}};
    for (const PinNote& note : type.notes)
        out["pins"]["notes"].push_back(to_json(note));
    for (const Slot& slot : type.layout) {
        if (slot.kind == Slot::Kind::value)
            out["parameters"].push_back(to_json(slot.param));
        if (slot.kind == Slot::Kind::table)
            out["tables"].push_back(to_json(*slot.table));
    }
    return out;
}

std::string sheet(const BlockType& type)
{
    char code[32];
    std::snprintf(code, sizeof code, " (%d, 0x%04X), ", type.code, static_cast<unsigned>(type.code));
    const Pins usual = type.pins.usual;
    const std::string open = std::to_string(usual.inputs) + " -> " + std::to_string(usual.outputs);
    std::string out = std::string(type.name) + code + std::string(category_of(type).title) + "\n" +
                      std::string(type.summary) + "\n\npins  " + std::string(type.pins.text) +
                      (open == type.pins.text ? "" : "  (" + open + " where left open)") + "\n";
    for (const PinNote& note : type.notes)
        out += lines_of(note);
    out +=
        type.layout.empty() ? "\nno parameters\n" : "\n" + padded("parameters", 18) + padded("default", 18) + "range\n";
    for (const Slot& slot : type.layout) {
        if (slot.kind == Slot::Kind::value)
            out += line_of(slot.param, "  ");
        if (slot.kind == Slot::Kind::table)
            out += lines_of(*slot.table);
    }
    return out;
}

std::string overview()
{
    std::string out;
    for (const Category& category : categories()) {
        out += (out.empty() ? "" : "\n") + std::string(category.title) + "\n";
        for (const BlockType& type : category.types)
            out += "  " + padded(std::to_string(type.code), 6) + padded(type.name, 34) + padded(type.pins.text, 24) +
                   std::string(type.summary) + "\n";
    }
    return out;
}

}  // namespace vantoro
