// SPDX-License-Identifier: Apache-2.0
// What a user got wrong: one kind of report for schematics, options and files, and one error that carries a list of
// them. Everything else that goes wrong (a full disk, no memory) is a std::runtime_error of its own.
#pragma once

#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace vantoro {

struct Problem {
    std::string where;         // a JSON pointer ("/blocks/eq/params/q"), an option ("--rate"), or empty: the whole
    std::string value;         // what is there, as written; may be empty
    std::string wanted;        // what would be right
    bool warning = false;      // it works, but hardly as it is meant
    std::string file{};        // empty: on the command line
    int line = 0, column = 0;  // from 1; 0: unknown
};

inline constexpr std::size_t kMostShown = 200;  // the program prints no more, so no others need suggestions

bool has_errors(std::span<const Problem> problems);

// "two_way.json:12:9: /blocks/eq/params/q: 20: a number from 0.01 to 16", with "warning: " before it
std::string text_of(const Problem& problem);

// At least one problem that is no warning.
class UserError : public std::runtime_error {
public:
    explicit UserError(std::vector<Problem> problems);
    explicit UserError(std::string wanted);  // one problem without a place
    const std::vector<Problem>& problems() const { return problems_; }

private:
    std::vector<Problem> problems_;
};

}  // namespace vantoro
