// SPDX-License-Identifier: Apache-2.0
#include "support/columns.h"

#include <algorithm>
#include <utility>

namespace vantoro {

std::string filled(std::string line, std::size_t column)
{
    line.resize(line.empty() ? column : std::max(line.size() + 2, column), ' ');
    return line;
}

std::string flowed(std::string line, std::size_t column, std::string_view text)
{
    std::string out;
    if (!text.empty())
        line = filled(std::move(line), column);
    for (bool first = true; !text.empty(); first = false) {
        const std::size_t end = std::min(text.find(' '), text.size());
        if (!first && line.size() + 1 + end > kWidth) {
            out += line + "\n";
            line = std::string(column, ' ');
            first = true;
        }
        line += (first ? "" : " ") + std::string(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    out += line + "\n";
    std::ranges::replace(out, kNoBreak, ' ');
    return out;
}

}  // namespace vantoro
