// SPDX-License-Identifier: Apache-2.0
// The loops of blocks that compute each output sample from input samples of the same time. Outputs may be written over
// inputs that are not read later.
#pragma once

#include <algorithm>

#include "../common/block_types.h"
#include "../common/ramp.h"

// In front of a loop: what it writes is a buffer it does not read, or one that it reads at the same index only. Without
// this GCC checks for overlaps and runs whatever is in place sample by sample. Clang checks on.
#if defined(__clang__)
#define LBX_SAME_INDEX
#else
#define LBX_SAME_INDEX _Pragma("GCC ivdep")
#endif

namespace lbx {

// y[i] = f(x[i]) on every pin.
template <class F>
int each_pin(int pins, int size, float* const* xn, float* const* yn, F f)
{
    for (int pin = 0; pin < pins; ++pin) {
        const float* x = xn[pin];
        float* y = yn[pin];
        LBX_SAME_INDEX
        for (int i = 0; i < size; ++i)
            y[i] = f(x[i]);
    }
    return RT_OK;
}

// One output from each pair of neighbouring inputs. An odd last input has no partner and is left out.
template <class F>
int each_pair(int pins, int size, float* const* xn, float* const* yn, F f)
{
    for (int pair = 0; pair < pins / 2; ++pair) {
        const float* a = xn[2 * pair];
        const float* b = xn[2 * pair + 1];
        float* y = yn[pair];
        LBX_SAME_INDEX
        for (int i = 0; i < size; ++i)
            y[i] = f(a[i], b[i]);
    }
    return RT_OK;
}

// One output from all inputs: first(pin 0), then f(result, pin) in the order of the pins. Works on any input in place.
template <class First, class F>
int fold_pins(int pins, int size, float* const* xn, float* const* yn, First first, F f)
{
    for (int begin = 0; pins > 0 && begin < size; begin += kTile) {
        const int n = std::min(kTile, size - begin);
        float result[kTile];
        for (int i = 0; i < n; ++i)
            result[i] = first(xn[0][begin + i]);
        for (int pin = 1; pin < pins; ++pin) {
            const float* x = xn[pin] + begin;
            for (int i = 0; i < n; ++i)
                result[i] = f(result[i], x[i]);
        }
        std::copy_n(result, n, yn[0] + begin);
    }
    return RT_OK;
}

}  // namespace lbx
