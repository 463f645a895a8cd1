// SPDX-License-Identifier: Apache-2.0
#include "support/problem.h"

#include <utility>

namespace vantoro {

namespace {

std::string lines_of(const std::vector<Problem>& problems)
{
    std::string lines;
    for (const Problem& problem : problems)
        lines += (lines.empty() ? "" : "\n") + text_of(problem);
    return lines;
}

}  // namespace

std::string text_of(const Problem& problem)
{
    std::string text = problem.file;
    if (problem.line > 0)
        text += ':' + std::to_string(problem.line) + ':' + std::to_string(problem.column);
    for (const std::string* part : {&problem.where, &problem.value, &problem.wanted})
        if (!part->empty())
            text += (text.empty() ? "" : ": ") + *part;
    return text;
}

UserError::UserError(std::vector<Problem> problems)
    : std::runtime_error(lines_of(problems)), problems_(std::move(problems))
{}

UserError::UserError(std::string wanted) : UserError(std::vector<Problem>{{{}, {}, std::move(wanted)}}) {}

}  // namespace vantoro
