// SPDX-License-Identifier: Apache-2.0
#include "support/nearest.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>

namespace vantoro {

namespace {

constexpr std::size_t kLongest = 48;

std::string lower(std::string_view text)
{
    std::string out(text);
    std::ranges::transform(out, out.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return out;
}

// The characters of a text, a bit each; some share one.
std::uint32_t letters_of(std::string_view text)
{
    std::uint32_t letters = 0;
    for (const char c : text)
        letters |= 1U << (static_cast<unsigned char>(c) % 32U);
    return letters;
}

// Whether so many letters of the word are missing in the name that it takes more than `most` edits.
bool differs(std::string_view word, std::string_view name, std::size_t most)
{
    const std::uint32_t letters = letters_of(name);
    const auto missing = [&](char c) { return (letters & letters_of({&c, 1})) == 0; };
    return static_cast<std::size_t>(std::ranges::count_if(word, missing)) > most;
}

using Row = std::array<std::size_t, kLongest + 1>;

// Letters to insert, drop, replace, or exchange with their neighbour: F. Damerau, "A Technique for Computer Detection
// and Correction of Spelling Errors". From the word to the name, or to the nearest run of the words that underscores
// part in the name. Beyond `most` some larger number.
std::size_t edits(std::string_view word, std::string_view name, bool to_a_run, std::size_t most)
{
    const auto begins_run = [&](std::size_t j) { return j == 0 || (to_a_run && name[j - 1] == '_'); };
    const auto ends_run = [&](std::size_t j) { return j == name.size() || (to_a_run && name[j] == '_'); };
    Row rows[3] = {};  // the last three
    for (std::size_t j = 1; j <= name.size(); ++j)
        rows[0][j] = begins_run(j) ? 0 : rows[0][j - 1] + 1;
    std::size_t lowest = 0;
    for (std::size_t i = 1; i <= word.size(); ++i) {
        const Row& above = rows[(i - 1) % 3];
        const Row& two_above = rows[(i + 1) % 3];
        Row& row = rows[i % 3];
        row[0] = i;
        for (std::size_t j = 1; j <= name.size(); ++j) {
            row[j] = std::min({above[j - 1] + (word[i - 1] != name[j - 1]), above[j] + 1, row[j - 1] + 1});
            if (i > 1 && j > 1 && word[i - 1] == name[j - 2] && word[i - 2] == name[j - 1])
                row[j] = std::min(row[j], two_above[j - 2] + 1);
        }
        const std::size_t lowest_above = lowest;
        lowest = *std::min_element(row.begin(), row.begin() + static_cast<std::ptrdiff_t>(name.size()) + 1);
        if (std::min(lowest, lowest_above) > most)
            return lowest;
    }
    std::size_t best = kLongest;
    for (std::size_t j = 1; j <= name.size(); ++j)
        if (ends_run(j))
            best = std::min(best, rows[word.size() % 3][j]);
    return best;
}

std::size_t distance(std::string_view word, std::string_view name, std::size_t most)
{
    if (word == name)
        return 0;
    if (!name.empty() && (name.starts_with(word) || word.starts_with(name)))
        return 1;
    if (name.empty() || name.size() > kLongest || differs(word, name, most))
        return most + 1;
    const std::size_t to_all = word.size() > name.size() + most ? most + 1 : edits(word, name, false, most);
    return name.find('_') == name.npos ? to_all : std::min(to_all, edits(word, name, true, most) + 1);
}

}  // namespace

std::vector<Match> matches(std::string_view word, std::span<const std::string_view> candidates)
{
    const std::string wanted = lower(word);
    std::size_t most = 1 + wanted.size() / 3;
    std::vector<Match> near;
    if (wanted.empty() || wanted.size() > kLongest)
        return near;
    for (const std::string_view candidate : candidates)
        if (const std::size_t d = distance(wanted, lower(candidate), most); d <= most) {
            near.push_back({candidate, d});
            most = std::min(most, d + 1);
        }
    std::ranges::stable_sort(near, {}, &Match::distance);
    std::erase_if(near,
                  [best = near.empty() ? 0 : near.front().distance](const Match& m) { return m.distance > best + 1; });
    return near;
}

std::string nearest(std::string_view word, std::span<const std::string_view> candidates)
{
    const std::vector<Match> near = matches(word, candidates);
    return near.empty() ? std::string{} : std::string{near.front().name};
}

std::string Suggestions::of(std::string_view word, const std::vector<std::string_view>& candidates)
{
    const std::size_t count = std::min(left_, candidates.size());
    left_ -= count;
    return nearest(word, std::span(candidates).first(count));
}

std::string did_you_mean(const std::string& near, const char* quote)
{
    return near.empty() ? near : "; did you mean " + (quote + near) + quote + '?';
}

}  // namespace vantoro
