// SPDX-License-Identifier: Apache-2.0
#include "speaker_file.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "../framework/log.h"

using namespace lbx;

namespace {

constexpr int kMaxRows = 100;
constexpr int kMaxLine = 1000;  // characters; the rest of a longer line is skipped
constexpr int kHeaderLines = 2;

struct Row {
    float hz, db, deg;
};

struct Measurement {
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

void read_rows(std::FILE* file, Measurement& measured)
{
    char line[kMaxLine + 1];
    for (int i = 0; i < kHeaderLines; ++i)
        if (!next_line(file, line))
            return;
    while (measured.length < kMaxRows && next_line(file, line))
        if (parse(line, measured.rows[measured.length]))
            ++measured.length;
}

// The line through two rows, also beyond them. Rows of one frequency are a jump to the second's values.
float on_line(float hz, float hz0, float hz1, float v0, float v1)
{
    return hz1 != hz0 ? v0 + (v1 - v0) * ((hz - hz0) / (hz1 - hz0)) : v1;
}

Row at(const Measurement& measured, float hz)
{
    if (measured.length == 1)
        return measured.rows[0];
    const auto below = [](float f, const Row& row) { return f < row.hz; };
    const auto inner = std::upper_bound(measured.rows + 1, measured.rows + measured.length - 1, hz, below);
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
    Measurement measured = {};
    read_rows(file, measured);
    std::fclose(file);
    if (measured.length == 0) {
        LBX_LOG("no rows in %s\n\n", filename);
        return;
    }
    for (int k = 0; k < state->lens; ++k) {
        const Row row = at(measured, state->freq[k]);
        state->mag[k] = row.db;
        state->deg[k] = row.deg;
    }
}
