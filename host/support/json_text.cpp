// SPDX-License-Identifier: Apache-2.0
#include "support/json_text.h"

#include <algorithm>
#include <set>

namespace vantoro {

namespace {

constexpr std::size_t kMaxDepth = 32;

std::string line_and_column(std::string_view text, std::size_t position)
{
    const std::string_view before = text.substr(0, std::min(position, text.size()));
    const auto line = std::ranges::count(before, '\n') + 1;
    const std::size_t start = before.rfind('\n') + 1;  // npos + 1 is 0
    return "line " + std::to_string(line) + ", column " +
           std::to_string(std::max<std::size_t>(before.size() - start, 1));
}

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

// Walks the text once before the document is built, because a built document has lost repeated keys and their order.
class Scan : public nlohmann::json_sax<nlohmann::json> {
public:
    Scan(std::string_view text, std::string_view ordered, JsonText& out, std::vector<Problem>& problems)
        : text_(text), ordered_(ordered), out_(out), problems_(problems)
    {}

    bool null() override { return value(); }
    bool boolean(bool) override { return value(); }
    bool number_integer(std::int64_t) override { return value(); }
    bool number_unsigned(std::uint64_t) override { return value(); }
    bool number_float(double, const std::string&) override { return value(); }
    bool string(std::string&) override { return value(); }
    bool binary(nlohmann::json::binary_t&) override { return value(); }
    bool start_object(std::size_t) override { return open(false); }
    bool start_array(std::size_t) override { return open(true); }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }

    bool key(std::string& name) override
    {
        Level& level = levels_.back();
        level.key = name;
        if (!level.keys.insert(name).second)
            problems_.push_back({pointer(), as_text(name), "a key may stand once"});
        else if (levels_.size() == 2 && levels_.front().key == ordered_)
            out_.order.push_back(name);
        return true;
    }

    bool parse_error(std::size_t position, const std::string&, const nlohmann::json::exception& error) override
    {
        problems_.push_back({line_and_column(text_, position), "", bare_message(error.what())});
        return false;
    }

private:
    struct Level {
        bool array;
        long index = -1;
        std::string key;
        std::set<std::string, std::less<>> keys;
    };

    bool value()
    {
        if (!levels_.empty() && levels_.back().array)
            ++levels_.back().index;
        return true;
    }

    bool open(bool array)
    {
        value();
        if (levels_.size() == kMaxDepth) {
            problems_.push_back({pointer(), "", "nested deeper than " + std::to_string(kMaxDepth) + " levels"});
            return false;
        }
        levels_.push_back({array, -1, {}, {}});
        return true;
    }

    bool close()
    {
        levels_.pop_back();
        return true;
    }

    std::string pointer() const
    {
        std::string path;
        for (const Level& level : levels_)
            path += level.array ? '/' + std::to_string(level.index) : pointer_step(level.key);
        return path;
    }

    std::string_view text_, ordered_;
    JsonText& out_;
    std::vector<Problem>& problems_;
    std::vector<Level> levels_;
};

}  // namespace

JsonText parse_json(std::string_view text, std::string_view ordered, std::vector<Problem>& problems)
{
    JsonText out{nlohmann::json(nlohmann::json::value_t::discarded), {}};
    Scan scan(text, ordered, out, problems);
    if (nlohmann::json::sax_parse(text, &scan))
        out.value = nlohmann::json::parse(text, nullptr, false);
    return out;
}

std::string pointer_step(std::string_view key)
{
    std::string step = "/";
    for (const char c : key) {
        if (c == '~')
            step += "~0";
        else if (c == '/')
            step += "~1";
        else
            step += c;
    }
    return step;
}

std::string as_text(const nlohmann::json& value)
{
    constexpr std::size_t kLongest = 60;
    std::string text = value.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
    if (text.size() > kLongest)
        text.replace(kLongest - 4, text.npos, " ...");
    return text;
}

}  // namespace vantoro
