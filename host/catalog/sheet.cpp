// SPDX-License-Identifier: Apache-2.0
// The catalog for people: a line a type, or a sheet about one. No line is longer than kWidth.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

#include "catalog/layout.h"
#include "catalog/words.h"
#include "support/columns.h"
#include "support/decimal.h"

namespace vantoro {
namespace {

constexpr std::size_t kDefaultColumn = 20, kRangeColumn = 36, kMeaningColumn = 54;

void add(std::string& list, const std::string& item)
{
    if (!item.empty())
        list += (list.empty() ? "" : "; ") + item;
}

// "limits: 0.01 to 16", "valid: above 0 and below half the sampling rate"
std::string bounds_text(const VantoroParam& param)
{
    const bool implied = param.valid.min <= param.clamp.min && param.valid.max >= param.clamp.max;
    std::string valid = implied ? "" : limits_text(param.valid);
    if ((param.flags & unsigned{VANTORO_BELOW_HALF_RATE}) != 0)
        valid += (valid.empty() ? "below" : " and below") + std::string(" half the sampling rate");
    std::string out;
    if (const std::string limits = limits_text(param.clamp); limits != "any")
        add(out, "limits: " + limits);
    add(out, valid.empty() ? "" : "valid: " + valid);
    add(out, (param.flags & unsigned{VANTORO_UNUSED}) != 0 ? "stored, never read" : "");
    return out;
}

// ---- parameters ----

// A line: name, default with its unit, range, meaning.
std::string line_of(const VantoroParam& param, std::size_t indent, const std::string& value)
{
    const bool number = param.kind == VANTORO_REAL || param.kind == VANTORO_INTEGER;
    const std::string range = param.below != VANTORO_PER_NOTHING ? "0 to k - 1"
                              : number                           ? limits_text(param.range)
                              : param.kind == VANTORO_FLAG       ? "0 or 1"
                                                                 : "one of";
    std::string line = filled(std::string(indent, ' ') + param.name, kDefaultColumn);
    line = filled(line + value + (param.unit[0] != '\0' && !value.empty() ? " " : "") + param.unit, kRangeColumn);
    std::string meaning = param.help;
    if (number)
        add(meaning, bounds_text(param));
    return flowed(line + range, kMeaningColumn, meaning);
}

// An entry whose meaning depends on a choice, with every other thing that it may be.
struct Changing {
    std::size_t entry;
    std::string name;
    const VantoroParam* itself;  // null: a table
    std::vector<const VantoroParam*> as{};
};

const char* name_of(std::span<const VantoroSlot> layout, const Entries& entries, std::size_t n)
{
    return entries[n] ? entries[n]->name : layout[n].table->name;
}

std::vector<Changing> changing_by(const VantoroParam& param, const BlockType& type, const Entries& entries)
{
    std::vector<Changing> list;
    for (const VantoroChoice& choice : choices_of(param))
        for (const VantoroReading& reading : readings_of(choice)) {
            const auto entry = static_cast<std::size_t>(reading.entry);
            auto at = std::ranges::find(list, entry, &Changing::entry);
            if (at == list.end())
                at = list.insert(at, {entry, name_of(layout_of(type), entries, entry), entries[entry]});
            if (reading.as && std::ranges::find(at->as, reading.as) == at->as.end())
                at->as.push_back(reading.as);
        }
    std::ranges::sort(list, {}, &Changing::entry);
    return list;
}

bool is_renamed(const VantoroParam& itself, const VantoroParam& as)
{
    return as.name != std::string_view(itself.name) || as.unit != std::string_view(itself.unit);
}

// "as slope", "in ms"; what is only described in other words brings them along.
std::string difference(const VantoroParam& itself, const VantoroParam& as)
{
    if (as.name != std::string_view(itself.name))
        return std::string(" as ") + as.name;
    if (as.unit != std::string_view(itself.unit))
        return std::string(" in ") + as.unit;
    if (as.kind == VANTORO_INTEGER && itself.kind == VANTORO_REAL)
        return " as a whole number";
    return as.help != std::string_view(itself.help) ? std::string(": ") + as.help : "";
}

// "reads q as slope, boostDb"; what is not listed is not read.
std::string read_by(const VantoroChoice& choice, const std::vector<Changing>& changing)
{
    std::string out;
    const auto readings = readings_of(choice);
    for (const auto& [entry, name, itself, as] : changing) {
        const auto reading = std::ranges::find(readings, static_cast<int>(entry), &VantoroReading::entry);
        if (reading != readings.end() && !reading->as)
            continue;
        out += (out.empty() ? "reads " : ", ") + name;
        if (reading != readings.end())
            out += difference(*itself, *reading->as);
    }
    return out.empty() ? "reads neither" : out;
}

std::string lines_of_choices(const VantoroParam& param, std::size_t indent, const std::vector<Changing>& changing)
{
    std::string out, packed;
    for (const VantoroChoice& choice : choices_of(param)) {
        const std::string name = std::to_string(choice.value) + (changing.empty() ? kNoBreak : ' ') + choice.name;
        if (changing.empty())
            packed += (packed.empty() ? "" : ", ") + name;
        else
            out += flowed(std::string(indent, ' ') + name, kRangeColumn, read_by(choice, changing));
    }
    return packed.empty() ? out : flowed("", indent, packed);
}

// What a choice of the same list makes of the n-th entry.
std::string lines_of_other_meanings(const BlockType& type, const Entries& entries, std::size_t n, std::size_t indent)
{
    std::string out;
    for (const VantoroParam* other : entries)
        if (other)
            for (const Changing& changing : changing_by(*other, type, entries))
                for (const VantoroParam* as : changing.as)
                    if (changing.entry == n && is_renamed(*entries[n], *as))
                        out += line_of(*as, indent, "");
    return out;
}

std::string lines_of(const BlockType& type, const Entries& entries, std::size_t n, std::size_t indent)
{
    const VantoroParam& param = *entries[n];
    return line_of(param, indent, default_text(param)) +
           lines_of_choices(param, indent + 4, changing_by(param, type, entries)) +
           lines_of_other_meanings(type, entries, n, indent + 2);
}

// What stands for a table that is left out: "[[0, -6], [10, 0]]".
std::string default_rows(const VantoroTable& table)
{
    const int columns = table.column_count;
    std::string out;
    for (int i = 0; i < table.initial_rows * columns; ++i) {
        out += i == 0 ? "" : ", ";
        out += (columns > 1 && i % columns == 0 ? "[" : "") + decimal(table.initial[i]);
        out += columns > 1 && i % columns == columns - 1 ? "]" : "";
    }
    return "[" + out + "]";
}

std::string lines_of(const BlockType& type, const VantoroTable& table)
{
    std::string length = length_text(table);
    add(length, table.help);
    std::string out = flowed(std::string("  ") + table.name + "[]", kDefaultColumn, length);
    const Entries columns = entries_of(table);
    for (std::size_t n = 0; n < columns.size(); ++n)
        out += lines_of(type, columns, n, 4);
    if (table.initial)
        out += flowed("    left out", kDefaultColumn, default_rows(table));
    return out;
}

// ---- pins ----

std::string place_of(const VantoroPin& pin)
{
    const std::string side = pin.output != 0 ? "out " : "in ";
    if (pin.every > 1)
        return side + std::to_string(pin.first) + ", " + std::to_string(pin.first + pin.every) + " ...";
    if (pin.first == pin.last)
        return side + (pin.first < 0 ? "last" : std::to_string(pin.first));
    return side + std::to_string(pin.first) + " ... " + (pin.last == -1 ? "last" : "last but one");
}

std::string pin_lines(const BlockType& type)
{
    const PinCounts initial = initial_pins(type);
    const std::string counts = std::to_string(initial.inputs) + " -> " + std::to_string(initial.outputs);
    std::string out = filled("pins", kDefaultColumn) + type.pins->text +
                      (counts == type.pins->text ? "" : ", " + counts + " where left open") + "\n";
    for (const VantoroPin& pin : pins_of(type)) {
        const std::string line = filled(filled("  " + place_of(pin), kDefaultColumn) + pin.name, kRangeColumn);
        out += flowed(line + (pin.control != 0 ? "control" : "signal"), kMeaningColumn, pin.help);
    }
    return out;
}

// ---- running ----

struct TraitText {
    VantoroTrait trait;
    const char* text;
};
constexpr TraitText kTraitTexts[] = {
    {VANTORO_SOURCE, "makes sound without audio inputs"},
    {VANTORO_DENORMALS, "decays through numbers too small to be normal: runs with flush-to-zero"},
    {VANTORO_CONTIGUOUS_PINS, "its data pins stand one block apart in one array"},
    {VANTORO_UNWRITTEN_OUTPUTS, "may leave output samples as they were"},
    {VANTORO_CLEAR_OUTPUTS, "outputs that it does not write are silent"},
    {VANTORO_RANDOM, "draws from rand()"},
    {VANTORO_PARAMS_IN_PLACE, "takes parameters by writing to pParam"},
    {VANTORO_CLIPS, "limits its output to full scale"},
    {VANTORO_LINEAR_MODEL, "linear: its response is computed from its coefficients"},
    {VANTORO_METER, "measures: nothing needs to hear it"},
    {VANTORO_TERMINAL, "a terminal: schematics wire to \"input\" and \"output\" instead"},
};

const char* on_set_text(VantoroOnSet on_set)
{
    switch (on_set) {
    case VANTORO_KEEPS:
        return "new parameters hold at once; the signal goes on";
    case VANTORO_RESTARTS:
        return "new parameters clear its signal";
    case VANTORO_GLIDES:
        break;
    }
    return "glides to new parameters";
}

std::string running_lines(const BlockType& type)
{
    std::vector<std::string> lines;
    if (type.layout_count > 0)
        lines.emplace_back(on_set_text(type.on_set));
    if (type.delay != 0)
        lines.push_back(type.delay < 0 ? "delays by what a parameter or pin says"
                                       : "delays by " + std::to_string(type.delay) + " samples");
    if (type.block_multiple > 1)
        lines.push_back("block sizes: multiples of " + std::to_string(type.block_multiple));
    if (type.max_block < std::numeric_limits<int>::max())
        lines.push_back("block sizes: up to " + std::to_string(type.max_block));
    for (const TraitText& trait : kTraitTexts)
        if (has_trait(type, trait.trait))
            lines.emplace_back(trait.text);
    if (has_quiet(type))
        lines.emplace_back("arithmetic: documented, or quiet (less noise, less time)");
    std::string out;
    for (const std::string& line : lines)
        out += filled(out.empty() ? "running" : "", kDefaultColumn) + line + "\n";
    return out;
}

}  // namespace

std::string sheet(const BlockType& type)
{
    char code[32];
    std::snprintf(code, sizeof code, " (%d, 0x%04X), ", type.type, static_cast<unsigned>(type.type));
    std::string out = std::string(type.name) + code + type.category + "\n" + type.summary + "\n\n" + pin_lines(type) +
                      running_lines(type);
    if (type.layout_count == 0)
        return out + "\nno parameters\n";
    out += "\n" +
           filled(filled(filled("parameters", kDefaultColumn) + "default", kRangeColumn) + "range", kMeaningColumn) +
           "meaning\n";
    const auto layout = layout_of(type);
    for (std::size_t n = 0; n < layout.size(); ++n) {
        if (layout[n].kind == VANTORO_VALUE)
            out += lines_of(type, entries_of(type), n, 2);
        if (layout[n].kind == VANTORO_ROWS)
            out += lines_of(type, *layout[n].table);
    }
    return out;
}

std::string overview()
{
    std::string out, category;
    for (const BlockType* type : every_type()) {
        if (is_terminal(*type))
            continue;
        if (category != type->category)
            out += (out.empty() ? "" : "\n") + (category = type->category) + "\n";
        const std::string line = filled(filled("  " + std::to_string(type->type), 8) + type->name, 40);
        out += flowed(line + type->pins->text, 62, type->summary);
    }
    return out;
}

}  // namespace vantoro
