// SPDX-License-Identifier: Apache-2.0
#include "support/quantity.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <limits>
#include <vector>

#include <nlohmann/json.hpp>

namespace vantoro {

namespace {

// One `written` is `times` / `per` of `unit`: both whole, so that 5 us are 0.005 ms to the last bit.
struct Scale {
    std::string_view written, unit;
    double times, per;
};
constexpr Scale kScales[] = {
    {"kHz", "Hz", 1e3, 1}, {"s", "ms", 1e3, 1},         {"us", "ms", 1, 1e3},        {"ms", "s", 1, 1e3},
    {"us", "s", 1, 1e6},   {"octave", "octaves", 1, 1}, {"sample", "samples", 1, 1},
};

std::vector<Scale> scales_of(std::string_view unit)
{
    std::vector<Scale> scales;
    if (!unit.empty())
        scales.push_back({unit, unit, 1, 1});
    std::ranges::copy_if(kScales, std::back_inserter(scales), [&](const Scale& s) { return s.unit == unit; });
    return scales;
}

bool same_word(std::string_view a, std::string_view b)
{
    return std::ranges::equal(a, b,
                              [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

}  // namespace

std::optional<double> in_unit(std::string_view text, std::string_view unit)
{
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || !std::isfinite(number))
        return {};
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    for (const Scale& scale : scales_of(unit))
        if (same_word(text, scale.written))
            return number * scale.times / scale.per;
    return {};
}

double number_in(const nlohmann::json& value, std::string_view unit)
{
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    if (value.is_string())
        return in_unit(value.get_ref<const std::string&>(), unit).value_or(kNone);
    return value.is_number() ? value.get<double>() : kNone;
}

std::string units_like(std::string_view unit)
{
    const std::vector<Scale> scales = scales_of(unit);
    std::string text;
    for (const Scale& scale : scales)
        text += (text.empty() ? "" : &scale == &scales.back() ? " or " : ", ") + std::string(scale.written);
    return text;
}

std::string quantity_pattern(std::string_view unit)
{
    std::string words;
    for (const Scale& scale : scales_of(unit))
        words += (words.empty() ? "" : "|") + std::string(scale.written);
    return "^-?[0-9.]+([eE][-+]?[0-9]+)? *(" + words + ")$";
}

}  // namespace vantoro
