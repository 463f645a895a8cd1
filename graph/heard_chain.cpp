// SPDX-License-Identifier: Apache-2.0
// A chain whose inner pins are read, without cutting it, where each piece would wait for its own recursion: lanes are
// its sections, and what each of them puts out is kept for the pins between. So for one channel or two, as many
// sections of second order as one pass takes; other chains are cut.
#include "../lib/filters/chain_sections.h"
#include "../lib/kernels/section_drivers.h"
#include "program.h"

namespace vgraph {

namespace {

using lbx::Sections, lbx::f4, lbx::f8;

std::size_t index(int n) { return static_cast<std::size_t>(n); }

// What a filter runs. False: it is not for this pass.
bool collect(Sections& sections, const BlockAlgo* block)
{
    const lbx::Bands bands = lbx::bands_of(block);
    if (bands.words != lbx::kSosWords || sections.count + bands.count > Sections::kMost)
        return false;
    for (int k = 0; k < bands.count; ++k)
        if (lbx::runs(block, k))
            sections.take(block, bands.count, k);
    sections.negate = sections.negate != bands.negate;
    return true;
}

// Pins to write, and what to.
struct Pins {
    float* const* to;
    int section;  // the last one before them
    float sign;   // 0 or -0
};

constexpr int kTile = 64;  // samples at a time; fewer than kShortCascade more are not worth another
constexpr int kMostSteps = kTile + lbx::kShortCascade + Sections::kMost;

template <class V>
struct Heard : lbx::Lanes {
    static constexpr int kLanes = lbx::kLanes<V>, kChannels = kLanes / 4;
    float* log[lbx::kSkewGroups<V>];  // of each group, step by step. Null: no pin needs it

    template <int kGroups>
    LBX_INLINE void heard(const V (&y)[kGroups], int i) const
    {
        lbx::repeat<kGroups>([&](auto g) {
            if (log[g])
                lbx::store(log[g] + kLanes * i, y[g]);
        });
    }

    // Lane l of each half of four rows, as four samples of each.
    template <int l>
    LBX_INLINE static V four(const float* row)
    {
        constexpr int k = l / 2 * 2, j = l % 2 * 2;
        const auto pair = [&](int i) LBX_INLINED {
            return lbx::mix<k, k + 4, k + 1, k + 5>(lbx::load<V>(row + kLanes * i),
                                                    lbx::load<V>(row + kLanes * (i + 1)));
        };
        return lbx::mix<j, j + 1, j + 4, j + 5>(pair(0), pair(2));
    }

    // A lane is as many samples behind as there are before it.
    void write(const Pins& pins, int channel, const lbx::Cascade& cascade, int start, int n) const
    {
        const int lane = cascade.idle() + pins.section;
        const float* row = log[lane / 4] + kLanes * pins.section;
        float* const* to = pins.to + channel;
        lbx::repeat<4>([&](auto l) {
            for (int i = 0; lane % 4 == l && i + 4 <= n; i += 4)
                lbx::each_half(lbx::flip(four<l>(row + kLanes * i), lbx::every<V>(pins.sign)),
                               [&](int ch, f4 samples) LBX_INLINED { lbx::store(to[ch] + start + i, samples); });
        });
        for (int i = n / 4 * 4; i < n; ++i)
            for (int ch = 0; ch < kChannels; ++ch)
                to[ch][start + i] = lbx::flip(row[kLanes * i + lane % 4 + 4 * ch], pins.sign);
    }
};

template <class V>
void run_lanes(const lbx::Cascade& cascade, const Pins* pins, int count, const float* const* in, float* const* out,
               int channels, int n)
{
    constexpr int kRows = lbx::kLanes<V> * kMostSteps;
    alignas(32) float log[lbx::kSkewGroups<V> * kRows];
    Heard<V> lanes;
    std::fill_n(lanes.log, lbx::kSkewGroups<V>, nullptr);
    for (int k = 0; k < count; ++k) {
        const int group = (cascade.idle() + pins[k].section) / 4;
        lanes.log[group] = log + kRows * group;
    }
    for (int first = 0; first < channels; first += lanes.kChannels)
        for (int start = 0, some; start < n; start += some) {
            some = n - start < kTile + lbx::kShortCascade ? n - start : kTile;
            for (int ch = 0, k = first; ch < lanes.kChannels; ++ch, ++k)
                lanes.set(ch, in[k] + start, out[k] + start, k, cascade.sections);
            lbx::repeat<lbx::kSkewGroups<V>>([&](auto k) {
                if (cascade.used() == k + 1)
                    lbx::skew<lbx::SecondOrder, V, k + 1>(cascade.first(), cascade.idle(), lanes, some);
            });
            for (int k = 0; k < count; ++k)
                lanes.write(pins[k], first, cascade, start, some);
        }
}

}  // namespace

// Runs as many nodes from `first` on as one pass takes, and returns the last. -1, and nothing was done: that is no more
// than the piece up to `end`.
int Program::run_heard(int first, int end) const
{
    const int channels = nodes_[index(first)].inputs;
    if (channels > 2 || block_size() < lbx::kShortCascade)
        return -1;
    constexpr int kMost = 16;
    Pins pins[kMost];
    Sections sections;
    int last = first, count = 0;
    const auto hear = [&](const RunNode& node) {
        pins[count++] = {node.out, sections.count - 1, lbx::sign_bit(sections.negate)};
    };
    for (int n = first; n >= 0 && count + 1 < kMost; n = nodes_[index(n)].after) {
        const RunNode& node = nodes_[index(n)];
        if (!collect(sections, node.block))
            break;
        if (node.cut && sections.count == 0)
            return -1;
        if (node.cut)
            hear(node);
        last = n;
    }
    if (nodes_[index(last)].place <= nodes_[index(end)].place)
        return -1;
    if (sections.negate)
        hear(nodes_[index(last)]);
    lbx::CascadeGroup group[Sections::kMost / 4];
    const lbx::Cascade cascade = sections.arrange(group);
    const bool together = channels == 2 && cascade.used() <= lbx::kSkewGroups<f8>;
    (together ? run_lanes<f8> : run_lanes<f4>)(cascade, pins, count, nodes_[index(first)].in, nodes_[index(last)].out,
                                               channels, block_size());
    return last;
}

}  // namespace vgraph
