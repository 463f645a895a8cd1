// SPDX-License-Identifier: Apache-2.0
// Reading a parameter vector: conversions, copies, clamps, and the labelled print.
#pragma once

#include <cstdint>
#include <limits>
#include <span>

#include "../common/block_info.h"
#include "log.h"

namespace lbx {

// Float to integer as the target CPU converts: toward zero, saturating, NaN is 0. A plain cast is undefined there.
template <class Int, class Float>
constexpr Int convert(Float v)
{
    constexpr auto kLeast = static_cast<Float>(std::numeric_limits<Int>::min());
    if constexpr (std::numeric_limits<Float>::digits >= std::numeric_limits<Int>::digits) {
        constexpr auto kMost = static_cast<Float>(std::numeric_limits<Int>::max());
        const Float number = __builtin_isnan(v) ? 0 : v;  // each of the three one instruction of lanes
        const Float below = number < kMost ? number : kMost;
        return static_cast<Int>(below > kLeast ? below : kLeast);
    }
    // The first value too large: the greatest integer rounds up to it in float.
    constexpr auto kAbove = static_cast<Float>(std::numeric_limits<Int>::max()) + 1;
    if (v >= kAbove)
        return std::numeric_limits<Int>::max();
    if (v <= kLeast)
        return std::numeric_limits<Int>::min();
    return v > kLeast ? static_cast<Int>(v) : 0;  // NaN fails every comparison
}
constexpr int to_int(float v) { return convert<std::int32_t>(v); }
constexpr int to_int(double v) { return convert<std::int32_t>(v); }
constexpr unsigned to_uint(float v) { return convert<std::uint32_t>(v); }
constexpr bool to_flag(float v) { return to_int(v) != 0; }

// Takes over a host's vector. A null vector keeps what is stored.
[[gnu::cold]] void copy_params(float* own, const float* vector, int n);

// Silent clamp; the entry then holds what is used. NaN passes.
inline float clamp_back(float& entry, VantoroRange range)
{
    if (entry > range.max)
        entry = range.max;
    if (entry < range.min)
        entry = range.min;
    return entry;
}

// One line of a parameter print: "Label: value \n\n".
struct ParamLabel {
    char name[19];         // not a pointer, which a shared library would relocate
    bool integer = false;  // printed truncated
};

// Prints `title` and then each value under its label, all in the name of `func`, and an empty closing line.
[[gnu::cold]] void print_params(const char* func, const char* title, std::span<const ParamLabel> labels,
                                const float* values);

}  // namespace lbx
