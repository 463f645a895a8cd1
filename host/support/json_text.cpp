// SPDX-License-Identifier: Apache-2.0
#include "support/json_text.h"

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <utility>

#include "support/printable.h"

namespace vantoro {

namespace {

using nlohmann::json;

constexpr std::size_t kMaxDepth = 32;

// The parser's text without its own tag and place: "syntax error while parsing value - invalid literal; ...".
std::string bare_message(std::string_view what)
{
    if (const auto tag = what.find("] "); tag != what.npos)
        what.remove_prefix(tag + 2);
    if (what.starts_with("parse error at"))
        if (const auto place = what.find(": "); place != what.npos)
            what.remove_prefix(place + 2);
    return std::string(what);
}

// The first bracket of a text that is nested too deep.
std::size_t offset_beyond_depth(std::string_view text)
{
    std::size_t depth = 0;
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (quoted && c == '\\')
            ++i;
        else if (c == '"')
            quoted = !quoted;
        else if (!quoted && c == '/')
            i = std::max(i, end_of_blanks(text, i) - 1);
        else if (!quoted && (c == ']' || c == '}'))
            --depth;
        else if (!quoted && (c == '[' || c == '{') && ++depth > kMaxDepth)
            return i;
    }
    return text.size();
}

// Reads a text to its end or to what is wrong with it.
class Check : public nlohmann::json_sax<json> {
public:
    explicit Check(std::string_view text) : text_(text) {}

    const std::optional<Problem>& problem() const { return problem_; }

    bool null() override { return true; }
    bool boolean(bool) override { return true; }
    bool number_integer(std::int64_t) override { return true; }
    bool number_unsigned(std::uint64_t) override { return true; }
    bool number_float(double, const std::string&) override { return true; }
    bool string(std::string&) override { return true; }
    bool binary(json::binary_t&) override { return true; }
    bool key(std::string&) override { return true; }
    bool start_object(std::size_t) override { return open(); }
    bool start_array(std::size_t) override { return open(); }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }

    bool parse_error(std::size_t position, const std::string&, const json::exception& error) override
    {
        // The parser counts the character that it cannot take.
        return stop(position > 0 ? position - 1 : 0, bare_message(error.what()));
    }

private:
    bool open()
    {
        return ++depth_ <= kMaxDepth ||
               stop(offset_beyond_depth(text_), "nested deeper than " + std::to_string(kMaxDepth) + " levels");
    }

    bool close()
    {
        --depth_;
        return true;
    }

    bool stop(std::size_t offset, std::string wanted)
    {
        const Place place = place_of(text_, offset);
        problem_ = {.where = {}, .value = {}, .wanted = std::move(wanted), .line = place.line, .column = place.column};
        return false;
    }

    std::string_view text_;
    std::size_t depth_ = 0;
    std::optional<Problem> problem_;
};

bool is_open(const Problem& problem)
{
    return problem.line == 0 && (problem.where.empty() || problem.where.front() == '/');
}

std::string_view around(std::string_view pointer) { return pointer.substr(0, pointer.rfind('/')); }

// Discarded, with its problem, when the syntax is wrong.
json parsed(std::string_view text, bool comments, std::vector<Problem>& problems)
{
    Check check(text);
    if (json::sax_parse(text, &check, json::input_format_t::json, true, comments))
        return json::parse(text, nullptr, true, comments);
    problems.push_back(*check.problem());
    return json(json::value_t::discarded);
}

Problem repeated_key(const Part& part)
{
    return {.where = part.pointer,
            .value = as_text(part.key),
            .wanted = "a repeated key",
            .line = part.place.line,
            .column = part.place.column};
}

}  // namespace

JsonText parse_document(std::string_view text, std::string_view ordered, std::vector<Problem>& problems)
{
    JsonText out{parsed(text, true, problems), {}};
    if (out.value.is_discarded())
        return out;
    const std::string last_step = pointer_step(ordered);
    walk_json(text, [&](const Part& part) {
        if (part.repeated)
            problems.push_back(repeated_key(part));
        if (const std::string_view parent = around(part.pointer); parent.ends_with(last_step))
            out.order[std::string(parent)].push_back(part.key);
    });
    return out;
}

nlohmann::ordered_json parse_ordered(std::string_view text)
{
    return nlohmann::ordered_json::parse(text, nullptr, true, true);
}

json parse_json(std::string_view text, std::vector<Problem>& problems)
{
    json value = parsed(text, false, problems);
    if (!value.is_discarded())
        walk_json(text, [&](const Part& part) {
            if (part.repeated)
                problems.push_back(repeated_key(part));
        });
    return value;
}

json parse_value(std::string_view text)
{
    std::vector<Problem> problems;
    return parsed(text, false, problems);
}

void locate(std::string_view text, std::vector<Problem>& problems)
{
    std::unordered_map<std::string, std::optional<Place>> places;  // of the pointers that are open, and around them
    for (const Problem& problem : problems)
        if (std::string_view pointer = problem.where; is_open(problem))
            while (places.try_emplace(std::string(pointer)).second && !pointer.empty())
                pointer = around(pointer);
    // A key that stands twice has the meaning of the last.
    walk_json(text, [&](const Part& part) {
        if (const auto wanted = places.find(part.pointer); wanted != places.end())
            wanted->second = part.place;
    });
    for (Problem& problem : problems) {
        if (!is_open(problem))
            continue;
        std::string_view pointer = problem.where;
        while (!places.at(std::string(pointer)))
            pointer = around(pointer);
        const Place place = *places.at(std::string(pointer));
        problem.line = place.line;
        problem.column = place.column;
    }
}

std::string as_text(const json& value)
{
    constexpr std::size_t kLongest = 60;
    return shortened(value.dump(-1, ' ', false, json::error_handler_t::replace), kLongest);
}

}  // namespace vantoro
