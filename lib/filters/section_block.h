// SPDX-License-Identifier: Apache-2.0
// What the blocks of one section per channel have in common. Their records and the first two entries of their vectors
// agree: enable, polarity.
#pragma once

#include <algorithm>
#include <span>

#include "../framework/context.h"
#include "../framework/info.h"
#include "../framework/new_block.h"
#include "../framework/params.h"
#include "../kernels/ramp.h"
#include "../kernels/section.h"

namespace lbx {

using RunSection = void (*)(const float* coeff, float* state, const float* const* in, float* const* out, int channels,
                            int n, bool negate);

inline void copy_pins(const float* const* in, float* const* out, int channels, int n)
{
    for (int ch = 0; ch < channels; ++ch)
        copy(in[ch], out[ch], n);
}

// Filters `channels` pins with the state words at `state`. Switched off, the block copies and keeps its state.
template <class Core>
void run_section_block(const Core* core, RunSection run, float* state, const float* const* in, float* const* out,
                       int channels, int n)
{
    if (core->enable == 0)
        copy_pins(in, out, channels, n);
    else
        run(core->coeffArray, state, in, out, channels, n, core->polarity != 0);
}

// The linear model. Switched off, the block copies, whatever the polarity; otherwise `tell` adds its section.
template <class Core, class Tell>
void each_section_path(const Core* core, int channels, const info::Paths& paths, Tell&& tell)
{
    for (int ch = 0; ch < channels; ++ch) {
        paths.path(ch, ch, core->enable != 0 && core->polarity != 0 ? -1 : 1);
        if (core->enable != 0)
            tell();
    }
}

// The record of a new block: enabled, not inverted, silent. Null when memory is short.
template <class Core>
[[nodiscard]] Core* new_section_core(NewBlock& blk, std::span<const float> defaults, int coeffs,
                                     std::ptrdiff_t state_words)
{
    auto* core = new_core<Core>(blk);
    if (!core || !zeros(blk->pParam, std::ssize(defaults)) || !zeros(blk->pState, coeffs) ||
        !zeros(blk->pStateB, state_words))
        return nullptr;
    std::ranges::copy(defaults, blk->pParam);
    core->enable = 1;
    core->coeffArray = blk->pState;
    core->stateBuffer = blk->pStateB;
    return core;
}

template <class Core>
void silence_section(Core* core, std::ptrdiff_t state_words)
{
    std::fill_n(core->stateBuffer, std::max(state_words, std::ptrdiff_t{0}), 0.0F);
}

// Takes the flags from the vector and starts again from silence.
template <class Core>
void restart_section(const BlockAlgo* blk, Core* core, std::ptrdiff_t state_words)
{
    core->enable = to_int(blk->pParam[0]);
    core->polarity = to_int(blk->pParam[1]);
    silence_section(core, state_words);
}

// A new block designs for the rate rounded to single precision.
inline int rounded_rate(const BlockPro* pro) { return to_int(rate_of(pro)); }

}  // namespace lbx
