// SPDX-License-Identifier: Apache-2.0
#include "catalog/words.h"

#include <cmath>
#include <limits>

#include <nlohmann/json.hpp>

#include "catalog/layout.h"
#include "support/decimal.h"

namespace vantoro {

nlohmann::ordered_json number_json(float v)
{
    constexpr float kExact = 1U << 24U;  // floats up to here hold every whole number
    if (v == std::trunc(v) && std::abs(v) <= kExact && (v != 0 || !std::signbit(v)))
        return static_cast<long>(v);
    return short_decimal(v);
}

nlohmann::ordered_json tidy(const nlohmann::ordered_json& value)
{
    if (value.is_number_float())
        return std::abs(value.get<double>()) <= static_cast<double>(std::numeric_limits<float>::max())
                   ? number_json(value.get<float>())
                   : value;
    nlohmann::ordered_json out = value;
    if (value.is_structured())
        for (nlohmann::ordered_json& part : out)
            part = tidy(part);
    return out;
}

std::string joined(const std::vector<std::string_view>& names)
{
    std::string out;
    for (std::string_view name : names)
        out.append(out.empty() ? "" : ", ").append(name);
    return out;
}

std::string limits_text(VantoroRange range)
{
    const bool low = std::isfinite(range.min), high = std::isfinite(range.max);
    const bool positive = range.min == std::numeric_limits<float>::min();  // the smallest number above 0
    if (low && high && !positive)
        return decimal(range.min) + " to " + decimal(range.max);
    if (!low)
        return high ? "up to " + decimal(range.max) : "any";
    return (positive ? "above 0" : "from " + decimal(range.min)) + (high ? ", up to " + decimal(range.max) : "");
}

std::string range_text(const VantoroParam& param)
{
    if (param.kind == VANTORO_FLAG)
        return "0 or 1";
    std::vector<std::string_view> names;
    for (const VantoroChoice& choice : choices_of(param))
        names.emplace_back(choice.name);
    if (!names.empty())
        return "one of " + joined(names);
    const bool whole = param.kind == VANTORO_INTEGER;
    const VantoroRange range = {std::max(param.clamp.min, param.valid.min), std::min(param.clamp.max, param.valid.max)};
    const std::string noun = whole ? "whole number" : "number", limits = limits_text(range);
    const bool both = std::isfinite(range.min) && std::isfinite(range.max);
    return limits == "any" ? "any " + noun : "a " + noun + (both ? " from " : " ") + limits;
}

std::string length_text(const VantoroTable& table)
{
    if (table.per != VANTORO_PER_NOTHING)
        return "one per " + std::string(per_text(table.per));
    if (table.rows_entry >= 0)
        return "rows times columns";
    return std::to_string(table.min_rows) + " to " + std::to_string(table.max_rows) + " rows";
}

std::string default_text(const VantoroParam& param)
{
    const VantoroChoice* choice = choice_of(param, param.initial);
    return choice ? choice->name : decimal(param.initial);
}

std::string_view per_text(VantoroPer per)
{
    switch (per) {
    case VANTORO_PER_NOTHING:
        return "";
    case VANTORO_PER_INPUT:
        return "input";
    case VANTORO_PER_OUTPUT:
        return "output";
    case VANTORO_PER_INPUT_PAIR:
        return "pair of inputs";
    case VANTORO_PER_CROSSPOINT:
        return "input and output";
    case VANTORO_PER_GROUP:
        return "group";
    }
    return "";
}

}  // namespace vantoro
