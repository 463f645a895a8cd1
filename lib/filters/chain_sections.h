// SPDX-License-Identifier: Apache-2.0
// The sections of filters in series, collected from the blocks' records into one cascade.
#pragma once

#include <algorithm>
#include <cstddef>

#include "../framework/new_block.h"
#include "../kernels/lanes.h"
#include "../kernels/section.h"
#include "first_order.h"
#include "graphical_eq.h"
#include "second_order.h"
#include "text_eq.h"

namespace lbx {
namespace {

// What filters in a block: so many bands, each with its coefficients and, for every channel, its words of state.
struct Bands {
    int count, words;
    bool negate;  // the output
};

LBX_INLINE Bands bands_of(const BlockAlgo* blk)
{
    if (blk->method_type == EN_FILTER_GRAPHICAL_EQ)
        return {core_of<GraphicalEQ_Core>(blk)->numFilter, kSosWords, false};
    if (blk->method_type == EN_FILTER_TEXTEQ)
        return {core_of<TextEQ_Core>(blk)->numFilter, kSosWords, false};
    const auto one = [](const auto* core, int words) {
        return core->enable != 0 ? Bands{1, words, core->polarity != 0} : Bands{0, words, false};
    };
    return blk->method_type == EN_FILTER_1ST ? one(core_of<FirstOrder_Core>(blk), FirstOrder<float>::kWords)
                                             : one(core_of<SecondOrder_Core>(blk), kSosWords);
}

// Equalisers switch their bands by flags of opposite meaning.
LBX_INLINE bool runs(const BlockAlgo* blk, int band)
{
    return !blk->pStateC || (blk->pStateC[band] != 0.0F) == (blk->method_type == EN_FILTER_TEXTEQ);
}

// A section whose input has the other sign gives the same with its b negated.
struct Section {
    const float* coeff;
    float* state;
    std::ptrdiff_t stride;  // of states, from channel to channel
    float sign;             // of its input: 0 or -0
};

// Four sections, lane by lane.
void lay_out(CascadeGroup& group, const Section* section)
{
    const auto lanes = [section](auto value)
                           LBX_INLINED { return lanes_of<f4>([&](int l) LBX_INLINED { return value(section[l]); }); };
    const f4 signs = lanes([](const Section& each) { return each.sign; });
    repeat<kSosCoeffs>([&](auto j) {
        const f4 four = lanes([j](const Section& each) { return each.coeff[j]; });
        store(group.coeff[j], j == 2 || j == 4 ? four : flip(four, signs));
    });
    for (int l = 0; l < 4; ++l) {
        group.state[l] = section[l].state;
        group.stride[l] = section[l].stride;
    }
}

// The sections of one pass.
class Sections {
public:
    static constexpr int kMost = 12;  // what the cascade keeps in registers

    Sections()
    {
        static constexpr float kNone[kSosCoeffs] = {};
        std::fill_n(section_, kIdle, Section{kNone, idle_state_, 0, 0});
    }

    int count = 0;
    bool negate = false;  // what the next section hears has the other sign

    // Band k of so many; one more than there were.
    LBX_INLINE void take(const BlockAlgo* blk, int bands, int k)
    {
        section_[kIdle + count++] = {blk->pState + std::ptrdiff_t{kSosCoeffs} * k,
                                     blk->pStateB + std::ptrdiff_t{kSosWords} * k, std::ptrdiff_t{kSosWords} * bands,
                                     sign_bit(negate)};
        negate = false;
    }

    LBX_INLINE Cascade arrange(CascadeGroup (&group)[kMost / 4]) const
    {
        const Cascade cascade = {group, (count + 3) / 4, count};
        const int idle = cascade.idle();
        for (int g = 0; g < cascade.capacity; ++g)
            lay_out(group[g], section_ + kIdle - idle + 4 * g);
        return cascade;
    }

private:
    static constexpr int kIdle = 3;  // lanes of the first four, at most

    float idle_state_[kSosWords] = {};
    Section section_[kIdle + kMost];
};

}  // namespace
}  // namespace lbx
