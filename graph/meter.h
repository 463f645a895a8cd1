// SPDX-License-Identifier: Apache-2.0
// Peaks and mean squares of every signal of a program, from the audio thread to the control thread. Two banks: one is
// added to, the other is read; the audio thread changes them over when it is asked.
#pragma once

#include <atomic>

#include "../lib/framework/owned.h"
#include "vantoro_graph.h"

namespace vgraph {

inline constexpr int kLanes = 8;

// One signal: eight running maxima and sums of squares, folded by the reader.
struct alignas(64) Lanes {
    float peak[kLanes], sum[kLanes];
};

class Meters {
public:
    [[nodiscard]] bool reserve(int signals);

    // Audio thread. turn() begins a block, then comes add() for signals from `first` on; carry() takes over what `old`
    // has not handed out of a signal.
    void turn();
    void add(int first, const float* const* signals, int count, int n);
    void carry(int to, const Meters& old, int from);

    // Control thread: what was added until the last change of banks, and asks for the next. How many blocks that were.
    long take(VantoroGraphMeter* meters, int count, int block);

private:
    owned::Array<Lanes> banks_[2];
    long blocks_[2] = {};
    int signals_ = 0;
    unsigned now_ = 0;                // audio thread: the bank that is added to
    std::atomic<unsigned> asked_{0};  // changes of banks
    std::atomic<unsigned> changed_{0};
};

}  // namespace vgraph
