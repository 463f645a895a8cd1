// SPDX-License-Identifier: Apache-2.0
// The loops of blocks that compute each output sample from the input samples of the same time. An output may be written
// over an input that is not read later.
#pragma once

#include <algorithm>

#include "../common/block_types.h"
#include "../kernels/each_index.h"
#include "../kernels/ramp.h"

namespace lbx {

// y[i] = f(x[i]) on every pin.
template <class F>
LBX_INLINE int each_pin(int pins, int size, float* const* xn, float* const* yn, F f)
{
    for (int pin = 0; pin < pins; ++pin)
        each_index(size, [=, x = xn[pin], y = yn[pin]](int i) LBX_INLINED { y[i] = f(x[i]); });
    return RT_OK;
}

// One output from each pair of neighbouring inputs. An odd last input is left out.
template <class F>
int each_pair(int pins, int size, float* const* xn, float* const* yn, F f)
{
    const auto one_pair = [=](float* const* x, float* y) LBX_INLINED {
        each_index(size, [=, a = x[0], b = x[1]](int i) LBX_INLINED { y[i] = f(a[i], b[i]); });
        return RT_OK;
    };
    // Two nested loops need a stack frame, which costs a short block a tenth of its time.
    if (pins == 2) [[likely]]
        return one_pair(xn, yn[0]);
    for (; pins >= 2; pins -= 2, xn += 2, ++yn)
        one_pair(xn, yn[0]);
    return RT_OK;
}

// One output from all inputs: f(f(pin 0, pin 1), pin 2), and so on; from the only one, its copy. The output may be any
// input.
template <class F>
LBX_INLINE int fold_pins(int pins, int size, float* const* xn, float* const* yn, F f)
{
    if (pins == 1)
        copy(xn[0], yn[0], size);
    for (int begin = 0; pins > 1 && begin < size; begin += kTile) {
        const int n = std::min(kTile, size - begin);
        float result[kTile];
        const float* a = xn[0] + begin;
        for (int pin = 1; pin < pins; ++pin, a = result)
            each_index(n, [=, b = xn[pin] + begin, y = pin < pins - 1 ? result : yn[0] + begin](int i)
                              LBX_INLINED { y[i] = f(a[i], b[i]); });
    }
    return RT_OK;
}

}  // namespace lbx
