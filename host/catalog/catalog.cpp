// SPDX-License-Identifier: Apache-2.0
// Looking up types and completing pins.
#include "catalog/catalog.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <numeric>
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

// Letters to insert, drop, replace, or exchange with their neighbour: F. Damerau, "A Technique for Computer Detection
// and Correction of Spelling Errors".
std::size_t edit_distance(std::string_view a, std::string_view b)
{
    std::vector<std::vector<std::size_t>> d(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
    std::iota(d[0].begin(), d[0].end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        d[i][0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            d[i][j] = std::min({d[i - 1][j - 1] + (a[i - 1] != b[j - 1]), d[i - 1][j] + 1, d[i][j - 1] + 1});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
        }
    }
    return d.back().back();
}

// How far `wanted` is from a name: from the whole, or, one step more, from words of it ("gain" in basic_gain) or from a
// name that it begins.
std::size_t distance(std::string_view wanted, std::string_view name)
{
    std::size_t best = edit_distance(wanted, name);
    for (std::size_t from = 0; from < name.size(); ++from)
        for (std::size_t to = from + 1; to <= name.size() && (from == 0 || name[from - 1] == '_'); ++to)
            if (to == name.size() || name[to] == '_')
                best = std::min(best, edit_distance(wanted, name.substr(from, to - from)) + 1);
    return name.starts_with(wanted) || wanted.starts_with(name) ? std::min<std::size_t>(best, 1) : best;
}

// The candidates that come near `word`, nearest first: no more than a third mistyped, and about as near as the nearest.
std::vector<std::string_view> matches(std::string_view word, std::span<const std::string_view> candidates)
{
    const std::string wanted = key(word);
    std::vector<std::pair<std::size_t, std::string_view>> near;
    for (std::string_view candidate : candidates)
        if (const std::size_t d = distance(wanted, key(candidate)); !wanted.empty() && d <= 1 + wanted.size() / 3)
            near.emplace_back(d, candidate);
    std::ranges::stable_sort(near, {}, &decltype(near)::value_type::first);
    std::vector<std::string_view> out;
    for (const auto& [d, candidate] : near)
        if (d <= near.front().first + 1)
            out.push_back(candidate);
    return out;
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
    std::vector<std::string_view> near = matches(name, names);
    // A word of a name goes before descriptions, what is only spelt alike behind them.
    auto place = near.begin();
    while (place != near.end() && distance(wanted, key(*place)) <= 1)
        ++place;
    for (const Category& category : categories())
        for (const BlockType& type : category.types)
            if (speaks_of(type, wanted) && std::ranges::find(near, type.name) == near.end())
                place = near.insert(place, type.name) + 1;
    return {near.begin(), near.begin() + std::min<std::ptrdiff_t>(std::ssize(near), 3)};
}

std::string nearest(std::string_view word, std::span<const std::string_view> candidates)
{
    const std::vector<std::string_view> near = matches(word, candidates);
    return near.empty() ? std::string{} : std::string{near.front()};
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
