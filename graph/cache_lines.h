// SPDX-License-Identifier: Apache-2.0
// How buffers lie in memory: the runtime's, and those of the C that the program writes.
#pragma once

#include <cstddef>

#include "../lib/framework/cache_line.h"

namespace vgraph {

// Sizes in samples, rounded up to an odd number of lines. Any 64 buffers in a row that are so far apart begin in
// different places of a 4 KiB page, and do not evict each other from a cache whose sets repeat with the page.
constexpr std::size_t odd_lines(std::size_t samples)
{
    constexpr std::size_t line = lbx::kLine;
    return ((samples + line - 1) / line | 1U) * line;
}

}  // namespace vgraph
