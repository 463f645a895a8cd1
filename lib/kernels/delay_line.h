// SPDX-License-Identifier: Apache-2.0
// The delay line of combs and allpasses, over any record with bufSize, bufIdx and buffer. A line moves by single
// samples or by groups of four; a group never straddles its end, which is why lengths are multiples of four where
// groups are used.
#pragma once

#include <algorithm>
#include <cstdlib>

#include "../framework/new_block.h"

namespace lbx {

inline constexpr int kGroup = 4;

// A new zeroed buffer of `size` > 0 samples. False: no memory, and the line stays as it was.
template <class Line>
[[nodiscard]] bool line_resize(Line& line, int size)
{
    float* buffer = nullptr;
    if (!zeros(buffer, size))
        return false;
    std::free(line.buffer);
    line.buffer = buffer;
    line.bufSize = size;
    line.bufIdx = 0;
    return true;
}

template <class Line>
void line_clear(Line& line)
{
    std::fill_n(line.buffer, line.bufSize, 0.0F);
    line.bufIdx = 0;
}

template <class Line>
void line_next(Line& line)
{
    line.bufIdx = line.bufIdx + 1 < line.bufSize ? line.bufIdx + 1 : 0;
}

template <class Line>
bool line_has_groups(const Line& line)
{
    return line.bufSize >= kGroup;
}

// The current group. Single steps may have left the position too close to the end for one: it then starts over.
template <class Line>
float* line_group(Line& line)
{
    if (line.bufIdx > line.bufSize - kGroup)
        line.bufIdx = 0;
    return line.buffer + line.bufIdx;
}

// Moves on by `samples`: whole groups that end before the line does.
template <class Line>
void line_advance(Line& line, int samples)
{
    line.bufIdx += samples;
    if (line.bufIdx >= line.bufSize - (kGroup - 1))
        line.bufIdx = 0;
}

}  // namespace lbx
