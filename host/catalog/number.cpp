// SPDX-License-Identifier: Apache-2.0
#include "catalog/number.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <limits>
#include <utility>

#include "catalog/words.h"
#include "support/decimal.h"
#include "support/json_text.h"
#include "support/nearest.h"
#include "support/quantity.h"

namespace vantoro {

namespace {

using nlohmann::json;
using Problems = std::vector<Problem>;

bool same_name(std::string_view a, std::string_view b)
{
    return std::ranges::equal(a, b,
                              [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

bool within(VantoroRange range, float v) { return v >= range.min && v <= range.max; }

std::optional<float> read_choice(const VantoroParam& param, const json& value, const std::string& where,
                                 Problems& problems)
{
    std::vector<std::string_view> names;
    for (const VantoroChoice& choice : choices_of(param)) {
        if (value.is_string() ? same_name(value.get_ref<const std::string&>(), choice.name) : value == choice.value)
            return static_cast<float>(choice.value);
        names.emplace_back(choice.name);
    }
    const std::string near = value.is_string() ? nearest(value.get<std::string>(), names) : std::string{};
    problems.push_back({where, as_text(value), range_text(param) + did_you_mean(near)});
    return {};
}

// What a number of another kind or size should have been; empty: it is right.
std::string wanted_instead(const VantoroParam& param, PinCounts pins, double v)
{
    const bool whole = param.kind != VANTORO_REAL;
    const int below = Vantoro_count_per(param.below, pins.inputs, pins.outputs);
    if (below > 0)
        return v == std::floor(v) && v >= 0 && v < below ? "" : "a whole number from 0 to " + std::to_string(below - 1);
    if (std::isfinite(v) && !std::isfinite(static_cast<float>(v)))
        return "a number of single precision, to 3.4e38";
    if (param.kind == VANTORO_FLAG)
        return v == 0 || v == 1 ? "" : range_text(param);
    const bool right =
        std::isfinite(v) && (!whole || (v == std::floor(v) && within(param.valid, static_cast<float>(v))));
    return right ? "" : range_text(param);
}

// "slope 0.01 to 2 for Gen_LS"
std::string range_of(const Meaning& meaning, const std::string& limits)
{
    return meaning.as->name + (' ' + limits) + (meaning.by ? " for " + std::string(meaning.by->name) : "");
}

bool flagged(const Meaning& meaning, VantoroParamFlag flag)
{
    return meaning.as && (meaning.as->flags & unsigned{flag}) != 0;
}

}  // namespace

std::optional<float> read_number(const VantoroParam& param, const Meaning& meaning, PinCounts pins, const json& value,
                                 const std::string& where, Problems& problems)
{
    if (param.kind == VANTORO_CHOICE)
        return read_choice(param, value, where, problems);
    if (param.kind == VANTORO_FLAG && value.is_boolean())
        return value.get<bool>() ? 1.0F : 0.0F;
    const std::string_view unit = meaning.as ? meaning.as->unit : param.unit;
    const double v = number_in(value, unit);
    std::string wanted = wanted_instead(param, pins, v);
    if (wanted.empty())
        return static_cast<float>(v);
    if (value.is_string() && std::isnan(v))
        wanted += unit.empty() ? ", without a unit" : ", in " + units_like(unit);
    problems.push_back({where, as_text(value), std::move(wanted)});
    return {};
}

std::string surprise(const VantoroParam& param, const Meaning& meaning, float v, const BlockType& type)
{
    if ((param.flags & unsigned{VANTORO_UNUSED}) != 0)
        return std::string("is never read by ") + type.name;
    if (!meaning.as)
        return std::string("is not read by ") + meaning.by->name;
    if (const VantoroRange clamp = meaning.as->clamp; !within(clamp, v))
        return "is limited to " + decimal(std::clamp(v, clamp.min, clamp.max)) + ": " +
               range_of(meaning, limits_text(clamp));
    if (!within(meaning.as->valid, v))
        return "is out of range: " + range_of(meaning, limits_text(meaning.as->valid));
    if (meaning.as->kind == VANTORO_INTEGER && v != std::trunc(v))
        return "is truncated to " + decimal(std::trunc(v)) +
               (meaning.by ? std::string(": whole numbers for ") + meaning.by->name : "");
    return {};
}

std::string at_this_pace(const Meaning& meaning, float value, Pace pace)
{
    const float half = static_cast<float>(pace.rate) / 2;
    if (flagged(meaning, VANTORO_BELOW_HALF_RATE) && value >= half)
        return "is out of range: " + range_of(meaning, "below " + decimal(half)) + ", half the sampling rate";
    // A block's step of x / 10 decades keeps 2 - 10^(x / 10) of the old value: -1 at 10 log10(3) dB.
    const double most = 4.7712 * pace.rate / std::max(pace.block_size, 1);
    if (flagged(meaning, VANTORO_BELOW_BLOCK_RATE) && pace.block_size > 0 && static_cast<double>(value) > most)
        return "makes the level grow without end: in blocks of " + std::to_string(pace.block_size) + ' ' +
               range_of(meaning, "up to " + std::to_string(static_cast<long>(most)));
    constexpr double kSlight = 0.005;
    const double samples = static_cast<double>(value) * pace.rate / 1000;
    if (flagged(meaning, VANTORO_WHOLE_SAMPLES) && samples - std::floor(samples) > kSlight * samples)
        return "is truncated to whole samples: " + decimal(static_cast<float>(std::floor(samples))) + " at " +
               std::to_string(pace.rate) + " Hz, " +
               decimal(static_cast<float>(1000 * std::floor(samples) / pace.rate)) + ' ' + meaning.as->unit;
    return {};
}

std::string beside_others(const Meaning& meaning, const Entries& entries, std::span<const float> values, std::size_t n,
                          std::span<const float> before)
{
    if (n > 0 && flagged(meaning, VANTORO_AT_MOST_BEFORE) && values[n] > values[n - 1])
        return "is limited to " + decimal(values[n - 1]) + ", which is " + entries[n - 1]->name;
    if (!before.empty() && flagged(meaning, VANTORO_ASCENDING) && values[n] < before[n])
        return "is below " + decimal(before[n]) + " in the row before; " + meaning.as->name + " ascends";
    return {};
}

}  // namespace vantoro
