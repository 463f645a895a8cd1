// SPDX-License-Identifier: Apache-2.0
// "did you mean": the names that a mistyped one may stand for.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vantoro {

struct Match {
    std::string_view name;
    std::size_t distance;  // 0: the same; 1: a letter differs, or it is a word or the beginning of the name; ...
};

// The candidates that come near a word in any case, nearest first: no more than a third mistyped, and about as near as
// the nearest. Long names (over 48 characters) match nothing, so that a comparison takes microseconds at most.
std::vector<Match> matches(std::string_view word, std::span<const std::string_view> candidates);

// The first of them; empty when none comes near.
std::string nearest(std::string_view word, std::span<const std::string_view> candidates);

// The same for a document, where thousands of names may be wrong beside thousands that are right: so many comparisons
// in all that they take a fraction of a second, and no suggestions after them.
class Suggestions {
public:
    // `candidates()` makes the names; it is called while comparisons are left.
    template <class Candidates>
    std::string nearest_to(std::string_view word, Candidates candidates)
    {
        return left_ > 0 ? of(word, candidates()) : std::string{};
    }

private:
    std::string of(std::string_view word, const std::vector<std::string_view>& candidates);

    std::size_t left_ = 20'000;
};

// "; did you mean eq?", with `quote` around the name; empty when it is.
std::string did_you_mean(const std::string& near, const char* quote = "");

}  // namespace vantoro
