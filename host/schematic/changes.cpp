// SPDX-License-Identifier: Apache-2.0
// Reading the changes of a document, and those of the command line.
#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

#include "catalog/entries.h"
#include "catalog/layout.h"
#include "schematic/draft.h"
#include "schematic/table_file.h"
#include "support/json_fields.h"
#include "support/json_text.h"
#include "support/quantity.h"

namespace vantoro {

namespace {

using nlohmann::json;

constexpr double kLongestRamp = 3600;  // s

// The way of a value from what it is when its first step is made.
struct Ramp {
    double start, end;
    bool geometric;  // equal ratios, for frequencies and times; else equal differences
    double at(double way) const { return geometric ? start * std::pow(end / start, way) : std::lerp(start, end, way); }
};

// One value that changes.
struct Step {
    double seconds;
    std::string place;  // in the document, or on the command line
    std::string block, path, value;
    // Of a ramp: what its steps share once the first was made, and how far this one goes.
    std::shared_ptr<std::optional<Ramp>> ramp{};
    double way = 1;
    bool first = false;
};

// A step for each block of audio. `last` is the end, at the moment at which the ramp begins.
void add_ramp(Step last, double seconds, Draft& draft, std::vector<Step>& steps)
{
    constexpr double kMost = 1 << 16;  // steps of all ramps
    const double blocks = seconds * draft.rate().value_or(kDefaultRate) / draft.out.block_size;
    if (blocks + static_cast<double>(steps.size()) > kMost)
        return draft.fault(last.place, json(seconds), "ramps over fewer blocks: 65536 in all");
    const int count = std::max(1, static_cast<int>(std::ceil(blocks)));
    const double from = last.seconds;
    last.ramp = std::make_shared<std::optional<Ramp>>();
    last.first = true;
    for (int k = 1; k <= count; ++k, last.first = false) {
        last.way = static_cast<double>(k) / count;
        last.seconds = from + seconds * (k - 1) / count;
        steps.push_back(last);
    }
}

void read_change(const std::string& where, const json& change, Draft& draft, std::vector<Step>& steps)
{
    if (!change.is_object()) {
        draft.fault(where, change, "a change: {\"at\": seconds, \"set\": {\"block.parameter\": value}}");
        return;
    }
    const Fields fields(change, where, draft.problems);
    fields.allow({"at", "over", "set", "note"});
    fields.text("note");
    const json* at = fields.need("at", "seconds from the start, 0 or more");
    const double seconds = at ? number_in(*at, "s") : -1;
    if (at && !good_moment(seconds))
        fields.fault("at", "seconds from the start, 0 or more");
    const json* over = fields.find("over");
    const double way = over ? number_in(*over, "s") : 0;
    if (over && !(way >= 0 && way <= kLongestRamp))
        fields.fault("over", "seconds from 0 to 3600, on the way to the new values");
    const json* set = fields.need("set", "values: {\"block.parameter\": value}");
    if (set && !set->is_object())
        fields.fault("set", "values: {\"block.parameter\": value}");
    if (!set || !set->is_object())
        return;
    for (const auto& [target, value] : set->items()) {
        const std::string place = where + "/set" + pointer_step(target);
        const auto dot = target.find('.');
        if (dot == target.npos) {
            draft.fault(place, json(target), "a block and its parameter: \"trim.gain\"");
            continue;
        }
        Step step{seconds, place, target.substr(0, dot), target.substr(dot + 1), value.dump(-1, ' ', true)};
        if (way > 0 && way <= kLongestRamp)
            add_ramp(std::move(step), way, draft, steps);
        else
            steps.push_back(std::move(step));
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
        if (!step.ramp || step.first)
            make(step, b, found_here);
        else if (*step.ramp)
            make_on_the_way(step, b);
        for (Problem& problem : found_here) {
            problem.wanted.insert(0, problem.where + ": ");
            problem.where = step.place;
            draft_.problems.push_back(std::move(problem));
        }
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

    // A value, or the first step towards it, after the value was tried.
    void make(const Step& step, int b, std::vector<Problem>& problems)
    {
        const Block& block = draft_.out.blocks[static_cast<std::size_t>(b)];
        json& params = draft_.params[static_cast<std::size_t>(b)];  // as the steps so far leave them
        const json before = params;
        const auto value = plain_value(step, *block.type, problems);
        if (!value || !set_value(*block.type, block.pins, params, step.path, *value, problems, draft_.pace()))
            return;
        if (step.ramp && block.type->on_set == VANTORO_RESTARTS)
            problems.push_back(
                {pointer_step(step.path), step.value,
                 std::string("each step of \"over\" clears the signal of ") + block.type->name + ", which clicks",
                 true});
        if (step.way == 1)
            return keep(step, b);
        const auto from = entry_of(block, before, step.path), to = entry_of(block, params, step.path);
        params = before;
        if (!from || !to) {
            problems.push_back(
                {pointer_step(step.path), step.value, "one number, or no \"over\": nothing else has a way"});
            return;
        }
        const bool geometric =
            to->meaning.as && to->meaning.as->scale == VANTORO_LOGARITHMIC && from->value > 0 && to->value > 0;
        *step.ramp = Ramp{static_cast<double>(from->value), static_cast<double>(to->value), geometric};
        make_on_the_way(step, b);
    }

    // Numbers in place of the file that a step may name; none after a problem.
    std::optional<std::string> plain_value(const Step& step, const BlockType& type, std::vector<Problem>& problems)
    {
        const VantoroTable* table = table_of(type, step.path);
        const json written = table && step.value.starts_with('{') ? parse_value(step.value) : json();
        if (!written.is_object())
            return step.value;
        const auto rows = read_table_file(*table, written, draft_, problems);
        return rows ? std::optional(rows->dump()) : std::nullopt;
    }

    void make_on_the_way(const Step& step, int b)
    {
        const Block& block = draft_.out.blocks[static_cast<std::size_t>(b)];
        const std::string value = step.way == 1 ? step.value : json((**step.ramp).at(step.way)).dump();
        std::vector<Problem> known;  // those of the end
        if (set_value(*block.type, block.pins, draft_.params[static_cast<std::size_t>(b)], step.path, value, known))
            keep(step, b);
    }

    // A number of a vector that `params` make; none: the path is no number.
    static std::optional<VectorEntry> entry_of(const Block& block, const json& params, const std::string& path)
    {
        std::vector<Problem> known;
        for (VectorEntry& entry :
             entries_of(*block.type, block.pins, build_vector(*block.type, block.pins, params, known)))
            if (entry.name == path && entry.param &&
                (entry.param->kind == VANTORO_REAL || entry.param->kind == VANTORO_INTEGER))
                return std::move(entry);
        return {};
    }

    void keep(const Step& step, int b)
    {
        Block& block = draft_.out.blocks[static_cast<std::size_t>(b)];
        const json& params = draft_.params[static_cast<std::size_t>(b)];
        std::vector<Problem> known;  // the values that stay
        std::vector<float> vector = build_vector(*block.type, block.pins, params, known);
        if (step.seconds > 0)
            draft_.out.changes.push_back({step.seconds, b, std::move(vector), step.place});
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
