// SPDX-License-Identifier: Apache-2.0
// One value changed by its path.
#include <algorithm>
#include <cmath>
#include <utility>

#include <nlohmann/json.hpp>

#include "catalog/catalog.h"
#include "catalog/path.h"
#include "catalog/words.h"
#include "support/decimal.h"
#include "support/json_text.h"
#include "support/nearest.h"

namespace vantoro {
namespace {

using nlohmann::json;
using Problems = std::vector<Problem>;

// Whether a place is another one, or lies below it.
bool is_in(std::string_view place, std::string_view other)
{
    return place.starts_with(other) && (place.size() == other.size() || place[other.size()] == '/');
}

// What is right where `step` leads nowhere from `node`.
std::string wanted_at(const json& node, const std::string& step)
{
    if (node.is_array())
        return node.empty() ? "nothing: it is empty" : "an index from 0 to " + std::to_string(node.size() - 1);
    if (!node.is_object())
        return "nothing: the value has no parts";
    std::vector<std::string_view> names;
    for (const auto& [name, value] : node.items())
        names.push_back(name);
    const std::string near = nearest(step, names);
    return near.empty() ? "one of " + joined(names) : "unknown" + did_you_mean(near);
}

const json* step_to(const json& node, const std::string& step)
{
    if (node.is_object())
        return node.contains(step) ? &node.at(step) : nullptr;
    const auto index = number_of<std::size_t>(step);
    return node.is_array() && index && *index < node.size() ? &node.at(*index) : nullptr;
}

}  // namespace

json value_of(std::string_view text)
{
    if (const auto number = number_of<double>(text); number && std::isfinite(*number))
        return *number;
    json value = parse_value(text);
    return value.is_discarded() ? json(text) : value;
}

std::vector<std::string> steps_of(std::string_view path)
{
    std::vector<std::string> steps(1);
    for (char c : path) {
        if (c == '[' || c == '.')
            steps.emplace_back();
        else if (c != ']')
            steps.back() += c;
    }
    return steps;
}

const json* find_value(const json& root, std::string_view path, std::string_view text, std::string& where,
                       Problems& problems)
{
    const json* node = &root;
    where.clear();
    for (const std::string& step : steps_of(path)) {
        where += pointer_step(step);
        const json* next = step_to(*node, step);
        if (!next) {
            problems.push_back({where, std::string(text), wanted_at(*node, step)});
            return nullptr;
        }
        node = next;
    }
    return node;
}

bool set_value(const BlockType& type, PinCounts pins, json& params, std::string_view path, std::string_view text,
               Problems& problems, std::optional<Pace> pace)
{
    const std::string name = steps_of(path).front();
    json next = params.is_null() ? json::object() : params;
    std::string where = pointer_step(name);
    if (name == path) {
        next[name] = value_of(text);
    } else {
        // An element: the table is written out first, as it stands or by its defaults.
        Problems known;
        json all = named_values(type, pins, build_vector(type, pins, params, known));
        const json* element = find_value(all, path, text, where, problems);
        if (!element)
            return false;
        *const_cast<json*>(element) = value_of(text);  // of `all`
        next[name] = all[name];
    }
    Problems before, found;
    const std::vector<float> vector = build_vector(type, pins, next, found);
    const bool good = std::ranges::all_of(found, &Problem::warning);
    const auto own = std::ssize(found);
    if (good && pace) {
        check_vector(type, pins, build_vector(type, pins, params, before), *pace, before);
        check_vector(type, pins, vector, *pace, found);
    }
    // What the value does to another one is said where that was fine before.
    const auto is_new = [&](const Problem& problem) {
        return &problem - found.data() >= own &&
               std::ranges::find(before, problem.where, &Problem::where) == before.end();
    };
    for (Problem& problem : found)
        if (!problem.warning || is_in(problem.where, where) || is_new(problem))
            problems.push_back(std::move(problem));
    if (good)
        params = std::move(next);
    return good;
}

}  // namespace vantoro
