// SPDX-License-Identifier: Apache-2.0
#include "common.h"

#include <algorithm>
#include <cstdlib>

#include "../framework/log.h"
#include "../framework/new_block.h"
#include "../kernels/ring.h"

using namespace lbx;

int ParamAdapt(int min, int max, int value, const char* name)
{
    if (value >= min && value <= max)
        return value;
    const int used = value > max ? max : min;
    LBX_LOG_AS("ParamAdapt", 17, "%s:%d out of range:%d~ %d, be set to %d\n\n", name, value, min, max, used);
    return used;
}

float ParamAdaptFloat(float min, float max, float value, const char* name)
{
    if (value >= min && value <= max)
        return value;
    float used = value;  // NaN stays: neither comparison below holds
    if (value > max)
        used = max;
    else if (value < min)
        used = min;
    LBX_LOG_AS("ParamAdaptFloat", 30, "%s:%f out of range:%f~ %f, be set to %f\n\n", name, static_cast<double>(value),
               static_cast<double>(min), static_cast<double>(max), static_cast<double>(used));
    return used;
}

bool lbx::ring_resized(const RingBufSt& from, int num, RingBufSt& to)
{
    to = {nullptr, 0, num};
    if (num < 1 || !zeros(to.buf, num)) {
        LBX_LOG_AS("RingBufferReset", __LINE__, "Out of memory, number = %d\n\n", num);
        return false;
    }
    const int kept = std::min(from.num, num);
    for (int age = 1; age <= kept; ++age)
        to.buf[num - age] = ring_at(from, age);
    return true;
}

RingBufSt* RingBufferInit(int num)
{
    RingBufSt* st = nullptr;
    if (num < 1 || !zeros(st, 1))
        return nullptr;
    if (!zeros(st->buf, num)) {
        RingBufferDestroy(st);
        return nullptr;
    }
    st->num = num;
    return st;
}

void RingBufferDestroy(RingBufSt* st)
{
    if (st)
        std::free(st->buf);
    std::free(st);
}

float RingBufferUpdate(RingBufSt* st, float val) { return ring_update(*st, val); }

int RingBufferReset(RingBufSt* st, int newNum)
{
    if (newNum == st->num)
        return RT_OK;
    RingBufSt resized;
    if (!ring_resized(*st, newNum, resized))
        return RT_ERR_MALLOC;
    std::free(st->buf);
    *st = resized;
    return RT_OK;
}

float RingBufferGetIdx(RingBufSt* st, unsigned int idx) { return st->buf[idx]; }

float RingBufferGetOff(RingBufSt* st, unsigned int off) { return ring_at(*st, static_cast<int>(off)); }
