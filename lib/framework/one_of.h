// SPDX-License-Identifier: Apache-2.0
// A function of a table by its number, without a table of addresses.
#pragma once

#include <iterator>

#include "../kernels/lanes.h"

namespace lbx {

// kTable[at](args ...), for `at` within the table. Compared one by one, for what runs when parameters change: a table
// of addresses would be relocated when a shared library is loaded, which takes 24 bytes a function.
template <const auto& kTable, int kAt = 0, class... Args>
LBX_INLINE auto one_of(int at, const Args&... args)
{
    if constexpr (kAt + 1 < std::ssize(kTable))
        if (at != kAt)
            return one_of<kTable, kAt + 1>(at, args...);
    return kTable[kAt](args...);
}

}  // namespace lbx
