// SPDX-License-Identifier: Apache-2.0
// The loops of blocks that compute each output sample from input samples of the same time. Outputs may be written over
// inputs that are not read later.
#pragma once

#include <algorithm>

#include "../common/block_types.h"
#include "../common/lanes.h"
#include "../common/ramp.h"

// In front of a loop: what it writes is a buffer it does not read, or one that it reads at the same index only. Without
// this GCC checks for overlaps and runs whatever is in place sample by sample. Clang checks on.
#if defined(__clang__)
#define LBX_SAME_INDEX
#else
#define LBX_SAME_INDEX _Pragma("GCC ivdep")
#endif

namespace lbx {

// f(i) for every sample: full registers first, then one by one.
template <class F>
LBX_INLINE void each_index(int size, F f)
{
    const int whole = size & ~7;
    LBX_SAME_INDEX
    for (int i = 0; i < whole; ++i)
        f(i);
    for (int i = whole; i < size; ++i) {
        __asm__ volatile("");  // up to seven are not worth vector loops of their own
        f(i);
    }
}

// y[i] = f(x[i]) on every pin.
template <class F>
int each_pin(int pins, int size, float* const* xn, float* const* yn, F f)
{
    for (int pin = 0; pin < pins; ++pin)
        each_index(size, [=, x = xn[pin], y = yn[pin]](int i) { y[i] = f(x[i]); });
    return RT_OK;
}

// One output from each pair of neighbouring inputs. An odd last input has no partner and is left out.
template <class F>
int each_pair(int pins, int size, float* const* xn, float* const* yn, F f)
{
    for (; pins >= 2; pins -= 2, xn += 2, ++yn)
        each_index(size, [=, a = xn[0], b = xn[1], y = yn[0]](int i) { y[i] = f(a[i], b[i]); });
    return RT_OK;
}

// One output from all inputs: first(pin 0), then f(result, pin) in the order of the pins. Works on any input in place.
template <class First, class F>
int fold_pins(int pins, int size, float* const* xn, float* const* yn, First first, F f)
{
    for (int begin = 0; pins > 0 && begin < size; begin += kTile) {
        const int n = std::min(kTile, size - begin);
        float result[kTile];
        const auto to = [&](int pin) { return pin < pins - 1 ? result : yn[0] + begin; };
        each_index(n, [&, x = xn[0] + begin, y = to(0)](int i) { y[i] = first(x[i]); });
        for (int pin = 1; pin < pins; ++pin)
            each_index(n, [&, x = xn[pin] + begin, y = to(pin)](int i) { y[i] = f(result[i], x[i]); });
    }
    return RT_OK;
}

}  // namespace lbx
