// SPDX-License-Identifier: Apache-2.0
// The recursion: every first- and second-order section of the library runs through these lines.
//
// Coefficients are in FILTER_COEFF order (b0, b1, a1, b2, a2; a0 = 1; a1 and a2 as in the denominator), state is two
// words per section (one for first order) in transposed direct form II. The feedback product is the fused one.
//
// The run_ functions filter whole blocks of planar pins. They give the bits of filter() called sample by sample, for
// every block size and however a signal is cut into blocks. out[c] may be in[c]; other buffers must not overlap, but
// for run_split. What they run through is arranged when parameters change (section_setup.cpp).
#pragma once

#include <algorithm>
#include <cstddef>

#include "lanes.h"

namespace lbx {

// V: one float, or lanes.
template <class V>
struct SecondOrder {
    static constexpr int kCoeffs = 5, kWords = 2;
    V coeff[kCoeffs];
    V state[kWords];

    LBX_INLINE V step(V x)
    {
        const auto& [b0, b1, a1, b2, a2] = coeff;
        auto& [s1, s2] = state;
        // Both feedback products before the sum: Arm's multiply-add overwrites its addend, and any other order costs a
        // register copy inside the recursion.
        const V y = mul_add(b0, x, s1);
        s1 = mul_sub(a1, y, b1 * x);
        const V last = s2;
        s2 = mul_sub(a2, y, b2 * x);
        s1 = s1 + last;
        return y;
    }
};

template <class V>
struct FirstOrder {
    static constexpr int kCoeffs = 3, kWords = 1;
    V coeff[kCoeffs];
    V state[kWords];

    LBX_INLINE V step(V x)
    {
        const auto& [b0, b1, a1] = coeff;
        auto& [s] = state;
        const V y = mul_add(b0, x, s);
        s = mul_sub(a1, y, b1 * x);
        return y;
    }
};

// The floats of a second-order section: where many stand in one array.
inline constexpr int kSosCoeffs = SecondOrder<float>::kCoeffs, kSosWords = SecondOrder<float>::kWords;
inline constexpr int kStepCoeffs = 6;  // of any recursion that the drivers run (section_drivers.h)

// A section with the same coefficients in all lanes.
template <template <class> class Section, class V>
LBX_INLINE Section<V> section_of(const float* coeff)
{
    Section<V> section = {};
    repeat<Section<V>::kCoeffs>([&](auto j) { section.coeff[j] = every<V>(coeff[j]); });
    return section;
}

// One sample of a section whose state is elsewhere.
template <template <class> class Section, class V>
LBX_INLINE V filter(Section<V> section, V* state, V x)
{
    repeat<Section<V>::kWords>([&](auto w) { section.state[w] = state[w]; });
    const V y = section.step(x);
    repeat<Section<V>::kWords>([&](auto w) { state[w] = section.state[w]; });
    return y;
}

// What flip() takes to negate, or not.
inline float sign_bit(bool negate) { return negate ? -0.0F : 0.0F; }

// One section, SecondOrder or FirstOrder, for all channels; channel c has state[kWords * c] and the next words.
// `negate` flips the sign of the outputs only: the state carries the plain y.
template <template <class> class Section>
void run_sections(const float* coeff, float* state, const float* const* in, float* const* out, int channels, int n,
                  bool negate);

// Two sections on the same inputs, cross-faded: each sample adds `step` to `gain` (before use; the same for every
// channel) and writes gain * y_old + (1 - gain) * y_new. State as in run_sections, one array per section.
struct Curve {
    const float* coeff;
    float* state;
};
void run_fade(const Curve& from, const Curve& to, float gain, float step, const float* const* in, float* const* out,
              int channels, int n);

// Sections one after another, the same for every channel. A section that is switched off costs nothing;
// zero-initialised the cascade is an identity.
struct CascadeGroup {  // four sections in lanes
    float coeff[kStepCoeffs][4];
    float* state[4];           // of the first channel: kSosWords
    std::ptrdiff_t stride[4];  // from there to the next channel's
};
struct Cascade {
    CascadeGroup* groups;  // owned; used from the end on, so that all but the first in use are full
    int capacity;          // of groups
    int sections;

    int used() const { return (sections + 3) / 4; }
    int idle() const { return 4 * used() - sections; }  // lanes of the first group in use
    const CascadeGroup* first() const { return groups + capacity - used(); }
};
[[nodiscard]] bool reserve(Cascade& cascade, int sections);  // room for arrange(); false: no memory, nothing changed
void release(Cascade& cascade);
// A section before the others. The lanes before it are idle until the next one comes; they share its state.
template <int kCoeffs = kSosCoeffs>
[[gnu::cold, gnu::noinline]] void put_first(Cascade& cascade, const float* coeff, float* state, std::ptrdiff_t stride)
{
    ++cascade.sections;
    CascadeGroup& group = cascade.groups[cascade.capacity - cascade.used()];
    const int own = cascade.idle();
    for (int l = 0; l <= own; ++l) {
        for (int j = 0; j < kCoeffs; ++j)
            group.coeff[j][l] = l == own ? coeff[j] : 0.0F;
        group.state[l] = state;
        group.stride[l] = stride;
    }
}

// Takes the bands of `coeff` (kCoeffs floats each) that `active(band)` selects; reserve() made room for all of them.
// Channel c's state begins at state[stride * c], with kSosWords for each band, active or not; without channels there is
// none, and nothing to arrange.
template <int kCoeffs = kSosCoeffs, class Active>
void arrange(Cascade& cascade, const float* coeff, float* state, std::ptrdiff_t stride, int bands, Active active)
{
    cascade.sections = 0;
    for (std::ptrdiff_t k = state ? bands - 1 : -1; k >= 0; --k)
        if (active(k))
            put_first<kCoeffs>(cascade, coeff + kCoeffs * k, state + kSosWords * k, stride);
}

// Channels `first` and on; in[0] is the first of them.
void run_cascade(const Cascade& cascade, int first, const float* const* in, float* const* out, int channels, int n);

// Sections side by side on one input, for meters: sums[k] becomes the sum of squares of band k's output over the block,
// fma(y, y, sum) from 0 in sample order. Band k has state[2k] and the next word. Sums and state have room for kLanes
// bands; past the bands in use sums are scratch, and the state stays.
struct Bank {
    static constexpr int kMaxBands = 10, kLanes = 16;
    int bands;
    float coeff[2][kSosCoeffs][8];  // lane by lane
};
void set_bank(Bank& bank, const float* coeff, int bands);  // kSosCoeffs floats per band
void run_bank(const Bank& bank, float* state, const float* in, int n, float* sums);

// One step of chains that run side by side: the coefficients of four lanes (the next four have the same).
struct Stage {
    f4 coeff[kStepCoeffs];
};

// Every channel split into bands, each a chain of sections. Channel c has the state of band 0's sections, then band
// 1's, and so on; its bands go to out[bands * c + band].
struct SplitBand {
    int sections;  // 1 .. kMaxSections
    bool negate;   // flips the sign of this output only
};
struct Split {
    static constexpr int kMaxBands = 3, kMaxSections = 8;
    int bands;
    int depth;     // sections of the longest band
    int sections;  // of all bands
    SplitBand band[kMaxBands];
    int first[kMaxBands];  // each band's first section
    Stage stage[kMaxSections];
    f4 signs;

    // A channel takes as many lanes as it has bands, or four for three: shifts, because dividing takes longer than a
    // lane.
    int lanes_per_channel() const { return 1 << (bands - 1); }
    int channel_of(int lane) const { return lane >> (bands - 1); }
    int band_of(int lane) const { return std::min(lane & (lanes_per_channel() - 1), bands - 1); }
};
// kCoeffs floats per section.
template <int kCoeffs = kSosCoeffs>
[[gnu::cold, gnu::noinline]] void set_split(Split& split, const float* coeff, const SplitBand* band, int bands)
{
    split = Split();
    split.bands = bands;
    for (int b = 0; b < bands; ++b) {
        split.band[b] = band[b];
        split.first[b] = split.sections;
        split.sections += band[b].sections;
        split.depth = std::max(split.depth, band[b].sections);
    }
    for (int l = 0; l < 4; ++l) {
        const int b = split.band_of(l);
        split.signs[l] = sign_bit(band[b].negate);
        for (int k = 0; k < band[b].sections; ++k)
            for (int j = 0; j < kCoeffs; ++j)
                split.stage[k].coeff[j][l] = coeff[kCoeffs * (split.first[b] + k) + j];
    }
}

// `scratch`: kSplitTile floats per channel, for a copy of the inputs. Outputs may share buffers with inputs in any way.
constexpr int kSplitTile = 64;
void run_split(const Split& split, float* state, const float* const* in, float* const* out, int channels, int n,
               float* scratch);

}  // namespace lbx
