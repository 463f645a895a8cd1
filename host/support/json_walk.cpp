// SPDX-License-Identifier: Apache-2.0
#include "support/json_walk.h"

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
    char peek() const { return at_end() ? '\0' : text_[at_]; }
    bool is_at(std::string_view characters) const { return !at_end() && characters.find(peek()) != characters.npos; }
    std::size_t offset() const { return at_; }
    Place place() const { return place_; }
    std::string_view text_from(std::size_t start) const { return text_.substr(start, at_ - start); }

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
        if (cursor_.is_at("{"))
            object();
        else if (cursor_.is_at("["))
            array();
        else if (cursor_.is_at("\""))
            string();
        else
            while (!cursor_.at_end() && !cursor_.is_at(",]} \t\r\n"))
                cursor_.step();
        blanks();
    }

    void object()
    {
        std::unordered_set<std::string> keys;
        for (open(); !cursor_.at_end() && !cursor_.is_at("}"); comma()) {
            const Place place = cursor_.place();
            const std::string name = key();
            part(pointer_step(name), name, place, !keys.insert(name).second);
        }
        cursor_.step();
    }

    void array()
    {
        std::size_t index = 0;
        for (open(); !cursor_.at_end() && !cursor_.is_at("]"); comma())
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
        string();
        const std::string_view quoted = cursor_.text_from(start);
        blanks();
        cursor_.step();  // the colon
        blanks();
        if (quoted.find('\\') == quoted.npos)
            return std::string(quoted.substr(1, quoted.size() - 2));
        return nlohmann::json::parse(quoted).get<std::string>();
    }

    void string()
    {
        for (cursor_.step(); !cursor_.at_end() && !cursor_.is_at("\""); cursor_.step())
            if (cursor_.is_at("\\"))
                cursor_.step();
        cursor_.step();
    }

    void open()
    {
        cursor_.step();
        blanks();
    }

    void comma()
    {
        if (cursor_.is_at(","))
            cursor_.step();
        blanks();
    }

    void blanks()
    {
        while (cursor_.is_at(" \t\r\n"))
            cursor_.step();
    }

    Cursor cursor_;
    const std::function<void(const Part&)>& visit_;
    std::string pointer_;
};

}  // namespace

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
