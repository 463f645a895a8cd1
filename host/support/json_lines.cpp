// SPDX-License-Identifier: Apache-2.0
#include "support/json_lines.h"

#include <nlohmann/json.hpp>

namespace vantoro {

namespace {

using json = nlohmann::ordered_json;

constexpr std::size_t kWidth = 120, kIndent = 2;

// Items with `before` each and `between` them, in the brackets of `value`. text_of: of an item after the text so far.
template <class Text>
std::string listed(const json& value, const std::string& before, const std::string& between, Text text_of)
{
    std::string out;
    for (const auto& item : value.items()) {
        out += (out.empty() ? "" : between) + before;
        if (value.is_object())
            out += json(item.key()).dump() + ": ";
        out += text_of(item.value(), out);
    }
    return out;
}

std::string on_one_line(const json& value)
{
    if (!value.is_structured())
        return value.dump();
    const std::string inner =
        listed(value, "", ", ", [](const json& item, const std::string&) { return on_one_line(item); });
    return value.is_object() ? "{" + inner + "}" : "[" + inner + "]";
}

// `column`: where the text begins.
std::string lines(const json& value, std::size_t indent, std::size_t column)
{
    std::string line = on_one_line(value);
    if (!value.is_structured() || value.empty() || column + line.size() < kWidth)
        return line;
    const std::string blanks(indent + kIndent, ' ');
    const std::string inner = listed(value, "\n" + blanks, ",", [&](const json& item, const std::string& before) {
        return lines(item, indent + kIndent, before.size() - (before.rfind('\n') + 1));
    });
    return std::string(1, line.front()) + inner + "\n" + std::string(indent, ' ') + line.back();
}

}  // namespace

std::string json_lines(const json& value) { return lines(value, 0, 0) + "\n"; }

}  // namespace vantoro
