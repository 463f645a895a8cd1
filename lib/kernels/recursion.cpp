// SPDX-License-Identifier: Apache-2.0
#include "recursion.h"

namespace lbx {
namespace {

// body(l) for so many of eight lanes; all eight without a loop.
template <class Body>
LBX_INLINE void each_of(int lanes, Body body)
{
    if (lanes == 8)
        repeat<8>(body);
    else
        for (int l = 0; l < lanes; ++l)
            body(l);
}

}  // namespace

void Pins::set(const float* const* from, float* const* to, int channels)
{
    each_of(channels, [=, this](int l) LBX_INLINED {
        in[l] = from[l];
        out[l] = to[l];
    });
    for (int l = channels; l < packet_width(channels); ++l) {
        in[l] = in[channels - 1];
        out[l] = out[channels - 1];
    }
}

void fill_lanes(float* lane, const float* state, std::ptrdiff_t stride, int channels)
{
    each_of(channels, [=](int l) LBX_INLINED { lane[l] = state[stride * l]; });
    for (int l = channels; l < packet_width(channels); ++l)
        lane[l] = lane[channels - 1];
}

void take_lanes(const float* lane, float* state, std::ptrdiff_t stride, int channels)
{
    each_of(channels, [=](int l) LBX_INLINED { state[stride * l] = lane[l]; });
}

}  // namespace lbx
