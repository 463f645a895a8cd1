// SPDX-License-Identifier: Apache-2.0
// Samples as words of a byte stream, and the loops over them.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "../framework/params.h"
#include "../kernels/each_index.h"
#include "../kernels/ramp.h"
#include "lbx_ulity.h"

namespace lbx::pcm {

enum ByteOrder {
    kLittle = 0,
    kBig = 1
};

// How one sample lies in the stream. Loops over these vectorise: no calls, no branches, plain byte stores.
template <int Bytes, ByteOrder Order = kLittle>
struct Word {
    static constexpr int bytes = Bytes;
    static constexpr float scale = Bytes == 2 ? 32767.0F : 8388607.0F;  // of full scale

    static int load(const LBX_BYTE* p)
    {
        if constexpr (Bytes == 2) {
            std::uint16_t word = 0;
            std::memcpy(&word, p, 2);
            return static_cast<std::int16_t>(Order == kBig ? __builtin_bswap16(word) : word);
        } else {
            const int first = Order == kBig ? 2 : 0;
            const auto word = static_cast<std::uint32_t>(p[first]) << 8U | static_cast<std::uint32_t>(p[1]) << 16U |
                              static_cast<std::uint32_t>(p[2 - first]) << 24U;
            return static_cast<std::int32_t>(word) >> 8;
        }
    }
    // Of three bytes, with the one before as the lowest of a word: one access instead of three.
    static int load_with_last(const LBX_BYTE* p)
    {
        std::uint32_t word = 0;
        std::memcpy(&word, p - 1, 4);
        return static_cast<std::int32_t>(Order == kBig ? __builtin_bswap32(word) << 8U : word) >> 8;
    }
    static void store(LBX_BYTE* p, int value)
    {
        const auto bits = static_cast<std::uint32_t>(value);
        const auto low = static_cast<std::uint16_t>(bits);
        const std::uint16_t sent = Order == kBig ? __builtin_bswap16(low) : low;
        const int before = Bytes == 3 && Order == kBig ? 1 : 0;
        if constexpr (Bytes == 3)
            p[2 - 2 * before] = static_cast<LBX_BYTE>(bits >> 16U);
        std::memcpy(p + before, &sent, 2);
    }
};

// Nearest integer, halves away from zero; exact for every float. The addend is the float just below one half: one half
// itself would round what lies just below a half up.
inline int round_to_int(float v) { return to_int(v + std::copysign(0x1.fffffep-2F, v)); }

// Runs `each(k, place)` over samples `from` to n - 1 of a stream, whose words lie `step` samples apart.
template <class W, class Byte, class Each>
LBX_INLINE void visit(Byte* stream, int from, int n, int step, const Each& each)
{
    if constexpr (W::bytes == 3)
        __asm__("" : "+r"(step));  // hides the step from GCC, which would shuffle bytes: single accesses are faster
    LBX_SAME_INDEX
    for (std::ptrdiff_t k = from; k < n; ++k)
        each(k, stream + k * step * W::bytes);
}

// One and two channels, which most streams have, get loops with a constant step; three-byte words do not.
template <class W, class Byte, class Each>
void walk(Byte* stream, int n, int step, const Each& each)
{
    if (step == 1 && W::bytes != 3)
        visit<W>(stream, 0, n, 1, each);
    else if (step == 2 && W::bytes != 3)
        visit<W>(stream, 0, n, 2, each);
    else
        visit<W>(stream, 0, n, step, each);
}

// Runs `each(k, value)`.
template <class W, class Each>
void read(const LBX_BYTE* in, int n, int step, const Each& each)
{
    if constexpr (W::bytes == 3) {
        if (n > 0)  // the byte before the first word may not exist
            each(0, W::load(in));
        visit<W>(in, 1, n, step, [&](std::ptrdiff_t k, const LBX_BYTE* p) { each(k, W::load_with_last(p)); });
    } else {
        walk<W>(in, n, step, [&](std::ptrdiff_t k, const LBX_BYTE* p) { each(k, W::load(p)); });
    }
}

// Writes value(k): computed in full registers, then stored one by one.
template <class W, class Value>
LBX_INLINE void write(LBX_BYTE* out, int n, int step, const Value& value)
{
    for (std::ptrdiff_t at = 0; at < n; at += kTile) {
        const int some = static_cast<int>(std::min<std::ptrdiff_t>(kTile, n - at));
        int values[kTile];
        each_index(some, [&](int k) { values[k] = value(at + k); });
        walk<W>(out + at * step * W::bytes, some, step, [&](std::ptrdiff_t k, LBX_BYTE* p) { W::store(p, values[k]); });
    }
}

}  // namespace lbx::pcm
