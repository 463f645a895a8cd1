// SPDX-License-Identifier: Apache-2.0
// What BlockAlgo_clear routes to. Each function stands in its module and gives the block the signal state that a fresh
// one with its parameters has: silence, followers and glides at their start, waveforms at their beginning. Parameters
// and what derives from them stay. None allocates or logs. Compiled for size: a clear is no kernel.
#pragma once

#include "../common/block_types.h"

namespace lbx::clear_state {

inline void nothing(BlockAlgo* /*blk*/) {}  // for a type without signal state

// A source begins again when it applies its stored parameters.
template <auto Update>
void begin_again(BlockAlgo* blk)
{
    Update(blk);
}

[[gnu::cold]] void adjustable_gain(BlockAlgo* blk);
[[gnu::cold]] void compressor(BlockAlgo* blk);
[[gnu::cold]] void crossfade(BlockAlgo* blk);
[[gnu::cold]] void crossover(BlockAlgo* blk);
[[gnu::cold]] void dc_blocking(BlockAlgo* blk);
[[gnu::cold]] void delay(BlockAlgo* blk);
[[gnu::cold]] void demultiplexer(BlockAlgo* blk);
[[gnu::cold]] void detector(BlockAlgo* blk);
[[gnu::cold]] void env(BlockAlgo* blk);
[[gnu::cold]] void fir(BlockAlgo* blk);
[[gnu::cold]] void first_order(BlockAlgo* blk);
[[gnu::cold]] void gain_envelope(BlockAlgo* blk);
[[gnu::cold]] void gain_slew(BlockAlgo* blk);
[[gnu::cold]] void graphical_eq(BlockAlgo* blk);
[[gnu::cold]] void hold(BlockAlgo* blk);
[[gnu::cold]] void limiter(BlockAlgo* blk);
[[gnu::cold]] void look_up(BlockAlgo* blk);
[[gnu::cold]] void look_up_table(BlockAlgo* blk);
[[gnu::cold]] void loudness(BlockAlgo* blk);
[[gnu::cold]] void multiplexer(BlockAlgo* blk);
[[gnu::cold]] void mute(BlockAlgo* blk);
[[gnu::cold]] void one_shot(BlockAlgo* blk);
[[gnu::cold]] void reverb(BlockAlgo* blk);
[[gnu::cold]] void second_order(BlockAlgo* blk);
[[gnu::cold]] void smoother(BlockAlgo* blk);
[[gnu::cold]] void state_variable(BlockAlgo* blk);
[[gnu::cold]] void sums(BlockAlgo* blk);
[[gnu::cold]] void text_eq(BlockAlgo* blk);
[[gnu::cold]] void vco(BlockAlgo* blk);

}  // namespace lbx::clear_state
