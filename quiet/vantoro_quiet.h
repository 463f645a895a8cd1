// SPDX-License-Identifier: Apache-2.0
// The second arithmetic: the law of the documented blocks in exact arithmetic, but not in every rounding. It is quieter
// and faster, and what a host has to know of a block stays as it is: the record, the vector, the state.
//
//   VantoroQuiet* quiet = Vantoro_quiet_create(blk);  // at any time; goes on from the block's state
//   Vantoro_quiet_process(quiet, in, out);            // instead of BlockAlgo_process
//   Vantoro_quiet_destroy(quiet);                     // the block stays
//
// At the edges of every block of samples the record's state means the same in both arithmetics, so that
// BlockAlgo_process may take over between two calls, and give back. Outputs do not depend on the number of channels and
// are the same on every machine. Needs libvantoro, libc and libm.
#ifndef VANTORO_QUIET_VANTORO_QUIET_H
#define VANTORO_QUIET_VANTORO_QUIET_H

#include <vantoro/common/block_types.h>

LBX_BEGIN_C

typedef struct VantoroQuiet VantoroQuiet;

// 1 where a type (_QV_TYPE) has a quiet form, else 0.
int Vantoro_quiet_takes(int type);

// Null for a type that is not taken, and when memory is short. The block must outlive the handle; it has one at a time.
VantoroQuiet* Vantoro_quiet_create(BlockAlgo* blk);

// After a parameter set that changed how many bands, sections or taps there are. Until then process runs the documented
// arithmetic. Coefficients, flags and states that a host changes need no call. Without one, as many new taps of a long
// FIR filter as before hold little by little: the first at once, all after a sample for every eight. RT_OK, or
// RT_ERR_MALLOC and nothing done.
int Vantoro_quiet_prepare(VantoroQuiet* quiet);

// One block of audio, with the buffers' rules of BlockAlgo_process. For the audio thread: allocates nothing. After
// BlockAlgo_process a long FIR filter first hears its past once more: as many samples as it has taps.
int Vantoro_quiet_process(VantoroQuiet* quiet, float** data_in, float** data_out);

// Instead of BlockAlgo_clear. For the audio thread.
int Vantoro_quiet_clear(VantoroQuiet* quiet);

void Vantoro_quiet_destroy(VantoroQuiet* quiet);  // null is ignored

LBX_END_C

#endif
