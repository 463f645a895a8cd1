// SPDX-License-Identifier: Apache-2.0
// The loop over samples that do not depend on each other. What it writes is a buffer it does not read, or one that it
// reads at the same index only: so outputs may be inputs.
#pragma once

#include <algorithm>

#include "lanes.h"

// Otherwise GCC checks for overlap before each loop and carries a second one for it. Clang still does.
#if defined(__clang__)
#define LBX_SAME_INDEX
#else
#define LBX_SAME_INDEX _Pragma("GCC ivdep")
#endif

namespace lbx {

// f(from) ... f(size - 1), one by one: at most seven, too few for a vector loop.
template <class F>
LBX_INLINE void each_left(int from, int size, F f)
{
    for (int i = std::max(from, 0); i < size; ++i) {
        __asm__ volatile("");
        f(i);
    }
}

// f(0) ... f(size - 1): full registers first. Most block sizes leave none over.
template <class F>
LBX_INLINE void each_index(int size, F f)
{
    const int whole = size & ~7;
    LBX_SAME_INDEX
    for (int i = 0; i < whole; ++i)
        f(i);
    if (whole < size) [[unlikely]]
        each_left(whole, size, f);
}

}  // namespace lbx
