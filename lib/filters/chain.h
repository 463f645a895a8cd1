// SPDX-License-Identifier: Apache-2.0
// Filters in series run as one: where a block hears nothing but the block before it, and nobody else does, their
// sections are one cascade, two to five times faster (docs/performance.md).
//
//   BlockAlgo* blocks[] = {high_pass, eq, shelf};  // each with as many channels and the same block size
//   Vantoro_chain_process(blocks, 3, in, out);     // instead of three calls of BlockAlgo_process
//
// The outputs, and the states that the blocks have afterwards, are those of the calls one by one, to the last bit (of
// NaN, but for its sign). What is between the blocks is written nowhere. Nothing is kept from call to call: parameters
// may be set, blocks cleared, and chains made longer, shorter or left out at any time between two calls.
#ifndef VANTORO_FILTERS_CHAIN_H
#define VANTORO_FILTERS_CHAIN_H

#include "../common/block_types.h"

LBX_BEGIN_C

// 1 when a block can be part of a chain, else 0: EN_FILTER_1ST, all of second_order.h, EN_FILTER_TEXTEQ and
// EN_FILTER_GRAPHICAL_EQ.
int Vantoro_chain_takes(const BlockAlgo* blk);

// One block of samples through `count` blocks. Output pins may be the inputs' buffers, each its own channel's. RT_OK;
// RT_ERR_VALUE, and nothing was done, for no blocks, for one that Vantoro_chain_takes refuses, and for other numbers of
// channels or samples than the first one's.
int Vantoro_chain_process(BlockAlgo* const* blocks, int count, float** data_in, float** data_out);

// 0 when the state of a block that Vantoro_chain_takes holds a number that is not finite, else 1. A section that takes
// one in or puts one out has it in its state from then on, until it is cleared or set: so the block of a chain where a
// fault began can be found.
int Vantoro_chain_finite(const BlockAlgo* blk);

LBX_END_C

#endif
