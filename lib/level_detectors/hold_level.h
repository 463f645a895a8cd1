// SPDX-License-Identifier: Apache-2.0
// Mean square with hold, once per block: the law of every meter and of the level table.
#pragma once

#include <algorithm>

#include "../framework/context.h"
#include "../kernels/follower.h"

namespace lbx {

struct HoldLaw {
    float weight;   // of a new block, whether it rises or falls
    float pre_div;  // 1 / (block size + 1): a mean comes out that little too small. Kept, meters are calibrated with it
    int hold_time;  // samples, not negative
};

// The sum of squares of `n` samples moves the smoothed mean square. Every rise lengthens the hold by a block, up to the
// hold time; a fall waits until the hold is used up. Rise and fall are not branches: they alternate at random.
inline void hold_level(const HoldLaw& law, float sum, int n, float& smooth, int& hold_count)
{
    const float mean = sum * law.pre_div;
    const bool rises = mean > smooth;
    const int longer = hold_count > law.hold_time - n ? law.hold_time : hold_count + n;
    const int shorter = hold_count - n;
    const float moved = follow(smooth, mean, law.weight);
    const int moves = int{rises} | int{shorter < 1};
    smooth = moves != 0 ? moved : smooth;
    hold_count = rises ? longer : std::max(shorter, 0);
}

// Meters and tables take one signal, whatever other pins a block has.
inline bool one_signal(int nInputs, int nOutputs) { return nInputs == nOutputs || nInputs == 1; }

}  // namespace lbx
