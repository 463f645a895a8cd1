// SPDX-License-Identifier: Apache-2.0
#include "analysis/speaker.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <limits>
#include <numbers>
#include <optional>
#include <sstream>
#include <string_view>
#include <utility>

#include "support/decimal.h"
#include "support/problem.h"

namespace vantoro {

namespace {

struct Row {
    double hz, db, deg;
};

constexpr std::string_view kBlanks = " \t\r";
constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";

bool number(std::string_view text, double& value)
{
    text.remove_prefix(text.starts_with('+') ? 1 : 0);
    value = number_of<double>(text).value_or(std::numeric_limits<double>::infinity());
    return std::isfinite(value);
}

// "20,5 80,1 0" has them; "20.5,80.1,0" and "20, 80, 0" do not.
bool has_decimal_commas(std::string_view line)
{
    if (line.find_first_of(" \t;") == line.npos || line.find('.') != line.npos)
        return false;
    for (std::size_t at = line.find(','); at != line.npos; at = line.find(',', at + 1))
        if (at == 0 || !std::isdigit(static_cast<unsigned char>(line[at - 1])) || at + 1 == line.size() ||
            !std::isdigit(static_cast<unsigned char>(line[at + 1])))
            return false;
    return true;
}

// The words of a row, and what each is.
constexpr const char* kColumns[] = {"a frequency in Hz from 0", "a level in dB", "a phase in degrees"};

struct Wrong {
    std::string value;
    const char* wanted;
    std::size_t at;
};

std::optional<Wrong> parse(const std::string& line, Row& row)
{
    std::string words = line;
    std::ranges::replace(words, ',', has_decimal_commas(line) ? '.' : ' ');
    std::ranges::replace(words, ';', ' ');
    double* const values[] = {&row.hz, &row.db, &row.deg};
    for (std::size_t column = 0, end = 0; column < std::size(kColumns); ++column) {
        const std::size_t at = words.find_first_not_of(kBlanks, end);
        if (at == words.npos)
            return column < 2 ? std::optional<Wrong>{{"", kColumns[column], words.size()}} : std::nullopt;
        end = std::min(words.find_first_of(kBlanks, at), words.size());
        double& value = *values[column];
        if (!number(std::string_view(words).substr(at, end - at), value) || (column == 0 && value < 0))
            return Wrong{line.substr(at, end - at), kColumns[column], at};
    }
    return std::nullopt;
}

bool is_comment(std::string_view line)
{
    const std::size_t first = line.find_first_not_of(kBlanks);
    return first == line.npos || std::string_view("*#;\"").find(line[first]) != line.npos;
}

std::vector<Row> read_rows(std::istream& file, const std::string& path)
{
    const auto fault = [&](std::string wanted, int at = 0, int column = 1, std::string value = {}) {
        return UserError({{.where = {},
                           .value = std::move(value),
                           .wanted = std::move(wanted),
                           .file = path,
                           .line = at,
                           .column = column}});
    };
    if (!file)
        throw fault("cannot be read: " + std::string(std::strerror(errno)));
    std::vector<Row> rows;
    std::string line;
    for (int at = 1; std::getline(file, line); ++at) {
        if (at == 1 && line.starts_with(kByteOrderMark))
            line.erase(0, kByteOrderMark.size());
        line.erase(line.find_last_not_of(kBlanks) + 1);
        Row row{};
        if (is_comment(line))
            continue;
        if (auto wrong = parse(line, row)) {
            if (rows.empty())
                continue;
            throw fault(wrong->wanted, at, static_cast<int>(wrong->at) + 1, std::move(wrong->value));
        }
        if (!rows.empty() && row.hz <= rows.back().hz)
            throw fault("frequencies must rise", at);
        rows.push_back(row);
    }
    if (rows.size() < 2)
        throw fault("at least two rows of frequency in Hz, level in dB and phase in degrees are wanted");
    return rows;
}

std::complex<double> between(const Row& a, const Row& b, double hz)
{
    const double part = (hz - a.hz) / (b.hz - a.hz);
    const double db = a.db + part * (b.db - a.db);
    const double deg = a.deg + part * std::remainder(b.deg - a.deg, 360.0);
    return std::polar(std::pow(10, db / 20), deg * std::numbers::pi / 180);
}

Spectrum on_axis(const std::vector<Row>& rows, const Axis& axis)
{
    Spectrum values(axis.bins.size(), std::numeric_limits<double>::quiet_NaN());
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double hz = axis.hz(i);
        if (hz < rows.front().hz || hz > rows.back().hz)
            continue;
        const auto next = std::ranges::upper_bound(rows.begin() + 1, rows.end() - 1, hz, {}, &Row::hz);
        values[i] = between(*(next - 1), *next, hz);
    }
    return values;
}

}  // namespace

Spectrum read_speaker(const std::string& path, const Axis& axis)
{
    std::ifstream file(path);
    return on_axis(read_rows(file, path), axis);
}

Spectrum parse_speaker(const std::string& text, const std::string& name, const Axis& axis)
{
    std::istringstream file(text);
    return on_axis(read_rows(file, name), axis);
}

}  // namespace vantoro
