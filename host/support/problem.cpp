// SPDX-License-Identifier: Apache-2.0
#include "support/problem.h"

#include <algorithm>
#include <utility>

#include "support/printable.h"

namespace vantoro {

namespace {

constexpr std::size_t kLongest = 500;  // bytes of a part

std::string summary(const std::vector<Problem>& problems)
{
    const std::string more = problems.size() > 1 ? " (and " + std::to_string(problems.size() - 1) + " more)" : "";
    return text_of(problems.front()) + more;
}

}  // namespace

bool has_errors(std::span<const Problem> problems) { return !std::ranges::all_of(problems, &Problem::warning); }

std::string text_of(const Problem& problem)
{
    std::string text = printable(problem.file);
    if (problem.line > 0)
        text += (text.empty() ? "" : ":") + std::to_string(problem.line) + ':' + std::to_string(problem.column);
    for (const std::string* part : {&problem.where, &problem.value, &problem.wanted})
        if (!part->empty())
            text += (text.empty() ? "" : ": ") + printable(shortened(*part, kLongest));
    return (problem.warning ? "warning: " : "") + text;
}

UserError::UserError(std::vector<Problem> problems)
    : std::runtime_error(summary(problems)), problems_(std::move(problems))
{}

UserError::UserError(std::string wanted) : UserError(std::vector<Problem>{{{}, {}, std::move(wanted)}}) {}

}  // namespace vantoro
