// SPDX-License-Identifier: Apache-2.0
// A delay line whose length is a power of two, with fractional reads.
//
// Misuse is fatal: an argument out of its range is logged and ends the process with exit status -1, so callers clamp
// beforehand. Only destroy checks `st`.
#ifndef VANTORO_COMMON_CIRCULAR_BUFFER_H
#define VANTORO_COMMON_CIRCULAR_BUFFER_H

#include "api.h"

LBX_BEGIN_C

typedef enum INTERPOLATE_TYPE {
    kNearest,
    kLinear,
    kSquare,
    kCubic
} INTERPOLATE_TYPE;

typedef struct CircularBuffer {
    int writeIndex;    // of the next write
    int bufferLength;  // in samples, a power of two
    int wrapMask;      // bufferLength - 1
    int interpolate;   // INTERPOLATE_TYPE
    float* buffer;     // owned
} CircularBuffer;

CircularBuffer* circularbuffer_init(void);                   // eight zero samples, kNearest; null when memory is short
CircularBuffer* circularbuffer_destroy(CircularBuffer* st);  // null is ignored; returns null

// A silent line of bufferLength samples, rounded up to a power of two; at least 1, else fatal. RT_OK, or RT_ERR_MALLOC
// with the old line still in place.
int circularbuffer_createCircularBuffer(CircularBuffer* st, int bufferLength);

// Starts writing at the front again and clears the first quarter of the line; the rest keeps its samples, on purpose.
// For a silent line create it anew.
void circularbuffer_flushBuffer(CircularBuffer* st);

void circularbuffer_writebuffer(CircularBuffer* st, float input);

// The sample written delayinSamples writes ago: 1 (the last one) .. bufferLength, else fatal. kCubic reads by kSquare
// below a delay of 2, where its fourth sample is not yet written.
float circularbuffer_readBuffer(CircularBuffer* st, float delayinSamples);

void circularbuffer_setInterpolate(CircularBuffer* st, int interpolateType);  // INTERPOLATE_TYPE, else fatal

// Between x0 (fraction 0) and x1 (fraction 1), with their neighbours x_1 before and x2 after. A fraction outside
// [0, 1] is fatal. The cubic is the spline of E. Catmull and R. Rom, "A Class of Local Interpolating Splines".
float circularbuffer_LinearInterpolation(float x0, float x1, float fraction);
float circularbuffer_SquareInterpolation(float x_1, float x0, float x1, float fraction);
float circularbuffer_CubicInterpolation(float x_1, float x0, float x1, float x2, float fraction);

LBX_END_C

#endif
