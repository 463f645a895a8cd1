// SPDX-License-Identifier: Apache-2.0
#include "catalog/filter_list.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <optional>
#include <sstream>

#include "catalog/filter_kinds.h"
#include "support/decimal.h"

namespace vantoro {

namespace {

using nlohmann::json;
using nlohmann::ordered_json;

constexpr double kDefaultSlope = 0.9;  // of a shelf without a Q
constexpr double kNarrow = 16;         // the highest Q of equalisers

std::string lower(std::string_view text)
{
    std::string out(text);
    std::ranges::transform(out, out.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return out;
}

// What stands before the colon, in small letters, and the words after it.
struct Line {
    std::string key;
    std::vector<std::string> words;
    bool has_key;
};

Line split(const std::string& text)
{
    const std::size_t colon = text.find(':');
    Line line{lower(text.substr(0, std::min(colon, text.size()))), {}, colon != text.npos};
    std::istringstream key(line.key), words(line.has_key ? text.substr(colon + 1) : text);
    key >> line.key;  // without the filter's number
    for (std::string word; words >> word;)
        line.words.push_back(word);
    return line;
}

bool is_filter(const Line& line) { return line.has_key && line.key.starts_with("filter"); }
bool is_preamp(const Line& line) { return line.has_key && line.key == "preamp"; }

// A comma is that of a fraction, or of thousands where a point stands too; "1,250" could be either.
std::optional<double> number(std::string text)
{
    const std::size_t comma = text.find(',');
    if (comma != text.npos && text.find('.') != text.npos)
        std::erase(text, ',');
    else if (comma != text.npos && text.size() - comma == 4)
        return {};
    else
        std::ranges::replace(text, ',', '.');
    const auto value = number_of<double>(std::string_view(text).substr(text.starts_with('+') ? 1 : 0));
    return value && std::isfinite(*value) ? value : std::nullopt;
}

// A filter as its line has it.
struct Filter {
    bool on = false;
    std::string kind;
    std::optional<double> fc, gain, q, octaves;
};

// Why a line is none; empty: it is.
std::string parse(const std::vector<std::string>& words, Filter& filter)
{
    if (words.size() < 2 || (lower(words[0]) != "on" && lower(words[0]) != "off"))
        return "ON or OFF, and a kind of filter";
    filter.on = lower(words[0]) == "on";
    filter.kind = words[1];
    std::ranges::transform(filter.kind, filter.kind.begin(), [](unsigned char c) { return std::toupper(c); });
    for (std::size_t i = 2; i < words.size(); ++i) {
        const std::string name = lower(words[i]);
        std::optional<double>* const value = name == "fc"     ? &filter.fc
                                             : name == "gain" ? &filter.gain
                                             : name == "q"    ? &filter.q
                                             : name == "bw"   ? &filter.octaves
                                                              : nullptr;
        if (name == "hz" || name == "db")
            continue;
        if (!value)
            return "\"" + words[i] + "\" is not read; Fc, Gain, Q and BW Oct are";
        i += name == "bw" ? 2 : 1;
        if (i >= words.size() || (name == "bw" && lower(words[i - 1]) != "oct") || !(*value = number(words[i])))
            return "a number after " + words[std::min(i, words.size()) - 1] + ", with a point or none";
    }
    return "";
}

// A band that is narrower than an equaliser's Q may be is written by its width.
const FilterKind* kind_of(const Filter& filter, const BlockType& type)
{
    const FilterKind* found = nullptr;
    for (const FilterKind& kind : filter_kinds())
        for (const char* word : kind.read)
            if (word && filter.kind == word && choice_of(kind, type) &&
                (!found || kind.octaves == (filter.octaves || filter.q > kNarrow)))
                found = &kind;
    return found;
}

// The row of a table, or why there is none.
std::string row_of(const Filter& filter, const BlockType& type, int rate, ordered_json& row)
{
    const FilterKind* kind = kind_of(filter, type);
    if (!kind)
        return filter.kind + " has no counterpart in " + type.name;
    if (!filter.fc || !(*filter.fc > 0 && *filter.fc < rate / 2.0))
        return "Fc above 0 and below half the rate";
    if (kind->boosts && !filter.gain)
        return filter.kind + " needs a Gain";
    const Corner at{*filter.fc, filter.gain.value_or(0), rate};
    std::optional<double> width = filter.octaves;
    if (!kind->octaves && filter.octaves)
        width = kind->from_list(q_of_octaves(*filter.octaves, at), at);
    else if (kind->octaves && filter.q)
        width = octaves_of_q(*filter.q, at);
    else if (!filter.octaves && (filter.q || kind->q > 0))
        width = kind->from_list(filter.q.value_or(kind->q), at);
    else if (!filter.octaves && kind->from_list == slope_of_q)
        width = kDefaultSlope;
    if (!width)
        return filter.kind + " needs a Q";
    if (!(*width > 0 && std::isfinite(*width)))
        return "no " + std::string(type.name) + " is as narrow, or as steep";
    row = {{"type", choice_of(*kind, type)}, {"fc", *filter.fc}};
    if (kind->boosts || !is_text_equaliser(type))
        row["boostDb"] = kind->boosts ? *filter.gain : 0;
    row["q"] = short_decimal(static_cast<float>(*width));
    if (!filter.on)
        row[is_text_equaliser(type) ? "enable" : "bypass"] = is_text_equaliser(type) ? 0 : 1;
    return "";
}

class Reading {
public:
    Reading(std::string file, const BlockType& type, int rate, std::vector<Problem>& problems)
        : file_(std::move(file)), type_(type), rate_(rate), problems_(problems)
    {}

    void take(const std::string& text, int line)
    {
        line_ = line;
        const Line split_line = split(text);
        if (is_filter(split_line))
            take_filter(split_line.words);
        else if (is_preamp(split_line))
            take_preamp(split_line.words);
        else if (split_line.key == "equaliser" && !text.ends_with("Generic"))
            warn(text, "the Q of this equaliser may mean another width than here");
        else if (split_line.has_key ? !is_heading(split_line.key) : begun_)
            warn(text, "not read: filters and the preamp are");
    }

    ordered_json finish()
    {
        if (empty_ > 0)
            problems_.push_back({{},
                                 {},
                                 std::to_string(empty_) + " filters without a kind are left out, the first here",
                                 true,
                                 file_,
                                 first_empty_,
                                 1});
        place_preamp();
        std::vector<Problem> found;
        build_vector(type_, initial_pins(type_), {{"bands", json(rows_)}}, found, Pace(rate_));
        for (Problem& problem : found)
            problems_.push_back(placed(std::move(problem)));
        return rows_;
    }

private:
    static bool is_heading(const std::string& key) { return key == "dated" || key == "notes" || key == "equaliser"; }

    // A problem of "/bands/3/q": the line of that row.
    Problem placed(Problem problem) const
    {
        constexpr std::string_view kRows = "/bands/";
        const std::size_t end = problem.where.find('/', kRows.size());
        if (problem.where.starts_with(kRows) && end != problem.where.npos) {
            const auto row =
                number_of<std::size_t>(std::string_view(problem.where).substr(kRows.size(), end - kRows.size()));
            problem.where.erase(0, end + 1);
            problem.line = row && *row < lines_.size() ? lines_[*row] : 0;
        }
        problem.file = file_;
        problem.column = 1;
        return problem;
    }

    void warn(std::string value, std::string wanted)
    {
        problems_.push_back({{}, std::move(value), std::move(wanted), true, file_, line_, 1});
    }

    void take_filter(const std::vector<std::string>& words)
    {
        begun_ = true;
        if (words.size() == 2 && lower(words[1]) == "none") {
            first_empty_ = empty_++ == 0 ? line_ : first_empty_;
            return;
        }
        Filter filter;
        ordered_json row;
        std::string why = parse(words, filter);
        if (why.empty())
            why = row_of(filter, type_, rate_, row);
        if (!why.empty())
            return warn({}, "left out: " + why);
        if (!filter.q && !filter.octaves && kind_of(filter, type_)->from_list == slope_of_q)
            warn({}, "a shelf without Q: slope " + decimal(static_cast<float>(kDefaultSlope)));
        rows_.push_back(std::move(row));
        lines_.push_back(line_);
    }

    void take_preamp(const std::vector<std::string>& words)
    {
        begun_ = true;
        const auto gain = words.empty() ? std::nullopt : number(words.front());
        if (!gain)
            return warn({}, "left out: a number of dB is wanted");
        preamp_ += *gain;
        preamp_line_ = line_;
    }

    // In the first band that is on.
    void place_preamp()
    {
        line_ = preamp_line_;
        if (preamp_ == 0)
            return;
        if (!is_text_equaliser(type_))
            return warn({}, "left out: " + std::string(type_.name) + " has no gain of its own");
        auto row = std::ranges::find_if(rows_, [](const ordered_json& each) { return !each.contains("enable"); });
        if (row == rows_.end()) {
            rows_.push_back({{"type", "Text_Param"}, {"boostDb", 0}});
            lines_.push_back(preamp_line_);
            row = rows_.end() - 1;
        }
        (*row)["gainDb"] = preamp_;
    }

    std::string file_;
    const BlockType& type_;
    int rate_;
    std::vector<Problem>& problems_;
    ordered_json rows_ = ordered_json::array();
    std::vector<int> lines_;  // of each row
    int line_ = 0, preamp_line_ = 0, first_empty_ = 0, empty_ = 0;
    double preamp_ = 0;
    bool begun_ = false;
};

// Calls `each` with every line that says something, and its number.
template <class Each>
void for_lines(std::string_view text, Each each)
{
    constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";
    text.remove_prefix(text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0);
    std::istringstream lines{std::string(text)};
    std::string line;
    for (int at = 1; std::getline(lines, line); ++at) {
        line.erase(line.find_last_not_of(" \t\r") + 1);
        line.erase(0, line.find_first_not_of(" \t"));
        if (!line.empty() && std::string_view("#*;").find(line.front()) == std::string_view::npos)
            each(line, at);
    }
}

}  // namespace

bool is_equaliser(const BlockType& type)
{
    return is_text_equaliser(type) || std::string_view(type.name) == "FILTER_GRAPHICAL_EQ";
}

bool is_filter_list(std::string_view text)
{
    bool found = false;
    for_lines(text, [&](const std::string& line, int) {
        const Line parts = split(line);
        found = found || is_filter(parts) || is_preamp(parts);
    });
    return found;
}

ordered_json bands_of(std::string_view text, const std::string& file, const BlockType& type, int rate,
                      std::vector<Problem>& problems)
{
    Reading reading(file, type, rate, problems);
    for_lines(text, [&](const std::string& line, int at) { reading.take(line, at); });
    return reading.finish();
}

}  // namespace vantoro
