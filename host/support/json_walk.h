// SPDX-License-Identifier: Apache-2.0
// A walk through a JSON text, for what a document built from it has lost: places, the order of keys, repeated keys.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace vantoro {

// From 1. Columns count characters, of which a byte order mark is none.
struct Place {
    int line = 1, column = 1;
};

Place place_of(std::string_view text, std::size_t offset);

// The ends of what begins at an offset: a comment if one does, blanks and comments, a quoted string, a number or word.
std::size_t end_of_comment(std::string_view text, std::size_t at);
std::size_t end_of_blanks(std::string_view text, std::size_t at);
std::size_t end_of_string(std::string_view text, std::size_t at);
std::size_t end_of_word(std::string_view text, std::size_t at);

// `key` as a step of a JSON pointer, slash included.
std::string pointer_step(std::string_view key);

// A value of the text.
struct Part {
    const std::string& pointer;
    const std::string& key;  // of a member; else empty
    Place place;             // where a member's key begins, or else the value
    bool repeated;           // its object has this key already
};

// Visits every value before those inside it. `text` must be JSON of bounded depth; comments are blanks.
void walk_json(std::string_view text, const std::function<void(const Part&)>& visit);

}  // namespace vantoro
