// SPDX-License-Identifier: Apache-2.0
// Reading the changes of a document, and those of the command line.
#include <algorithm>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

#include "schematic/draft.h"
#include "support/json_fields.h"
#include "support/json_text.h"
#include "support/quantity.h"

namespace vantoro {

namespace {

using nlohmann::json;

// One value that changes.
struct Step {
    double seconds;
    std::string place;  // in the document, or on the command line
    std::string block, path, value;
};

void read_change(const std::string& where, const json& change, Draft& draft, std::vector<Step>& steps)
{
    if (!change.is_object()) {
        draft.fault(where, change, "a change: {\"at\": seconds, \"set\": {\"block.parameter\": value}}");
        return;
    }
    const Fields fields(change, where, draft.problems);
    fields.allow({"at", "set", "note"});
    fields.text("note");
    const json* at = fields.need("at", "seconds from the start, 0 or more");
    const double seconds = at ? number_in(*at, "s") : -1;
    if (at && !good_moment(seconds))
        fields.fault("at", "seconds from the start, 0 or more");
    const json* set = fields.need("set", "values: {\"block.parameter\": value}");
    if (set && !set->is_object())
        fields.fault("set", "values: {\"block.parameter\": value}");
    if (!set || !set->is_object())
        return;
    for (const auto& [target, value] : set->items()) {
        const std::string place = where + "/set" + pointer_step(target);
        const auto dot = target.find('.');
        if (dot == target.npos)
            draft.fault(place, json(target), "a block and its parameter: \"trim.gain\"");
        else
            steps.push_back({seconds, place, target.substr(0, dot), target.substr(dot + 1), value.dump(-1, ' ', true)});
    }
}

// Of an expression its number, if it has one.
std::optional<std::string> value_in(const Setting& setting, Draft& draft)
{
    if (!setting.value.starts_with('='))
        return setting.value;
    json value = setting.value;
    draft.definitions.resolve(value, "--set " + setting.text, draft.unresolved);
    return value.is_number() ? std::optional(value.dump()) : std::nullopt;
}

// Makes the steps one after the other.
class Changes {
public:
    explicit Changes(Draft& draft) : draft_(draft) {}

    void add(const Step& step)
    {
        const auto found = draft_.ids.find(step.block);
        if (found == draft_.ids.end()) {
            draft_.problems.push_back({step.place, step.block, draft_.no_block(step.block)});
            return;
        }
        const int b = found->second;
        if (draft_.nodes[static_cast<std::size_t>(b)].broken || !affordable(step, b))
            return;
        std::vector<Problem> found_here;
        make(step, b, found_here);
        for (const Problem& problem : found_here)
            draft_.problems.push_back(
                {step.place, problem.value, problem.where + ": " + problem.wanted, problem.warning});
    }

private:
    // Bounds what a few characters of JSON can make the program compute and keep.
    bool affordable(const Step& step, int b)
    {
        constexpr std::size_t kMost = 1U << 19U;
        const std::size_t before =
            std::exchange(values_, values_ + draft_.out.blocks[static_cast<std::size_t>(b)].vector.size());
        if (values_ > kMost && before <= kMost)
            draft_.problems.push_back(
                {step.place, std::to_string(values_) + " values to set so far",
                 "at most " + std::to_string(kMost) + " in all changes; each sets every value of its block"});
        return values_ <= kMost;
    }

    void make(const Step& step, int b, std::vector<Problem>& problems)
    {
        Block& block = draft_.out.blocks[static_cast<std::size_t>(b)];
        json& params = draft_.params[static_cast<std::size_t>(b)];  // as the steps so far leave them
        if (!set_value(*block.type, block.pins, params, step.path, step.value, problems, draft_.pace()))
            return;
        std::vector<Problem> known;  // the values that stay
        std::vector<float> vector = build_vector(*block.type, block.pins, params, known);
        if (step.seconds > 0)
            draft_.out.changes.push_back({step.seconds, b, std::move(vector)});
        else
            block.vector = std::move(vector);
    }

    Draft& draft_;
    std::size_t values_ = 0;
};

}  // namespace

void read_changes(const json& changes, Draft& draft)
{
    std::vector<Step> steps;
    for (const Draft::Override& o : draft.overrides)
        steps.push_back({0, o.place, o.block, o.path, o.value.dump(-1, ' ', true)});
    if (!changes.is_array())
        draft.fault("/changes", changes, "an array: [{\"at\": 1.5, \"set\": {\"trim.gain\": 0.5}}]");
    else
        for (std::size_t i = 0; i < changes.size(); ++i)
            read_change("/changes/" + std::to_string(i), changes[i], draft, steps);
    for (const Setting& s : draft.options.settings)
        if (const auto value = value_in(s, draft))
            steps.push_back({s.seconds, "--set " + s.text, s.block, s.path, *value});
    // By time; those of one moment in the order given.
    std::ranges::stable_sort(steps, {}, &Step::seconds);
    Changes made(draft);
    for (const Step& step : steps)
        made.add(step);
}

}  // namespace vantoro
