// SPDX-License-Identifier: Apache-2.0
#include "speaker_file.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "../framework/log.h"

namespace {

constexpr int kMaxRows = 100;
constexpr int kMaxLine = 1000;  // characters; the rest of a longer line is skipped
constexpr int kHeaderLines = 2;

struct Row {
    float hz, db, deg;
};

struct Table {
    Row rows[kMaxRows];
    int length;
};

bool next_line(std::FILE* file, char (&line)[kMaxLine + 1])
{
    if (!std::fgets(line, sizeof line, file))
        return false;
    if (!std::strchr(line, '\n'))
        for (int c = std::fgetc(file); c != EOF && c != '\n'; c = std::fgetc(file)) {
        }
    return true;
}

bool number(const char* text, float& value)
{
    char* end = nullptr;
    value = static_cast<float>(std::strtod(text, &end));
    return end != text && std::isfinite(value);
}

bool parse(const char* line, Row& row)
{
    char hz[kMaxLine + 1], db[kMaxLine + 1], deg[kMaxLine + 1];
    return std::sscanf(line, "%s %s %s", hz, db, deg) == 3 && number(hz, row.hz) && number(db, row.db) &&
           number(deg, row.deg);
}

void read_table(std::FILE* file, Table& table)
{
    char line[kMaxLine + 1];
    for (int i = 0; i < kHeaderLines; ++i)
        if (!next_line(file, line))
            return;
    while (table.length < kMaxRows && next_line(file, line))
        if (parse(line, table.rows[table.length]))
            ++table.length;
}

// The line through two rows, also beyond them. Rows of one frequency are a jump to the second's values.
float on_line(float hz, float hz0, float hz1, float v0, float v1)
{
    return hz1 != hz0 ? v0 + (v1 - v0) * ((hz - hz0) / (hz1 - hz0)) : v1;
}

Row at(const Table& table, float hz)
{
    if (table.length == 1)
        return table.rows[0];
    const auto below = [](float f, const Row& row) { return f < row.hz; };
    const auto inner = std::upper_bound(table.rows + 1, table.rows + table.length - 1, hz, below);
    const Row &lo = *(inner - 1), &hi = *inner;
    return {hz, on_line(hz, lo.hz, hi.hz, lo.db, hi.db), on_line(hz, lo.hz, hi.hz, lo.deg, hi.deg)};
}

}  // namespace

void lbx::SpeakerResponse_Init(const char* filename, FreqResponseState* state)
{
    std::FILE* file = std::fopen(filename, "r");
    if (!file) {
        LBX_LOG("cannot open %s\n\n", filename);
        return;
    }
    Table table = {};
    read_table(file, table);
    std::fclose(file);
    if (table.length == 0) {
        LBX_LOG("no rows in %s\n\n", filename);
        return;
    }
    for (int k = 0; k < state->lens; ++k) {
        const Row row = at(table, state->freq[k]);
        state->mag[k] = row.db;
        state->deg[k] = row.deg;
    }
}
