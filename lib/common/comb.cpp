// SPDX-License-Identifier: Apache-2.0
#include "comb.h"

#include <cmath>

#include "../kernels/delay_line.h"

using namespace lbx;

qv_comb* comb_init(void)
{
    qv_comb* st = nullptr;
    return zeros(st, 1) ? st : nullptr;
}

int comb_destroy(qv_comb* st)
{
    if (!st)
        return 0;
    std::free(st->buffer);
    std::free(st);
    return 1;
}

int comb_setsize(qv_comb* st, int size)
{
    if (size < 1)
        return RT_OK;
    if (!line_resize(*st, size))
        return RT_ERR_MALLOC;
    std::ranges::fill(st->filterstore, 0.0F);
    return RT_OK;
}

int comb_getsize(const qv_comb* st) { return st->bufSize; }
void comb_setfeedback(qv_comb* st, float feedback) { st->feedback = feedback; }
float comb_getfeedback(const qv_comb* st) { return st->feedback; }
void comb_setdamp(qv_comb* st, float damp) { st->damp = damp; }
float comb_getdamp(const qv_comb* st) { return st->damp; }

void comb_mute(qv_comb* st)
{
    line_clear(*st);
    std::ranges::fill(st->filterstore, 0.0F);
}

void comb_process(qv_comb* st, const float* x, float* y)
{
    if (!line_has_groups(*st)) {
        std::copy_n(x, kGroup, y);
        return;
    }
    float* line = line_group(*st);
    float low = st->filterstore[kGroup - 1];
    for (int k = 0; k < kGroup; ++k) {
        const float delayed = line[k];
        low = std::fma(st->damp, low, (1.0F - st->damp) * delayed);
        st->filterstore[k] = low;
        line[k] = std::fma(low, st->feedback, x[k]);
        y[k] = delayed;
    }
    line_advance(*st, kGroup);
}

float comb_process_ff(qv_comb* st, float x, float fb)
{
    st->feedback = fb;
    if (st->bufSize == 0)
        return x;
    const float delayed = st->buffer[st->bufIdx];
    st->buffer[st->bufIdx] = x;
    line_next(*st);
    return x + delayed * fb;
}

float comb_process_fb(qv_comb* st, float x, float fb)
{
    st->feedback = fb;
    if (st->bufSize == 0)
        return x;
    const float y = x + st->buffer[st->bufIdx] * fb;
    st->buffer[st->bufIdx] = y;
    line_next(*st);
    return y;
}
