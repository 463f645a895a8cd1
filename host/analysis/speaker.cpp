// SPDX-License-Identifier: Apache-2.0
#include "analysis/speaker.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <limits>
#include <numbers>
#include <sstream>
#include <utility>

#include "support/problem.h"

namespace vantoro {

namespace {

struct Row {
    double hz, db, deg;
};

// A row's three numbers; more may follow, such as a coherence.
bool parse(const std::string& line, Row& row)
{
    std::istringstream fields(line);
    fields.imbue(std::locale::classic());
    return fields >> row.hz >> row.db >> row.deg && row.hz >= 0;
}

std::vector<Row> read_rows(const std::string& path)
{
    std::ifstream file(path);
    const auto fault = [&](std::string wanted, int at = 0) {
        return UserError(
            {{.where = {}, .value = {}, .wanted = std::move(wanted), .file = path, .line = at, .column = 1}});
    };
    if (!file)
        throw fault("cannot be read: " + std::string(std::strerror(errno)));
    std::vector<Row> rows;
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        if (number <= 2 || line.find_first_not_of(" \t\r") == line.npos)
            continue;
        Row row{};
        if (!parse(line, row))
            throw fault("frequency in Hz, level in dB and phase in degrees are wanted", number);
        if (!rows.empty() && row.hz <= rows.back().hz)
            throw fault("frequencies must rise", number);
        rows.push_back(row);
    }
    if (rows.size() < 2)
        throw fault("at least two rows are wanted, after two lines of heading");
    return rows;
}

std::complex<double> between(const Row& a, const Row& b, double hz)
{
    const double part = (hz - a.hz) / (b.hz - a.hz);
    const double db = a.db + part * (b.db - a.db);
    const double deg = a.deg + part * std::remainder(b.deg - a.deg, 360.0);
    return std::polar(std::pow(10, db / 20), deg * std::numbers::pi / 180);
}

}  // namespace

Spectrum read_speaker(const std::string& path, const Axis& axis)
{
    const std::vector<Row> rows = read_rows(path);
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

}  // namespace vantoro
