// SPDX-License-Identifier: Apache-2.0
// Comb filters: M. Schroeder, "Natural Sounding Artificial Reverberation"; the one with a low-pass in its feedback:
// J. Moorer, "About This Reverberation Business". Only comb_destroy checks `st`.
#ifndef VANTORO_COMMON_COMB_H
#define VANTORO_COMMON_COMB_H

#include "api.h"

LBX_BEGIN_C

typedef struct qv_comb {
    int bufSize;  // the delay in samples
    int bufIdx;   // the position that is read and then written next
    float feedback;
    float filterstore[4];   // the low-pass output of the last group; its last value is carried to the next group
    float filterstore1;     // unused
    float filterstore4[4];  // unused
    float damp;             // 0 .. 1, share of the old value in the low-pass
    float* buffer;          // owned
} qv_comb;

qv_comb* comb_init(void);       // all zero, no line yet; null when memory is short
int comb_destroy(qv_comb* st);  // 1; 0 for null

// A new line of zeros, for the present size too; clears the low-pass. Sizes below 1 change nothing. RT_OK, or
// RT_ERR_MALLOC with the old line in place.
int comb_setsize(qv_comb* st, int size);
int comb_getsize(const qv_comb* st);
void comb_setfeedback(qv_comb* st, float feedback);
float comb_getfeedback(const qv_comb* st);
void comb_setdamp(qv_comb* st, float damp);
float comb_getdamp(const qv_comb* st);
void comb_mute(qv_comb* st);  // empties the line and the low-pass

// Four samples of the damped feedback comb: y[k] is what the line holds, and x[k] plus the low-passed y[k] times the
// feedback goes in. The size should be a multiple of 4; without a line of at least 4, y is x. y may be x.
void comb_process(qv_comb* st, const float* x, float* y);

// One sample, undamped; both store `fb` as the feedback. Without a line the result is x.
float comb_process_ff(qv_comb* st, float x, float fb);  // feed-forward: x + delayed x * fb
float comb_process_fb(qv_comb* st, float x, float fb);  // feedback: y = x + delayed y * fb

LBX_END_C

#endif
