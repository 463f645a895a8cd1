// SPDX-License-Identifier: Apache-2.0
#include "circular_buffer.h"

#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "../framework/new_block.h"
#include "../framework/params.h"

using namespace lbx;

namespace {

constexpr int kFreshLength = 8;
constexpr int kLongest = 1 << 30;  // the largest power of two that an int holds

[[noreturn]] void fail(const char* func, int line, const char* what)
{
    LBX_LOG_AS(func, line, "ErrorXXX: %s!\n\n", what);
    std::exit(-1);
}

void check_fraction(const char* func, float fraction)
{
    if (!(fraction >= 0.0F && fraction <= 1.0F))
        fail(func, __LINE__, "fraction should in range[0 1]");
}

// The sample written k writes ago. The mask keeps any k inside the line.
float past(const CircularBuffer& line, int k) { return line.buffer[(line.writeIndex - k) & line.wrapMask]; }

bool allocate(CircularBuffer* st, int length)
{
    float* fresh = nullptr;
    if (!zeros(fresh, length))
        return false;
    std::free(st->buffer);
    st->buffer = fresh;
    st->writeIndex = 0;
    st->bufferLength = length;
    st->wrapMask = length - 1;
    return true;
}

}  // namespace

CircularBuffer* circularbuffer_init(void)
{
    CircularBuffer* st = nullptr;
    if (!zeros(st, 1))
        return nullptr;
    return allocate(st, kFreshLength) ? st : circularbuffer_destroy(st);
}

CircularBuffer* circularbuffer_destroy(CircularBuffer* st)
{
    if (st)
        std::free(st->buffer);
    std::free(st);
    return nullptr;
}

int circularbuffer_createCircularBuffer(CircularBuffer* st, int bufferLength)
{
    if (bufferLength < 1)
        fail(__func__, __LINE__, "bufferLength is at least greater than 0");
    if (bufferLength > kLongest)
        return RT_ERR_MALLOC;
    const auto length = static_cast<int>(std::bit_ceil(static_cast<unsigned>(bufferLength)));
    return allocate(st, length) ? RT_OK : RT_ERR_MALLOC;
}

// Clears as many bytes as the line has samples: a quarter of it. Kept: callers rely on what a flush leaves.
void circularbuffer_flushBuffer(CircularBuffer* st)
{
    st->writeIndex = 0;
    std::memset(st->buffer, 0, static_cast<std::size_t>(st->bufferLength));
}

void circularbuffer_writebuffer(CircularBuffer* st, float input)
{
    st->buffer[st->writeIndex] = input;
    st->writeIndex = (st->writeIndex + 1) & st->wrapMask;
}

float circularbuffer_readBuffer(CircularBuffer* st, float delayinSamples)
{
    const float d = delayinSamples;
    if (d < 1.0F)
        fail(__func__, __LINE__, "delayinSamples is at least greater than 1");
    if (d > static_cast<float>(st->bufferLength))
        fail(__func__, __LINE__, "delayinSamples shouldn't exceed bufferLength");
    const int i = to_int(d);
    if (std::fabs(static_cast<float>(i) - d) < 1e-8F)
        return past(*st, i);
    if (st->interpolate == kNearest)
        return past(*st, to_int(d + 0.5F));
    const float fraction = static_cast<float>(i + 1) - d;
    const float x0 = past(*st, i + 1);
    const float x1 = past(*st, i);
    if (st->interpolate == kLinear)
        return circularbuffer_LinearInterpolation(x0, x1, fraction);
    const float x_1 = past(*st, i + 2);
    if (st->interpolate == kCubic && d >= 2.0F)
        return circularbuffer_CubicInterpolation(x_1, x0, x1, past(*st, i - 1), fraction);
    return circularbuffer_SquareInterpolation(x_1, x0, x1, fraction);
}

void circularbuffer_setInterpolate(CircularBuffer* st, int interpolateType)
{
    if (interpolateType < kNearest || interpolateType > kCubic)
        fail(__func__, __LINE__, "Unknown Interpolate type");
    st->interpolate = interpolateType;
}

float circularbuffer_LinearInterpolation(float x0, float x1, float fraction)
{
    check_fraction(__func__, fraction);
    return fraction * x1 + (1.0F - fraction) * x0;
}

float circularbuffer_SquareInterpolation(float x_1, float x0, float x1, float fraction)
{
    check_fraction(__func__, fraction);
    const float square = fraction * fraction;
    return x0 + fraction * (x1 - x_1) / 2.0F + square * (x_1 - 2.0F * x0 + x1) / 2.0F;
}

float circularbuffer_CubicInterpolation(float x_1, float x0, float x1, float x2, float fraction)
{
    check_fraction(__func__, fraction);
    const float square = fraction * fraction;
    return x0 + fraction * (0.5F * x1 - 0.5F * x_1) + square * (x_1 - 2.5F * x0 + 2.0F * x1 - 0.5F * x2) +
           square * fraction * (1.5F * x0 - 0.5F * x_1 - 1.5F * x1 + 0.5F * x2);
}
