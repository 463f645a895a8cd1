// SPDX-License-Identifier: Apache-2.0
// Numbers and their texts. Floats are written as a person would: the shortest decimal that is this float.
#pragma once

#include <charconv>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>

namespace vantoro {

// The number that a whole text is. None: it is no number, or more than a T can be. `base` is for integers.
template <class T>
std::optional<T> number_of(std::string_view text, [[maybe_unused]] int base = 10)
{
    const char *first = text.data(), *last = first + text.size();
    T number{};
    std::from_chars_result read{};
    if constexpr (std::is_integral_v<T>)
        read = std::from_chars(first, last, number, base);
    else
        read = std::from_chars(first, last, number);
    return read.ec == std::errc{} && read.ptr == last ? std::optional(number) : std::nullopt;
}

inline std::string decimal(float v)
{
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, v).ptr};
}

inline double short_decimal(float v) { return number_of<double>(decimal(v)).value_or(v); }

}  // namespace vantoro
