// SPDX-License-Identifier: Apache-2.0
// Sections are collected from the blocks' records, in every call: what that costs is small beside the filtering, and
// nothing has to be told when parameters change.
#include "chain.h"

#include <algorithm>

#include "../kernels/ramp.h"
#include "chain_sections.h"

using namespace lbx;

namespace {

class Chain {
public:
    Chain(const float* const* in, float* const* out, int channels, int n)
        : in_(in), out_(out), channels_(channels), n_(n)
    {}

    void add(const BlockAlgo* blk)
    {
        const Bands bands = bands_of(blk);
        if (bands.words == FirstOrder<float>::kWords) {
            if (bands.count > 0)
                run_first_order(blk);
        } else {
            for (int k = 0; k < bands.count; ++k)
                if (runs(blk, k)) {
                    if (sections_.count == Sections::kMost)
                        run();
                    sections_.take(blk, bands.count, k);
                }
        }
        sections_.negate = sections_.negate != bands.negate;
    }

    void finish()
    {
        if (sections_.count > 0 || in_ != out_)
            run();
        for (int ch = 0; ch < channels_ && sections_.negate; ++ch)
            scale(out_[ch], out_[ch], -1.0F, n_);
    }

private:
    void run_first_order(const BlockAlgo* blk)
    {
        if (sections_.count > 0)
            run();
        const float *c = blk->pState, sign = sections_.negate ? -1.0F : 1.0F,
                    coeff[] = {sign * c[0], sign * c[1], c[2]};
        run_sections<FirstOrder>(coeff, blk->pStateB, in_, out_, channels_, n_, false);
        in_ = out_;
        sections_.negate = false;
    }

    // All that were taken.
    void run()
    {
        CascadeGroup group[Sections::kMost / 4];
        const Cascade cascade = sections_.arrange(group);
        run_cascade(cascade, 0, in_, out_, channels_, n_);
        in_ = out_;
        sections_.count = 0;
    }

    const float* const* in_;
    float* const* out_;
    int channels_, n_;
    Sections sections_;
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
