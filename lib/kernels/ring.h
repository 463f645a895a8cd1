// SPDX-License-Identifier: Apache-2.0
// The ring buffer of common.h for hot loops, and its resize, which a bank of rings needs in two steps.
#pragma once

#include "../common/common.h"

namespace lbx {

inline float ring_update(RingBufSt& ring, float value)
{
    const float oldest = ring.buf[ring.idx];
    ring.buf[ring.idx] = value;
    ring.idx = ring.idx + 1 < ring.num ? ring.idx + 1 : 0;
    return oldest;
}

// off: 0 .. num. 0 names the oldest sample, as num does.
inline float ring_at(const RingBufSt& ring, int off)
{
    const int position = ring.idx - off;
    return ring.buf[position < 0 ? position + ring.num : position];
}

// Makes `to` a ring of `num` samples with the newest samples of `from`, which stays as it is. False, and a report, when
// memory is short or num < 1.
[[nodiscard]] bool ring_resized(const RingBufSt& from, int num, RingBufSt& to);

}  // namespace lbx
