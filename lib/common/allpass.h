// SPDX-License-Identifier: Apache-2.0
// Delay-line allpasses: M. Schroeder, "Natural Sounding Artificial Reverberation". Only allpass_destroy checks `st`;
// without a line the process functions return their input.
#ifndef VANTORO_COMMON_ALLPASS_H
#define VANTORO_COMMON_ALLPASS_H

#include "api.h"

LBX_BEGIN_C

typedef struct qv_allpass {
    int bufSize;  // the delay in samples
    int bufIdx;   // the position that is read and then written next
    float feedback;
    float decay;
    float* buffer;  // owned
} qv_allpass;

qv_allpass* allpass_init(void);       // no line yet, feedback 0, decay 1; null when memory is short
int allpass_destroy(qv_allpass* st);  // 1; 0 for null

// A new line of zeros. A size below 1, and the present size, are logged and change nothing: RT_ERR_VALUE. RT_ERR_MALLOC
// leaves the old line in place.
int allpass_setsize(qv_allpass* st, int size);
int allpass_getsize(const qv_allpass* st);
void allpass_setfeedback(qv_allpass* st, float feedback);
float allpass_getfeedback(const qv_allpass* st);
void allpass_setdecay(qv_allpass* st, float decay);
float allpass_getdecay(const qv_allpass* st);
void allpass_mute(qv_allpass* st);                     // empties the line
float allpass_getlast(const qv_allpass* st);           // the oldest sample; 0 without a line
float allpass_get_z(const qv_allpass* st, int index);  // the sample written `index` steps ago, 0 .. bufSize; 0 outside

// Four samples of the Schroeder allpass, with b the delayed value: w = x + b g goes in, b - w g comes out. The size
// should be a multiple of 4, and at least 4. out may be in.
void allpass_process(qv_allpass* st, const float* in, float* out);

// One sample; w is what goes in, D the decay.
float allpass_process_freeverb(qv_allpass* st, float x);  // w = x + b g, gives b - x
float allpass_process_dc(qv_allpass* st, float x);        // w = x + b g, gives b D - g w
float allpass_process_ov(qv_allpass* st, float x);        // w = x + b g, gives b D - g x

LBX_END_C

#endif
