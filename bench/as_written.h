// SPDX-License-Identifier: Apache-2.0
// The hot kernels once more, as their rules read: sample after sample, section after section, nothing reordered and
// nothing clever. Tests compare the library with them bit for bit; benchmarks, in the same binary, speed for speed.
#pragma once

#include <functional>
#include <memory>
#include <ostream>
#include <span>
#include <string>
#include <vector>

#include "vantoro.h"

namespace as_written {

// The plain loop of one block. It starts where a block starts, and takes coefficients and targets from the block's
// documented record, never its state.
class Loop {
public:
    virtual ~Loop() = default;
    virtual void set(const BlockAlgo& blk) = 0;  // after every parameter set
    virtual void run(float* const* in, float* const* out, int n) = 0;
    virtual std::span<const float> levels() const { return {}; }  // of meters, in dB
};

struct Kernel {
    std::string name;
    int type;
    std::vector<int> sizes;       // channels (of a mixer: inputs) worth timing
    int most;                     // up to as many are tested
    int (*inputs)(int channels);  // pins
    int (*outputs)(int channels);
    bool in_place;  // every output may be the input of its own number
    // A parameter vector, empty for a type without. Changing between even and odd `turn` keeps gliding gains on their
    // way; the others have the same vector for all.
    std::function<std::vector<float>(int channels, int turn)> vector;
    std::unique_ptr<Loop> (*loop)(const BlockAlgo& blk);
};

std::span<const Kernel> kernels();
inline void PrintTo(const Kernel& kernel, std::ostream* os) { *os << kernel.name; }  // for GoogleTest's messages

}  // namespace as_written
