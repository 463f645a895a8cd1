// SPDX-License-Identifier: Apache-2.0
// The glide of every slewed gain. Once per block a one-pole step toward the target; inside the block a straight line,
// incremented before use. The step is spread over n + 1 samples; the next block starts from `to`, not from where the
// line ended. Three pieces, not one object: a fade glides to 0, a multiplexer holds what is left, the gain that a
// control pin drives never settles.
#pragma once

#include <cmath>

#include "../framework/context.h"
#include "fast_inline.h"

namespace lbx {

struct Glide {
    float from, to;  // gain before the block, and after it
    float step;      // per sample inside the block
};

// SlewAlphaGet's factor for a slew rate and the context of a block.
inline float slew_alpha(float slew_rate, const BlockPro* pro)
{
    return slew_alpha(slew_rate, rate_of(pro), static_cast<float>(pro->nBlockSize));
}

// alpha is slew_alpha's factor, pre_div the context's sample_share.
inline Glide glide(float now, float target, float alpha, float pre_div)
{
    const float to = std::fma(now, alpha, (1.0F - alpha) * target);
    return {now, to, (to - now) * pre_div};
}

// A step too small to matter: below it the gain snaps.
inline bool still(float step) { return step < 1e-10F && step > -1e-10F; }

// The gain to start the next block from.
inline float settle(const Glide& g, float target) { return still(g.step) || g.to == g.from ? target : g.to; }

// As settle, but a step that is not a number, which an infinite gain makes, ends the glide too.
inline float settle_any(const Glide& g, float target)
{
    const bool moves = g.step >= 1e-10F || g.step <= -1e-10F;
    return moves && g.to != g.from ? g.to : target;
}

}  // namespace lbx
