// SPDX-License-Identifier: Apache-2.0
// Arithmetic as people write it: "corner * 2", "-(a + b) / 2", "db(-6)".
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantoro {

// A finite number, or what is wrong.
struct Evaluated {
    double value = 0;
    std::string wanted{};
    bool good() const { return wanted.empty(); }
};

inline constexpr std::size_t kMaxExpression = 256;  // characters
inline constexpr int kMaxNesting = 32;              // of brackets and signs

// A letter or _, then also digits.
bool good_name(std::string_view name);

// Numbers, names, + - * / and brackets, and the functions
//   db(x)    the factor of a gain in dB: 10^(x/20)
//   ms(x)    milliseconds in samples at `rate` (Hz)
//   round(x) the nearest whole number, halves away from 0
//   sqrt(x)
Evaluated evaluate(std::string_view text, const std::function<Evaluated(std::string_view)>& value_of,
                   std::optional<double> rate);

}  // namespace vantoro
