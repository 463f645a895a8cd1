// SPDX-License-Identifier: Apache-2.0
// Two drivers carry sections of second order over a block of samples:
//   series   lanes are channels, or bands of channels; each runs through up to four sections
//   skew     lanes are the sections of one channel (two in an f8), each one sample later than the one before
// State is in registers while a block runs, and exact after every block. Section is the recursion: SecondOrder, or one
// that steps in another way with up to kStepCoeffs coefficients and as many words.
//
// For the one file of a library that runs them: without linkage, what is called once costs no function of its own.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <type_traits>

#include "recursion.h"
#include "section.h"

namespace lbx {
namespace {

// What fits the registers. Arm has twice as many, but its operands are in registers only.
template <class V>
constexpr int kSeriesDepth = kWideRegisters ? 4 : (kLanes<V> == 4 ? 3 : 1);
template <class V>
constexpr int kSkewGroups = kWideRegisters || kLanes<V> == 4 ? 3 : 2;
constexpr int kShortCascade = 12;  // samples of one channel; below, filling the lanes costs more than they save

// ---- series

// Up to eight lanes. An idle one repeats its neighbour in everything, so that it reads and writes what is there anyway.
struct Lanes {
    const float* in[8];
    float* out[8];
    std::ptrdiff_t place[8];  // in what a section keeps for all lanes
    int sections[8];

    void set(int l, const float* x, float* y, std::ptrdiff_t at, int count)
    {
        in[l] = x;
        out[l] = y;
        place[l] = at;
        sections[l] = count;
    }

    // What all lanes of skew() put out in step i, for those who want more than the last one's. Nobody does here.
    template <class V, int kGroups>
    LBX_INLINE void heard(const V (&)[kGroups], int) const
    {}
};

// Where a section's states are: those of a lane are place * stride from the first.
struct Words {
    float* first;
    std::ptrdiff_t stride;

    float* at(std::ptrdiff_t place) const { return first + stride * place; }
};

// The two words of a state stand side by side and go as one, for two lanes into a register.
using Pair [[gnu::vector_size(kSosWords * sizeof(float))]] = float;
using Pairs [[gnu::vector_size(2 * sizeof(Pair))]] = double;
LBX_INLINE double pair_at(const float* p) { return std::bit_cast<double>(load<Pair>(p)); }
LBX_INLINE void store_pair(float* p, double pair) { store(p, std::bit_cast<Pair>(pair)); }

// Fills a section: coeff(j) is its coefficient j, where(l) the first word of lane l's state.
template <template <class> class Section, class V, class Coeff, class Where>
LBX_INLINE void read_section(Section<V>& section, Coeff coeff, Where where)
{
    repeat<Section<V>::kCoeffs>([&](auto j) { section.coeff[j] = coeff(j); });
    const auto two = [&](int l) LBX_INLINED {
        return reinterpret_cast<f4>(Pairs{pair_at(where(l)), pair_at(where(l + 1))});
    };
    const V low = of_halves<V>([&](int h) LBX_INLINED { return two(4 * h); });
    const V high = of_halves<V>([&](int h) LBX_INLINED { return two(4 * h + 2); });
    section.state[0] = mix<0, 2, 4, 6>(low, high);
    section.state[1] = mix<1, 3, 5, 7>(low, high);
}
template <template <class> class Section, class V, class Where>
LBX_INLINE void write_state(const Section<V>& section, Where where)
{
    const auto two = [&](int l, f4 v) LBX_INLINED {
        store_pair(where(l), reinterpret_cast<Pairs>(v)[0]);
        store_pair(where(l + 1), reinterpret_cast<Pairs>(v)[1]);
    };
    const auto& [first, second] = section.state;
    const V low = mix<0, 4, 1, 5>(first, second), high = mix<2, 6, 3, 7>(first, second);
    each_half(low, [&](int h, f4 v) LBX_INLINED { two(4 * h, v); });
    each_half(high, [&](int h, f4 v) LBX_INLINED { two(4 * h + 2, v); });
}

// Lanes `at` and up. Whole: all run through all sections.
template <template <class> class Section, class V, int kDepth, bool kWhole>
LBX_KERNEL void series(const Stage* stage, const Words* words, const Lanes& lanes, int at, f4 signs, int n)
{
    Section<V> section[kDepth];
    V live[kDepth];  // lanes whose chain is that long
    const auto lengths = load<i4>(lanes.sections + at);
    float nowhere[kSosWords] = {};
    const auto state_of = [&](int d) {
        return
            [&, d](int l) { return kWhole || d < lanes.sections[at + l] ? words[d].at(lanes.place[at + l]) : nowhere; };
    };
    repeat<kDepth>([&](auto d) {
        read_section(
            section[d], [&](int j) { return every<V>(stage[d].coeff[j]); }, state_of(d));
        live[d] = every<V>(mask_of(lengths > d()));
    });
    each_sample<V>(lanes.in + at, lanes.out + at, n, [&](V x, int) {
        repeat<kDepth>([&](auto d) {
            const V y = section[d].step(x);
            x = kWhole ? y : select(live[d], y, x);
        });
        return flip(x, every<V>(signs));
    });
    repeat<kDepth>([&](auto d) { write_state(section[d], state_of(d)); });
}

constexpr int kMaxDepth = kSeriesDepth<f4>;
constexpr int kMixedDepth = kWideRegisters ? kMaxDepth : 2;  // where lanes differ

// `count` lanes, each through all of its sections, the longest through `sections`; stages(k, depth) are `depth` of them
// from k on, words_of(k) the states of one.
template <template <class> class Section, class Stages, class States>
void chains(Lanes& lanes, int count, int sections, f4 signs, int n, Stages stages, States words_of)
{
    Words words[kMaxDepth];
    const int width = packet_width(count);
    const int shortest = *std::min_element(lanes.sections, lanes.sections + width);
    const int most = shortest == sections ? kMaxDepth : kMixedDepth;
    for (int k = 0, depth; k < sections; k += depth) {
        depth = std::min(sections - k, most);
        const Stage* stage = stages(k, depth);
        const bool whole = k + depth <= shortest;
        const f4 now = k + depth == sections ? signs : f4{};
        for (int d = 0; d < depth; ++d)
            words[d] = words_of(k + d);
        const auto run = [&]<class V>(V, int at) {
            repeat<kSeriesDepth<V>>([&](auto d) {
                if (depth == d + 1)
                    (whole ? series<Section, V, d + 1, true> : series<Section, V, d + 1, false>)(stage, words, lanes,
                                                                                                 at, now, n);
            });
        };
        if (width == 8 && depth <= kSeriesDepth<f8>)
            run(f8{}, 0);
        else
            for (int at = 0; at < width; at += 4)
                run(f4{}, at);
        for (int l = 0; l < width; ++l) {
            lanes.in[l] = lanes.out[l];
            lanes.sections[l] -= depth;
        }
    }
}

// ---- skew

// Read from word 15 - k on: four lanes of which those up to k are set.
constexpr int kSteps[32] = {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1};

// Groups of four sections of one channel, or of two; n > 4 kGroups.
template <template <class> class Section, class V, int kGroups, class Channel>
LBX_KERNEL void skew(const CascadeGroup* group, int idle, const Channel& channel, int n)
{
    const int delay = 4 * kGroups - idle - 1;  // from the first lane to the last
    const V entry = every<V>(mask_of(i4{0, 1, 2, 3} == idle));
    Section<V> section[kGroups];
    V y[kGroups] = {};
    const auto state_of = [&](int g) {
        return [&, g](int l) { return Words{group[g].state[l % 4], group[g].stride[l % 4]}.at(channel.place[l / 4]); };
    };
    repeat<kGroups>([&](auto g) {
        read_section(
            section[g], [&](int j) { return every<V>(load<f4>(group[g].coeff[j])); }, state_of(g));
    });
    // Every lane takes over what the one before put out, and the first takes in sample i.
    const auto advance = [&](int i) {
        repeat<kGroups - 1>([&](auto k) { y[kGroups - 1 - k] = shift_in(y[kGroups - 2 - k], y[kGroups - 1 - k]); });
        const V fresh = of_halves<V>([&](int h) { return every<f4>(channel.in[h][i]); });
        y[0] = select(entry, fresh, shift_in(y[0], y[0]));
    };
    const auto write = [&](int i) { each_half(y[kGroups - 1], [&](int h, f4 v) { channel.out[h][i] = v[3]; }); };
    // While the lanes fill, and while they drain, some have no sample of this block: their state stays.
    const auto partial_step = [&](int i, int reached, auto filling) {
        advance(i);
        repeat<kGroups>([&](auto g) {
            Section<V> next = section[g];
            y[g] = next.step(y[g]);
            const V mask = every<V>(mask_of(load<i4>(kSteps + 15 - (reached + idle - 4 * g))));
            repeat<kSosWords>([&](auto j) {
                const V now = section[g].state[j];
                section[g].state[j] = filling ? select(mask, next.state[j], now) : select(mask, now, next.state[j]);
            });
        });
        channel.heard(y, filling ? reached : n + reached);
    };
    for (int i = 0; i < delay; ++i)
        partial_step(i, i, std::true_type{});
    for (int i = delay; i < n; ++i) {
        advance(i);
        repeat<kGroups>([&](auto g) { y[g] = section[g].step(y[g]); });
        write(i - delay);
        channel.heard(y, i);
    }
    for (int k = 0; k < delay; ++k) {
        partial_step(n - 1, k, std::false_type{});
        write(n - delay + k);
    }
    repeat<kGroups>([&](auto g) { write_state(section[g], state_of(g)); });
}

// All groups of a cascade, for the one channel or the two of V.
template <template <class> class Section, class V>
void skew(const Cascade& cascade, Lanes& channel, int n)
{
    const CascadeGroup* group = cascade.first();
    int idle = cascade.idle();
    for (int left = cascade.used(), some; left > 0; left -= some, group += some, idle = 0) {
        some = std::min(left, kSkewGroups<V>);
        repeat<kSkewGroups<V>>([&](auto k) {
            if (some == k + 1)
                skew<Section, V, k + 1>(group, idle, channel, n);
        });
        channel.in[0] = channel.out[0];
        channel.in[1] = channel.out[1];
    }
}

// Whether the lanes of a cascade are channels, not its sections.
constexpr bool side_by_side(int channels, int n, int sections)
{
    return channels >= 5 || n < kShortCascade || (channels >= 3 && sections <= kMaxDepth);
}
// Whether two channels go through skew() together: three groups fit no f8 on Arm.
inline bool two_fit(const Cascade& cascade) { return kWideRegisters || cascade.used() != 3; }

// As run_cascade(), which see.
template <template <class> class Section>
void drive_cascade(const Cascade& cascade, int first, const float* const* in, float* const* out, int channels, int n)
{
    const int sections = cascade.sections;
    Stage stage[kMaxDepth];
    const auto group_of = [&](int k) { return cascade.first() + (cascade.idle() + k) / 4; };
    const auto lane_of = [&](int k) { return (cascade.idle() + k) % 4; };
    const auto stages = [&](int k, int depth) {
        for (int d = 0; d < depth; ++d)
            for (int j = 0; j < Section<float>::kCoeffs; ++j)
                stage[d].coeff[j] = every<f4>(group_of(k + d)->coeff[j][lane_of(k + d)]);
        return stage;
    };
    const auto words_of = [&](int k) { return Words{group_of(k)->state[lane_of(k)], group_of(k)->stride[lane_of(k)]}; };
    for (int c = 0, some; c < channels; c += some) {
        some = std::min(channels - c, 8);
        Lanes lanes;
        for (int l = 0; l < packet_width(some); ++l) {
            const int k = c + std::min(l, some - 1);
            lanes.set(l, in[k], out[k], first + k, sections);
        }
        if (sections == 0) {
            some = 1;
            std::copy_n(in[c], n, out[c]);
        } else if (side_by_side(some, n, sections)) {
            chains<Section>(lanes, some, sections, f4{}, n, stages, words_of);
        } else if (some >= 2 && two_fit(cascade)) {
            some = 2;
            skew<Section, f8>(cascade, lanes, n);
        } else {
            some = 1;
            skew<Section, f4>(cascade, lanes, n);
        }
    }
}

// As run_split(), which see: lanes are bands of channels.
template <template <class> class Section>
void drive_split(const Split& split, float* state, const float* const* in, float* const* out, int channels, int n,
                 float* scratch)
{
    const int width = split.lanes_per_channel(), most = split.channel_of(8);
    for (int start = 0; start < n; start += kSplitTile) {
        const int tile = std::min(kSplitTile, n - start);
        for (int c = 0; c < channels; ++c)
            std::copy_n(in[c] + start, tile, scratch + kSplitTile * c);
        for (int first = 0; first < channels; first += most) {
            const int some = std::min(channels - first, most);
            Lanes lanes;
            for (int l = 0; l < packet_width(width * some); ++l) {
                const int c = first + std::min(split.channel_of(l), some - 1), b = split.band_of(l);
                lanes.set(l, scratch + kSplitTile * c, out[split.bands * c + b] + start,
                          std::ptrdiff_t{kSosWords} * (split.sections * c + split.first[b]), split.band[b].sections);
            }
            chains<Section>(
                lanes, width * some, split.depth, split.signs, tile, [&](int k, int) { return split.stage + k; },
                [&](int k) {
                    return Words{state + kSosWords * k, 1};
                });
        }
    }
}

}  // namespace
}  // namespace lbx
