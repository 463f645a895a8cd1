// SPDX-License-Identifier: Apache-2.0
#include "allpass.h"

#include <cmath>

#include "../framework/log.h"
#include "../kernels/delay_line.h"

using namespace lbx;

namespace {

// One step: `result` gives the output from the delayed value and the one that went in.
template <class Result>
float step(qv_allpass& st, float x, Result result)
{
    if (st.bufSize == 0)
        return x;
    const float delayed = st.buffer[st.bufIdx];
    const float w = x + delayed * st.feedback;
    st.buffer[st.bufIdx] = w;
    line_next(st);
    return result(delayed, w);
}

}  // namespace

qv_allpass* allpass_init(void)
{
    qv_allpass* st = nullptr;
    if (!zeros(st, 1))
        return nullptr;
    st->decay = 1.0F;
    return st;
}

int allpass_destroy(qv_allpass* st)
{
    if (!st)
        return 0;
    std::free(st->buffer);
    std::free(st);
    return 1;
}

int allpass_setsize(qv_allpass* st, int size)
{
    // The present size is refused too, in the same words. Kept: repeating a size must not cut a tail off.
    if (size < 1 || size == st->bufSize) {
        LBX_LOG("error in allpass set,size %d must larger than 0\n", size);
        return RT_ERR_VALUE;
    }
    return line_resize(*st, size) ? RT_OK : RT_ERR_MALLOC;
}

int allpass_getsize(const qv_allpass* st) { return st->bufSize; }
void allpass_setfeedback(qv_allpass* st, float feedback) { st->feedback = feedback; }
float allpass_getfeedback(const qv_allpass* st) { return st->feedback; }
void allpass_setdecay(qv_allpass* st, float decay) { st->decay = decay; }
float allpass_getdecay(const qv_allpass* st) { return st->decay; }
void allpass_mute(qv_allpass* st) { line_clear(*st); }
float allpass_getlast(const qv_allpass* st) { return allpass_get_z(st, 0); }

float allpass_get_z(const qv_allpass* st, int index)
{
    if (index < 0 || index > st->bufSize || st->bufSize == 0)
        return 0.0F;
    const int position = st->bufIdx - index;
    return st->buffer[position < 0 ? position + st->bufSize : position];
}

void allpass_process(qv_allpass* st, const float* in, float* out)
{
    if (!line_has_groups(*st)) {
        std::copy_n(in, kGroup, out);
        return;
    }
    float* line = line_group(*st);
    for (int k = 0; k < kGroup; ++k) {
        const float delayed = line[k];
        line[k] = std::fma(delayed, st->feedback, in[k]);
        out[k] = std::fma(-line[k], st->feedback, delayed);
    }
    line_advance(*st, kGroup);
}

float allpass_process_freeverb(qv_allpass* st, float x)
{
    return step(*st, x, [=](float delayed, float) { return delayed - x; });
}

float allpass_process_dc(qv_allpass* st, float x)
{
    return step(*st, x, [=](float delayed, float w) { return delayed * st->decay - st->feedback * w; });
}

float allpass_process_ov(qv_allpass* st, float x)
{
    return step(*st, x, [=](float delayed, float) { return delayed * st->decay - st->feedback * x; });
}
