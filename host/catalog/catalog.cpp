// SPDX-License-Identifier: Apache-2.0
// Finding types, completing pins, handing over vectors.
#include "catalog/catalog.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include "catalog/layout.h"
#include "support/decimal.h"
#include "support/nearest.h"
#include "vantoro_graph.h"

namespace vantoro {
namespace {

std::string lower(std::string_view text)
{
    std::string out(text);
    std::ranges::transform(out, out.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return out;
}

// A name as types are compared: lower case, without EN_.
std::string key(std::string_view name)
{
    std::string out = lower(name);
    return out.starts_with("en_") ? out.substr(3) : out;
}

// Whether a word stands in a type's summary, its parameters or their choices.
bool mentions(const BlockType& type, std::string_view word)
{
    constexpr std::size_t kShortest = 3;
    const auto has = [&](std::string_view text) { return lower(text).find(word) != std::string::npos; };
    const auto param_has = [&](const VantoroParam& param) {
        return has(param.name) || std::ranges::any_of(choices_of(param), has, &VantoroChoice::name);
    };
    return word.size() >= kShortest &&
           (has(type.summary) || std::ranges::any_of(layout_of(type), [&](const VantoroSlot& slot) {
                return slot.param ? param_has(*slot.param)
                                  : has(slot.table->name) || std::ranges::any_of(columns_of(*slot.table), param_has);
            }));
}

std::optional<int> as_code(std::string_view text)
{
    const bool hex = text.starts_with("0x") || text.starts_with("0X");
    return number_of<int>(text.substr(hex ? 2 : 0), hex ? 16 : 10);
}

}  // namespace

std::span<const BlockType* const> every_type()
{
    static const std::vector<const BlockType*> all = [] {
        std::vector<const BlockType*> types;
        for (int i = 0; const BlockType* type = Vantoro_block_info_at(i); ++i)
            types.push_back(type);
        return types;
    }();
    return all;
}

bool has_quiet(const BlockType& type) { return Vantoro_graph_quiet(type.type) != 0; }

const BlockType* find_type(int code) { return Vantoro_block_info(code); }

const BlockType* find_type(std::string_view name_or_code)
{
    if (const auto code = as_code(name_or_code))
        return find_type(*code);
    const std::string wanted = key(name_or_code);
    for (const BlockType* type : every_type())
        if (key(type->name) == wanted)
            return type;
    return nullptr;
}

std::vector<std::string> nearest_types(std::string_view name)
{
    std::vector<std::string_view> names;
    for (const BlockType* type : every_type())
        if (!is_terminal(*type))
            names.emplace_back(type->name);
    const std::string wanted = key(name);
    // A word of a name goes before descriptions, what is only spelt alike after them.
    std::vector<std::string_view> near;
    std::ptrdiff_t words = 0;
    for (const Match& match : matches(wanted, names)) {
        near.push_back(match.name);
        words += match.distance <= 1 ? 1 : 0;
    }
    auto place = near.begin() + words;
    for (const BlockType* type : every_type())
        if (!is_terminal(*type) && mentions(*type, wanted) && std::ranges::find(near, type->name) == near.end())
            place = near.insert(place, type->name) + 1;
    return {near.begin(), near.begin() + std::min<std::ptrdiff_t>(std::ssize(near), 3)};
}

std::optional<PinCounts> complete_pins(const BlockType& type, std::optional<int> inputs, std::optional<int> outputs)
{
    const auto fitting = [&](PinCounts pins) { return pins_fit(type, pins) ? std::optional{pins} : std::nullopt; };
    const PinCounts initial = initial_pins(type);
    if (!inputs && !outputs)
        return initial;
    if (inputs && outputs)
        return fitting({*inputs, *outputs});
    const auto with = [&](int open) { return inputs ? PinCounts{*inputs, open} : PinCounts{open, *outputs}; };
    if (const auto pins = fitting(with(inputs ? initial.outputs : initial.inputs)))
        return pins;
    // No rule asks for more than four times the pins of the other side.
    for (int open = 0; open <= 4 * (inputs ? *inputs : *outputs) + 4; ++open)
        if (const auto pins = fitting(with(open)))
            return pins;
    return std::nullopt;
}

const VantoroPin* note_of(const BlockType& type, PinSide side, int pin, PinCounts pins)
{
    const bool output = side == PinSide::output;
    const auto from_end = [&](int n) { return n < 0 ? (output ? pins.outputs : pins.inputs) + n : n; };
    for (const VantoroPin& note : pins_of(type)) {
        const int first = from_end(note.first);
        if ((note.output != 0) == output && pin >= first && pin <= from_end(note.last) &&
            (pin - first) % note.every == 0)
            return &note;
    }
    return nullptr;
}

bool is_control(const BlockType& type, int input, PinCounts pins)
{
    const VantoroPin* note = note_of(type, PinSide::input, input, pins);
    return note && note->control != 0;
}

}  // namespace vantoro
