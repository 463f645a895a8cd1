// SPDX-License-Identifier: Apache-2.0
// Floats as a person would write them: the shortest decimal that is this float.
#pragma once

#include <charconv>
#include <string>

namespace vantoro {

inline std::string decimal(float v)
{
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, v).ptr};
}

inline double short_decimal(float v)
{
    const std::string text = decimal(v);
    double out = v;
    std::from_chars(text.data(), text.data() + text.size(), out);
    return out;
}

}  // namespace vantoro
