// SPDX-License-Identifier: Apache-2.0
// The entry points. A host makes one context, then a block per element of its graph:
//
//   BlockAlgo_init                                   allocates everything the block will ever need
//   BlockAlgo_param_reset, BlockAlgo_param_update    at the start, and between two process calls whenever it likes
//   BlockAlgo_process                                once per audio block: no allocation, no log, no lock
//   BlockAlgo_clear                                  to begin again from silence, after a NaN for instance
//   BlockAlgo_destroy                                before the context goes
//
// All calls on one block come from one thread at a time; different blocks may run on different threads. A null block is
// not checked for, except where a module says so.
#ifndef VANTORO_VANTORO_PREPROCESS_H
#define VANTORO_VANTORO_PREPROCESS_H

#include "common/block_types.h"

LBX_BEGIN_C

// Logs the version and the date and time of the build; where SOURCE_DATE_EPOCH was set for the build, those it means.
void Vantoro_version_invoke(void);

// The context of a host that passes none: 48000 Hz, 16 bits, 64 samples.
extern BlockPro g_block_pro;

// A context (BlockPro*) for the given rate in Hz, word width in bits and samples per block; null when memory is short.
// Rate and block size should be positive; nothing checks. With a block size below 1 BlockAlgo_process does nothing but
// report what it would report otherwise.
void* BlockAlgo_BlockPro_init(int nSamplingRate, int bitRate, int nBlockSize);
void BlockAlgo_BlockPro_destroy(void* st);  // null is ignored

// A block of `type` (_QV_TYPE) with its default parameters, ready to process. Null, with a logged reason, for a type or
// pin counts that are not served, and when memory is short. `st_` is the context; null is logged and means g_block_pro.
BlockAlgo* BlockAlgo_init(void* st_, int Input_pin, int Output_pin, int type);

// Hands over the parameter vector (float*): as many entries as the type's layout has. The vector is copied. Null
// applies the stored values again. RT_OK, or RT_ERR_MALLOC with the old parameters still in force.
int BlockAlgo_param_reset(BlockAlgo* Algo_struct, void* param);

// Recomputes what derives from the stored parameters and the context.
int BlockAlgo_param_update(BlockAlgo* Algo_struct);

// Prints the parameters to the log; changes nothing.
int BlockAlgo_param_invoke(BlockAlgo* Algo_struct);

// One block of audio: nInputs buffers in, nOutputs buffers out, each of nBlockSize floats, full scale 1.0. Buffers may
// be shared only where the module says so. The result is the module's: 0 or 1 for done (both are success), negative for
// failure.
int BlockAlgo_process(BlockAlgo* Algo_struct, float** data_in, float** data_out);

// Clears the signal state: from here on the block puts out what a fresh one with the same parameters would. It neither
// allocates nor logs: for the audio thread, between process calls. RT_OK.
int BlockAlgo_clear(BlockAlgo* Algo_struct);

// Frees the block; not its context, not the host's vector.
int BlockAlgo_destroy(BlockAlgo* Algo_struct);

LBX_END_C

#endif
