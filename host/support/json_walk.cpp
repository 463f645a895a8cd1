// SPDX-License-Identifier: Apache-2.0
#include "support/json_walk.h"

#include <algorithm>
#include <unordered_set>

#include <nlohmann/json.hpp>

namespace vantoro {

namespace {

// A position in a text that knows its line and column.
class Cursor {
public:
    explicit Cursor(std::string_view text) : text_(text)
    {
        constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";
        if (text.starts_with(kByteOrderMark))
            at_ = kByteOrderMark.size();
    }

    bool at_end() const { return at_ == text_.size(); }
    bool is_at(char c) const { return !at_end() && text_[at_] == c; }
    std::size_t offset() const { return at_; }
    Place place() const { return place_; }
    std::string_view text_from(std::size_t start) const { return text_.substr(start, at_ - start); }

    // To the end of what begins here, as one of the functions end_of_... finds it.
    void pass(std::size_t (&end_of)(std::string_view, std::size_t))
    {
        for (const std::size_t end = end_of(text_, at_); at_ < end;)
            step();
    }

    void step()
    {
        if (at_end())
            return;
        const auto c = static_cast<unsigned char>(text_[at_++]);
        if (c == '\n')
            place_ = {place_.line + 1, 1};
        else if ((c & 0xc0U) != 0x80U)  // the first byte of a character
            ++place_.column;
    }

private:
    std::string_view text_;
    std::size_t at_ = 0;
    Place place_;
};

class Walk {
public:
    Walk(std::string_view text, const std::function<void(const Part&)>& visit) : cursor_(text), visit_(visit) {}

    void run()
    {
        blanks();
        visit_({pointer_, {}, cursor_.place(), false});
        value();
    }

private:
    void value()
    {
        if (cursor_.is_at('{'))
            object();
        else if (cursor_.is_at('['))
            array();
        else if (cursor_.is_at('"'))
            cursor_.pass(end_of_string);
        else
            cursor_.pass(end_of_word);
        blanks();
    }

    void object()
    {
        std::unordered_set<std::string> keys;
        for (open(); !cursor_.at_end() && !cursor_.is_at('}'); comma()) {
            const Place place = cursor_.place();
            const std::string name = key();
            part(pointer_step(name), name, place, !keys.insert(name).second);
        }
        cursor_.step();
    }

    void array()
    {
        std::size_t index = 0;
        for (open(); !cursor_.at_end() && !cursor_.is_at(']'); comma())
            part('/' + std::to_string(index++), {}, cursor_.place(), false);
        cursor_.step();
    }

    void part(const std::string& step, const std::string& name, Place place, bool repeated)
    {
        const std::size_t length = pointer_.size();
        pointer_ += step;
        visit_({pointer_, name, place, repeated});
        value();
        pointer_.resize(length);
    }

    // Leaves the cursor at the member's value.
    std::string key()
    {
        const std::size_t start = cursor_.offset();
        cursor_.pass(end_of_string);
        const std::string_view quoted = cursor_.text_from(start);
        blanks();
        cursor_.step();  // the colon
        blanks();
        if (quoted.find('\\') == quoted.npos)
            return std::string(quoted.substr(1, quoted.size() - 2));
        return nlohmann::json::parse(quoted).get<std::string>();
    }

    void open()
    {
        cursor_.step();
        blanks();
    }

    void comma()
    {
        if (cursor_.is_at(','))
            cursor_.step();
        blanks();
    }

    void blanks() { cursor_.pass(end_of_blanks); }

    Cursor cursor_;
    const std::function<void(const Part&)>& visit_;
    std::string pointer_;
};

}  // namespace

std::size_t end_of_comment(std::string_view text, std::size_t at)
{
    constexpr std::string_view kLineEnds("\n\r\0", 3);  // as the parser has it
    const std::string_view opening = text.substr(at, 2);
    if (opening == "//") {
        const std::size_t end = std::min(text.find_first_of(kLineEnds, at), text.size());
        return end < text.size() && text[end] == '\0' ? end + 1 : end;
    }
    if (opening == "/*")
        return std::min(text.find("*/", at + 2), text.size() - 2) + 2;
    return at;
}

std::size_t end_of_blanks(std::string_view text, std::size_t at)
{
    for (std::size_t before = text.npos; at != before;) {
        before = at;
        at = end_of_comment(text, std::min(text.find_first_not_of(" \t\r\n", at), text.size()));
    }
    return at;
}

std::size_t end_of_string(std::string_view text, std::size_t at)
{
    for (++at; at < text.size() && text[at] != '"'; ++at)
        if (text[at] == '\\')
            ++at;
    return std::min(at + 1, text.size());
}

std::size_t end_of_word(std::string_view text, std::size_t at)
{
    return std::min(text.find_first_of(",]}/ \t\r\n", at), text.size());
}

Place place_of(std::string_view text, std::size_t offset)
{
    Cursor cursor(text);
    while (cursor.offset() < offset && !cursor.at_end())
        cursor.step();
    return cursor.place();
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

void walk_json(std::string_view text, const std::function<void(const Part&)>& visit) { Walk(text, visit).run(); }

}  // namespace vantoro
