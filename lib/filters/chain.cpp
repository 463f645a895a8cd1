// SPDX-License-Identifier: Apache-2.0
// Sections are collected from the blocks' records, in every call: what that costs is small beside the filtering, and
// nothing has to be told when parameters change.
#include "chain.h"

#include <algorithm>

#include "../framework/new_block.h"
#include "../kernels/lanes.h"
#include "../kernels/ramp.h"
#include "../kernels/section.h"
#include "first_order.h"
#include "graphical_eq.h"
#include "second_order.h"
#include "text_eq.h"

using namespace lbx;

namespace {

constexpr int kMost = 12;  // sections in one pass: what the cascade keeps in registers
constexpr int kIdle = 3;   // lanes of the first four, at most

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

class Chain {
public:
    Chain(const float* const* in, float* const* out, int channels, int n)
        : in_(in), out_(out), channels_(channels), n_(n)
    {
        static constexpr float kNone[kSosCoeffs] = {};
        std::fill_n(section_, kIdle, Section{kNone, idle_state_, 0, 0});
    }

    void add(const BlockAlgo* blk)
    {
        const Bands bands = bands_of(blk);
        if (bands.words == FirstOrder<float>::kWords) {
            if (bands.count > 0)
                run_first_order(blk);
        } else {
            for (int k = 0; k < bands.count; ++k)
                if (runs(blk, k))
                    take(blk, bands.count, k);
        }
        negate_ = negate_ != bands.negate;
    }

    void finish()
    {
        if (sections_ > 0 || in_ != out_)
            run();
        for (int ch = 0; ch < channels_ && negate_; ++ch)
            scale(out_[ch], out_[ch], -1.0F, n_);
    }

private:
    LBX_INLINE void take(const BlockAlgo* blk, int bands, int k)
    {
        if (sections_ == kMost)
            run();
        section_[kIdle + sections_++] = {blk->pState + std::ptrdiff_t{kSosCoeffs} * k,
                                         blk->pStateB + std::ptrdiff_t{kSosWords} * k,
                                         std::ptrdiff_t{kSosWords} * bands, sign_bit(negate_)};
        negate_ = false;
    }

    void run_first_order(const BlockAlgo* blk)
    {
        if (sections_ > 0)
            run();
        const float *c = blk->pState, sign = negate_ ? -1.0F : 1.0F, coeff[] = {sign * c[0], sign * c[1], c[2]};
        run_sections<FirstOrder>(coeff, blk->pStateB, in_, out_, channels_, n_, false);
        in_ = out_;
        negate_ = false;
    }

    // All that were taken.
    void run()
    {
        CascadeGroup group[kMost / 4];
        Cascade cascade = {group, (sections_ + 3) / 4, sections_};
        const int idle = cascade.idle();
        for (int g = 0; g < cascade.capacity; ++g)
            lay_out(group[g], section_ + kIdle - idle + 4 * g);
        run_cascade(cascade, 0, in_, out_, channels_, n_);
        in_ = out_;
        sections_ = 0;
    }

    const float* const* in_;
    float* const* out_;
    int channels_, n_;
    int sections_ = 0;
    bool negate_ = false;  // what the next section hears has the other sign
    float idle_state_[kSosWords] = {};
    Section section_[kIdle + kMost];
};

}  // namespace

int Vantoro_chain_takes(const BlockAlgo* blk)
{
    const int type = blk->method_type;
    return (type >= EN_FILTER_1ST && type <= EN_FILTER_NONBARE) || type == EN_FILTER_GRAPHICAL_EQ;
}

int Vantoro_chain_process(BlockAlgo* const* blocks, int count, float** data_in, float** data_out)
{
    if (count < 1)
        return RT_ERR_VALUE;
    const int channels = blocks[0]->nInputs, n = blocks[0]->block_pro->nBlockSize;
    for (int k = 0; k < count; ++k)
        if (Vantoro_chain_takes(blocks[k]) == 0 || blocks[k]->nInputs != channels ||
            blocks[k]->block_pro->nBlockSize != n)
            return RT_ERR_VALUE;
    if (n < 1)
        return RT_OK;
    Chain chain(data_in, data_out, channels, n);
    for (int k = 0; k < count; ++k)
        chain.add(blocks[k]);
    chain.finish();
    return RT_OK;
}

int Vantoro_chain_finite(const BlockAlgo* blk)
{
    const Bands bands = bands_of(blk);
    const std::ptrdiff_t words = std::ptrdiff_t{bands.words} * bands.count * blk->nInputs;
    float none = 0;  // NaN after a number that is not finite
    for (std::ptrdiff_t k = 0; k < words; ++k)
        none += 0.0F * blk->pStateB[k];
    return none == 0.0F ? 1 : 0;
}
