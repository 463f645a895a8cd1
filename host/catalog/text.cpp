// SPDX-License-Identifier: Apache-2.0
// The catalog as text and as JSON.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

#include <nlohmann/json.hpp>

#include "catalog.h"

namespace vantoro {
namespace {

using nlohmann::json;

std::string decimal(float v)
{
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, v).ptr};
}

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

// A line of a sheet: name, default with unit, range, meaning.
std::string line_of(const Param& param, std::string_view indent)
{
    const std::string usual = default_text(param) + (param.unit.empty() ? "" : " " + std::string(param.unit));
    std::string out = std::string(indent) + padded(param.name, 18) + padded(usual, 20);
    if (param.choices.empty())
        out += padded(range_text(param), 24);
    out += param.help;
    while (out.ends_with(' '))
        out.pop_back();
    for (const Choice& choice : param.choices)
        out += "\n" + std::string(indent) + std::string(18, ' ') + padded(std::to_string(choice.value), 4) +
               std::string(choice.name);
    return out + "\n";
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

std::string lines_of(const Table& table)
{
    std::string out = "\n  " + std::string(table.name) + "[]: " + length_text(table);
    if (!table.help.empty())
        out += "; " + std::string(table.help);
    out += "\n";
    for (const Param& column : table.columns)
        out += line_of(column, "    ");
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
    json out{{"name", param.name}, {"kind", kind_name(param.kind)}, {"default", param.usual}};
    if (!param.unit.empty())
        out["unit"] = param.unit;
    if (!param.help.empty())
        out["help"] = param.help;
    if (std::isfinite(param.min))
        out["min"] = param.min;
    if (std::isfinite(param.max))
        out["max"] = param.max;
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
    const bool low = std::isfinite(param.min), high = std::isfinite(param.max);
    const std::string_view noun = param.kind == Param::Kind::integer ? "whole number" : "number";
    std::string out;
    switch (param.kind) {
    case Param::Kind::flag:
        return "0 or 1";
    case Param::Kind::choice:
        for (const Choice& choice : param.choices)
            out += (out.empty() ? "one of " : ", ") + std::string(choice.name);
        return out;
    default:
        out = low || high ? std::string(noun) : "any " + std::string(noun);
    }
    if (low && high)
        return out + " " + decimal(param.min) + " to " + decimal(param.max);
    if (low)
        return out + " from " + decimal(param.min);
    return high ? out + " up to " + decimal(param.max) : out;
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
    std::string out = std::string(type.name) + code + std::string(category_of(type).title) + "\n" +
                      std::string(type.summary) + "\n\npins  " + std::string(type.pins.text) + "  (" +
                      std::to_string(usual.inputs) + " -> " + std::to_string(usual.outputs) + " where left open)\n";
    for (const PinNote& note : type.notes)
        out += "  " + padded(pin_text(note), 18) + padded(note.name, 14) + (note.control ? "control: " : "") +
               std::string(note.meaning) + "\n";
    out += type.layout.empty() ? "\nno parameters\n" : "\nparameters\n";
    for (const Slot& slot : type.layout)
        if (slot.kind == Slot::Kind::value)
            out += line_of(slot.param, "  ");
    for (const Slot& slot : type.layout)
        if (slot.kind == Slot::Kind::table)
            out += lines_of(*slot.table);
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
