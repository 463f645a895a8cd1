// SPDX-License-Identifier: Apache-2.0
// A chain whose inner pins are read, without cutting it, where each piece would wait for its own recursion. Of one
// channel or two, lanes are its sections, and what each of them puts out is kept for the pins between; of more, lanes
// are channels, and pins are written on the way. So for as many sections of second order as one pass takes; chains with
// others are cut there.
#include <type_traits>

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

constexpr int kMostPins = 16;

struct Pass {
    lbx::Cascade cascade;
    const Pins* pins;
    int count;
    const float* const* in;
    float* const* out;
    int n;
};

// ---- lanes are sections

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

// Channels `first` and on, as many as V holds.
template <class V>
void run_skewed(const Pass& pass, int first)
{
    const lbx::Cascade& cascade = pass.cascade;
    constexpr int kRows = lbx::kLanes<V> * kMostSteps;
    alignas(32) float log[lbx::kSkewGroups<V> * kRows];
    Heard<V> lanes;
    std::fill_n(lanes.log, lbx::kSkewGroups<V>, nullptr);
    for (int k = 0; k < pass.count; ++k) {
        const int group = (cascade.idle() + pass.pins[k].section) / 4;
        lanes.log[group] = log + kRows * group;
    }
    for (int start = 0, some; start < pass.n; start += some) {
        some = pass.n - start < kTile + lbx::kShortCascade ? pass.n - start : kTile;
        for (int ch = 0, k = first; ch < lanes.kChannels; ++ch, ++k)
            lanes.set(ch, pass.in[k] + start, pass.out[k] + start, k, cascade.sections);
        lbx::repeat<lbx::kSkewGroups<V>>([&](auto k) {
            if (cascade.used() == k + 1)
                lbx::skew<lbx::SecondOrder, V, k + 1>(cascade.first(), cascade.idle(), lanes, some);
        });
        for (int k = 0; k < pass.count; ++k)
            lanes.write(pass.pins[k], first, cascade, start, some);
    }
}

// ---- lanes are channels

using Wide = std::conditional_t<lbx::kWideRegisters, f8, f4>;

struct Channels : lbx::Lanes {
    float* to[kMostPins][8];  // of each pin
};

// Sections `first` and on, and the pins after them, from pin `at` on.
template <int kDepth>
LBX_KERNEL void series(const Pass& pass, const Channels& lanes, int first, int at)
{
    using V = Wide;
    const lbx::Cascade& cascade = pass.cascade;
    const Pins* pins = pass.pins;
    lbx::SecondOrder<V> section[kDepth];
    const auto group_of = [&](int d) { return cascade.first() + (cascade.idle() + first + d) / 4; };
    const auto lane_of = [&](int d) { return (cascade.idle() + first + d) % 4; };
    const auto state_of = [&](int d) {
        return [&, words = lbx::Words{group_of(d)->state[lane_of(d)], group_of(d)->stride[lane_of(d)]}](int l) {
            return words.at(lanes.place[l]);
        };
    };
    lbx::repeat<kDepth>([&](auto d) {
        lbx::read_section(
            section[d], [&](int j) { return lbx::every<V>(group_of(d)->coeff[j][lane_of(d)]); }, state_of(d));
    });
    const auto step = [&]<int kCount>(V(&x)[kCount], auto write) LBX_INLINED {
        V y[kDepth][kCount];
        lbx::repeat<kCount>(
            [&](auto k) { lbx::repeat<kDepth>([&](auto d) { y[d][k] = x[k] = section[d].step(x[k]); }); });
        write(lanes.out, x);
        for (int pin = at; pins[pin].section < first + kDepth; ++pin) {
            V z[kCount];
            lbx::repeat<kCount>(
                [&](auto k) { z[k] = lbx::flip(y[pins[pin].section - first][k], lbx::every<V>(pins[pin].sign)); });
            write(lanes.to[pin], z);
        }
    };
    int i = 0;
    for (; i + 4 <= pass.n; i += 4) {
        V x[4];
        lbx::load_four(lanes.in, i, x);
        step(x, [i](float* const* to, V(&y)[4]) LBX_INLINED { lbx::store_four(to, i, y); });
    }
    for (; i < pass.n; ++i) {
        V x[] = {lbx::lanes_of<V>([&](int l) { return lanes.in[l][i]; })};
        step(x, [i](float* const* to, V(&y)[1])
                    LBX_INLINED { lbx::each_lane(y[0], [&](int l, float v) { to[l][i] = v; }); });
    }
    lbx::repeat<kDepth>([&](auto d) { lbx::write_state(section[d], state_of(d)); });
}

// So many channels, `first` and on; idle lanes repeat the last. A call, so that its stack is not needed for the others.
[[gnu::noinline]] void run_channels(const Pass& pass, int first, int channels)
{
    constexpr int kDepth = lbx::kSeriesDepth<Wide>;
    Channels lanes;
    for (int l = 0; l < lbx::kLanes<Wide>; ++l) {
        const int ch = first + std::min(l, channels - 1);
        lanes.set(l, pass.in[ch], pass.out[ch], ch, 0);
        for (int k = 0; k < pass.count; ++k)
            lanes.to[k][l] = pass.pins[k].to[ch];
    }
    for (int k = 0, depth, pin = 0; k < pass.cascade.sections; k += depth) {
        depth = std::min(pass.cascade.sections - k, kDepth);
        lbx::repeat<kDepth>([&](auto d) {
            if (depth == d + 1)
                series<d + 1>(pass, lanes, k, pin);
        });
        while (pass.pins[pin].section < k + depth)
            ++pin;
        std::copy_n(lanes.out, lbx::kLanes<Wide>, lanes.in);
    }
}

// In the shapes that run_cascade() takes.
void run(const Pass& pass, int channels)
{
    for (int first = 0, some; first < channels; first += some) {
        const int left = channels - first;
        if (lbx::side_by_side(left, pass.n, pass.cascade.sections)) {
            some = std::min(left, lbx::kLanes<Wide>);
            run_channels(pass, first, some);
        } else {
            some = left >= 2 && lbx::two_fit(pass.cascade) ? 2 : 1;
            (some == 2 ? run_skewed<f8> : run_skewed<f4>)(pass, first);
        }
    }
}

}  // namespace

// Runs as many nodes from `first` on as one pass takes, and returns the last. -1, and nothing was done: that is no more
// than the piece up to `end`.
int Program::run_heard(int first, int end) const
{
    if (block_size() < lbx::kShortCascade)
        return -1;
    Pins pins[kMostPins + 1];
    Sections sections;
    int last = first, count = 0;
    const auto hear = [&](const RunNode& node) {
        pins[count++] = {node.out, sections.count - 1, lbx::sign_bit(sections.negate)};
    };
    for (int n = first; n >= 0 && count + 1 < kMostPins; n = nodes_[index(n)].after) {
        const RunNode& node = nodes_[index(n)];
        if (!collect(sections, node.block))
            break;
        if (node.cut && sections.count == 0)
            return -1;
        if (node.cut)
            hear(node);
        last = n;
    }
    const RunNode &head = nodes_[index(first)], &tail = nodes_[index(last)];
    if (tail.place <= nodes_[index(end)].place)
        return -1;
    if (sections.negate)
        hear(tail);
    pins[count].section = Sections::kMost;  // none is left
    lbx::CascadeGroup group[Sections::kMost / 4];
    vgraph::run({sections.arrange(group), pins, count, head.in, tail.out, block_size()}, head.inputs);
    return last;
}

}  // namespace vgraph
