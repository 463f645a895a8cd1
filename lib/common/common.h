// SPDX-License-Identifier: Apache-2.0
// Parameter clamping with a report, the log's handler, and a plain ring buffer.
#ifndef VANTORO_COMMON_COMMON_H
#define VANTORO_COMMON_COMMON_H

#include "block_types.h"

LBX_BEGIN_C

// `value` limited to [min, max]; a change is logged under `name`.
int ParamAdapt(int min, int max, int value, const char* name);

// The same for floats. NaN is logged and returned as it is, on purpose.
float ParamAdaptFloat(float min, float max, float value, const char* name);

// Where log lines go. `line` is one complete, zero-terminated report, its line feeds included, and is valid during the
// call only; lines beyond 1023 bytes are cut.
typedef void (*VantoroLogHandler)(const char* line, void* user);

// Hands every log line of the process to `handler` instead of standard error; null restores standard error. May be
// called while blocks run on other threads, by one thread at a time. A report already under way may still reach the
// former handler, with its user pointer, after the call returns.
void Vantoro_set_log_handler(VantoroLogHandler handler, void* user);

// A ring of `num` samples, at least one: a delay of exactly `num`. Only Destroy checks `st`.
typedef struct RingBufSt {
    float* buf;  // owned
    int idx;     // the next position to replace, which holds the oldest sample
    int num;
} RingBufSt;

RingBufSt* RingBufferInit(int num);                // zeroed; null when num < 1 or memory is short
void RingBufferDestroy(RingBufSt* st);             // null is ignored
float RingBufferUpdate(RingBufSt* st, float val);  // stores `val`, returns the sample it replaces
int RingBufferReset(RingBufSt* st, int newNum);    // keeps the newest samples; RT_OK, or RT_ERR_MALLOC and unchanged
float RingBufferGetIdx(RingBufSt* st, unsigned int idx);  // the sample at an absolute position below num
float RingBufferGetOff(RingBufSt* st, unsigned int off);  // the sample `off` (0 .. num) positions before idx

LBX_END_C

#endif
