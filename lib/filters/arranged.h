// SPDX-License-Identifier: Apache-2.0
// Blocks that arrange the coefficients of their public record for a kernel keep a copy of what they arranged. Before
// every block they compare: what a host changed in the record is arranged anew and heard from that block on.
#pragma once

#include <cstddef>
#include <cstring>

namespace lbx {

// Whether the bits of n floats are the same.
inline bool same_floats(const float* a, const float* b, std::ptrdiff_t n)
{
    return n <= 0 || std::memcmp(a, b, static_cast<std::size_t>(n) * sizeof(float)) == 0;
}

}  // namespace lbx
