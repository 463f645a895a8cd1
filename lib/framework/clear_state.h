// SPDX-License-Identifier: Apache-2.0
// What BlockAlgo_clear routes to. Each function stands in its module and gives the block the signal state that a fresh
// one with its parameters has: silence, followers and glides at their start, waveforms at their beginning. Parameters
// and what derives from them stay. None allocates or logs.
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

void adjustable_gain(BlockAlgo* blk);
void compressor(BlockAlgo* blk);
void crossfade(BlockAlgo* blk);
void crossover(BlockAlgo* blk);
void dc_blocking(BlockAlgo* blk);
void delay(BlockAlgo* blk);
void demultiplexer(BlockAlgo* blk);
void detector(BlockAlgo* blk);
void env(BlockAlgo* blk);
void fir(BlockAlgo* blk);
void first_order(BlockAlgo* blk);
void gain_envelope(BlockAlgo* blk);
void gain_slew(BlockAlgo* blk);
void graphical_eq(BlockAlgo* blk);
void hold(BlockAlgo* blk);
void limiter(BlockAlgo* blk);
void look_up(BlockAlgo* blk);
void look_up_table(BlockAlgo* blk);
void loudness(BlockAlgo* blk);
void multiplexer(BlockAlgo* blk);
void mute(BlockAlgo* blk);
void one_shot(BlockAlgo* blk);
void reverb(BlockAlgo* blk);
void second_order(BlockAlgo* blk);
void smoother(BlockAlgo* blk);
void state_variable(BlockAlgo* blk);
void sums(BlockAlgo* blk);
void text_eq(BlockAlgo* blk);
void vco(BlockAlgo* blk);

}  // namespace lbx::clear_state
