// SPDX-License-Identifier: Apache-2.0
// Looking up types and completing pins.
#include "catalog/catalog.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <utility>

#include "catalog/categories.h"

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

// Whether a word stands in what is told of a type: its summary, its parameters, their choices.
bool speaks_of(const BlockType& type, std::string_view word)
{
    constexpr std::size_t kShortest = 3;
    const auto has = [&](std::string_view text) { return lower(text).find(word) != std::string::npos; };
    const auto told = [&](const Param& param) {
        return has(param.name) || std::ranges::any_of(param.choices, has, &Choice::name);
    };
    return word.size() >= kShortest &&
           (has(type.summary) || std::ranges::any_of(type.layout, [&](const Slot& slot) {
                return told(slot.param) ||
                       (slot.table && (has(slot.table->name) || std::ranges::any_of(slot.table->columns, told)));
            }));
}

std::optional<int> as_code(std::string_view text)
{
    const bool hex = text.starts_with("0x") || text.starts_with("0X");
    const std::string_view digits = text.substr(hex ? 2 : 0);
    int code = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), code, hex ? 16 : 10);
    if (error != std::errc{} || end != digits.data() + digits.size())
        return std::nullopt;
    return code;
}

}  // namespace

std::span<const Category> categories()
{
    using namespace rows;
    static const std::array all{kLoudnessTypes,  kBasic,           kDynamics,  kFilters, kDetectors,
                                kMixers,         kSwitching,       kNonlinear, kSources, kVolumeTypes,
                                kInputTerminals, kOutputTerminals, kRooms};
    return all;
}

const BlockType* find_type(int code)
{
    for (const Category& category : categories())
        for (const BlockType& type : category.types)
            if (type.code == code)
                return &type;
    return nullptr;
}

const BlockType* find_type(std::string_view name_or_code)
{
    if (const auto code = as_code(name_or_code))
        return find_type(*code);
    const std::string wanted = key(name_or_code);
    for (const Category& category : categories())
        for (const BlockType& type : category.types)
            if (key(type.name) == wanted)
                return &type;
    return nullptr;
}

std::vector<std::string> nearest_types(std::string_view name)
{
    std::vector<std::string_view> names;
    for (const Category& category : categories())
        for (const BlockType& type : category.types)
            names.push_back(type.name);
    const std::string wanted = key(name);
    // A word of a name goes before descriptions, what is only spelt alike after them.
    std::vector<std::string_view> near;
    std::ptrdiff_t words = 0;
    for (const Match& match : matches(wanted, names)) {
        near.push_back(match.name);
        words += match.distance <= 1 ? 1 : 0;
    }
    auto place = near.begin() + words;
    for (const Category& category : categories())
        for (const BlockType& type : category.types)
            if (speaks_of(type, wanted) && std::ranges::find(near, type.name) == near.end())
                place = near.insert(place, type.name) + 1;
    return {near.begin(), near.begin() + std::min<std::ptrdiff_t>(std::ssize(near), 3)};
}

Delivery delivery_of(const BlockType& type)
{
    if (type.layout.empty())
        return Delivery::none;
    return type.in_place ? Delivery::in_place : Delivery::vector;
}

std::optional<Pins> complete_pins(const BlockType& type, std::optional<int> inputs, std::optional<int> outputs)
{
    const PinRule& rule = type.pins;
    const auto fitting = [&](Pins pins) { return rule.fits(pins) ? std::optional{pins} : std::nullopt; };
    if (!inputs && !outputs)
        return rule.usual;
    if (inputs && outputs)
        return fitting({*inputs, *outputs});
    const auto with = [&](int open) { return inputs ? Pins{*inputs, open} : Pins{open, *outputs}; };
    if (const auto pins = fitting(with(inputs ? rule.usual.outputs : rule.usual.inputs)))
        return pins;
    // No rule asks for more than four times the pins of the other side.
    for (int open = 0; open <= 4 * (inputs ? *inputs : *outputs) + 4; ++open)
        if (const auto pins = fitting(with(open)))
            return pins;
    return std::nullopt;
}

const PinNote* note_of(const BlockType& type, PinNote::Side side, int pin, Pins pins)
{
    const int count = side == PinNote::Side::input ? pins.inputs : pins.outputs;
    const auto from_end = [&](int n) { return n < 0 ? count + n : n; };
    for (const PinNote& note : type.notes) {
        const int first = from_end(note.first);
        if (note.side == side && pin >= first && pin <= from_end(note.last) && (pin - first) % note.every == 0)
            return &note;
    }
    return nullptr;
}

int apply_vector(const BlockType& type, BlockAlgo& block, std::span<const float> vector)
{
    switch (delivery_of(type)) {
    case Delivery::none:
        return 0;
    case Delivery::in_place:
        std::ranges::copy(vector, block.pParam);
        return 0;
    case Delivery::vector:
        break;
    }
    std::vector<float> own(vector.begin(), vector.end());
    const int result = BlockAlgo_param_reset(&block, own.data());
    return result < 0 ? result : std::min(BlockAlgo_param_update(&block), 0);
}

}  // namespace vantoro
