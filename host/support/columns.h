// SPDX-License-Identifier: Apache-2.0
// Text for terminals: columns and lines broken between words.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vantoro {

inline constexpr std::size_t kWidth = 100;  // of a line
inline constexpr char kNoBreak = '\x1f';    // a blank that ends no line

// `line` filled up to a column, at least two blanks wide.
std::string filled(std::string line, std::size_t column);

// `line` and after it `text` from `column` on, broken between words into further lines that begin there too.
std::string flowed(std::string line, std::size_t column, std::string_view text);

}  // namespace vantoro
