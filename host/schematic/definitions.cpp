// SPDX-License-Identifier: Apache-2.0
#include "schematic/definitions.h"

#include <utility>

#include "support/json_text.h"
#include "support/json_walk.h"

namespace vantoro {

namespace {

using nlohmann::json;

constexpr int kMostSteps = 32;  // from a definition to those that it is made of

// What a value says that needs nothing else to be reported: its cause is.
const std::string kReported = "reported";

}  // namespace

bool is_expression(const json& value)
{
    return value.is_string() && value.get_ref<const std::string&>().starts_with('=');
}

Definitions::Definitions(const json& define, std::optional<int> rate, std::vector<Problem>& problems,
                         std::shared_ptr<Suggestions> suggestions, bool texts)
    : rate_(rate), texts_(texts), suggests_(problems.size() < kMostShown), suggestions_(std::move(suggestions))
{
    for (const auto& [name, value] : define.items())
        names_.emplace(name, Definition{value});
    for (auto& [name, definition] : names_)
        settle(name, definition);
    problems.insert(problems.end(), wrong_.begin(), wrong_.end());
}

void Definitions::settle(const std::string& name, Definition& definition)
{
    if (definition.state != State::fresh)
        return;
    definition.plain = texts_ && good_name(name) && !is_expression(definition.written) &&
                       (definition.written.is_string() || definition.written.is_boolean());
    if (definition.plain) {
        definition.state = State::done;
        return;
    }
    definition.state = State::under_way;
    ++depth_;
    const Evaluated result = evaluated(name, definition.written);
    --depth_;
    definition.value = result.value;
    definition.state = result.good() ? State::done : State::wrong;
    if (!result.good() && result.wanted != kReported)
        wrong_.push_back({"/define" + pointer_step(name), as_text(definition.written), result.wanted});
}

Evaluated Definitions::evaluated(const std::string& name, const json& written)
{
    if (!good_name(name))
        return {0, "a name of letters, digits and _, not starting with a digit"};
    if (written.is_number())
        return {written.get<double>()};
    return is_expression(written) ? evaluated(written.get<std::string>())
                                  : Evaluated{0, "a number, or an expression: \"=corner * 2\""};
}

std::string Definitions::nearest_to(std::string_view name)
{
    const auto known = [this] {
        std::vector<std::string_view> names;
        for (const auto& [other, definition] : names_)
            names.push_back(other);
        return names;
    };
    return suggests_ && suggestions_ ? suggestions_->nearest_to(name, known) : std::string{};
}

Evaluated Definitions::value_of(std::string_view name)
{
    const auto found = names_.find(name);
    if (found == names_.end()) {
        const std::string near = nearest_to(name);
        return {0, "a name that \"define\" has, not \"" + std::string(name) + '"' + did_you_mean(near, "\"")};
    }
    Definition& definition = found->second;
    definition.used = true;
    if (definition.state == State::under_way)
        return {0, "no cycle: \"" + found->first + "\" is made of itself"};
    if (definition.state == State::fresh && depth_ >= kMostSteps)
        return {0, "at most " + std::to_string(kMostSteps) + " definitions made of one another"};
    settle(found->first, definition);
    if (definition.plain)
        return {0, '"' + found->first + "\" alone, as it is no number: " + as_text(definition.written)};
    return {definition.value, definition.state == State::wrong ? kReported : ""};
}

Evaluated Definitions::evaluated(const std::string& text)
{
    return evaluate(
        std::string_view(text).substr(1), [this](std::string_view name) { return value_of(name); }, rate_);
}

// What an expression stands for that is no more than the name of a text or a flag; else null.
const json* Definitions::plain_value(const std::string& text)
{
    const auto begin = text.find_first_not_of(" \t", 1), end = text.find_last_not_of(" \t");
    const auto found =
        begin == text.npos ? names_.end() : names_.find(std::string_view(text).substr(begin, end + 1 - begin));
    if (found == names_.end() || !found->second.plain)
        return nullptr;
    found->second.used = true;
    return &found->second.written;
}

void Definitions::resolve(json& value, const std::string& where, std::vector<Problem>& problems)
{
    if (value.is_structured()) {
        for (auto& [key, part] : value.items())
            if (part.is_structured() || is_expression(part))
                resolve(part, where + pointer_step(key), problems);
    } else if (is_expression(value)) {
        const std::string text = value.get<std::string>();
        if (const json* plain = plain_value(text)) {
            expressions_[where] = {as_text(value), true};
            value = *plain;
            return;
        }
        suggests_ = problems.size() < kMostShown;
        const Evaluated result = evaluated(text);
        expressions_[where] = {as_text(value), result.good()};
        if (result.good())
            value = result.value;
        else if (result.wanted != kReported)
            problems.push_back({where, as_text(value), result.wanted});
    }
}

void Definitions::adopt(Definitions&& other) { expressions_.merge(std::move(other.expressions_)); }

void Definitions::explain(std::vector<Problem>& problems) const
{
    const auto expression = [&](const Problem& problem) {
        const auto found = expressions_.find(problem.where);
        return found == expressions_.end() ? nullptr : &found->second;
    };
    std::erase_if(problems, [&](const Problem& p) { return expression(p) && !expression(p)->good; });
    for (Problem& problem : problems)
        if (const Expression* written = expression(problem))
            problem.value = written->text + " (" + problem.value + ')';
}

std::vector<Problem> Definitions::unused() const
{
    std::vector<Problem> warnings;
    for (const auto& [name, definition] : names_)
        if (!definition.used)
            warnings.push_back({"/define" + pointer_step(name), as_text(definition.written), "not used", true});
    return warnings;
}

}  // namespace vantoro
