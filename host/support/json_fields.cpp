// SPDX-License-Identifier: Apache-2.0
#include "support/json_fields.h"

#include <algorithm>
#include <cmath>

#include "support/json_text.h"
#include "support/nearest.h"
#include "support/quantity.h"

namespace vantoro {

using nlohmann::json;

void Fields::allow(std::initializer_list<std::string_view> names) const
{
    for (const auto& [key, value] : object_.items()) {
        if (std::ranges::find(names, key) != names.end())
            continue;
        const std::string near = nearest(key, std::vector(names));
        problems_.push_back({where_ + pointer_step(key), as_text(key), "unknown key" + did_you_mean(near, "\"")});
    }
}

const json* Fields::find(const char* name) const
{
    const auto member = object_.find(name);
    return member == object_.end() ? nullptr : &*member;
}

const json* Fields::need(const char* name, std::string wanted) const
{
    const json* member = find(name);
    if (!member)
        problems_.push_back({where_ + pointer_step(name), {}, "missing; " + std::move(wanted)});
    return member;
}

std::optional<int> Fields::whole(const char* name, int min, int max, std::string_view unit) const
{
    const json* member = find(name);
    if (!member)
        return {};
    const double number = number_in(*member, unit);
    if (number >= min && number <= max && number == std::floor(number))
        return static_cast<int>(number);
    fault(name, "a whole number from " + std::to_string(min) + " to " + std::to_string(max));
    return {};
}

std::string Fields::text(const char* name) const
{
    const json* member = find(name);
    if (member && member->is_string())
        return member->get<std::string>();
    if (member)
        fault(name, "a string");
    return {};
}

void Fields::fault(const char* name, std::string wanted) const
{
    problems_.push_back({where_ + pointer_step(name), as_text(object_.at(name)), std::move(wanted)});
}

}  // namespace vantoro
