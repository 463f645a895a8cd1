// SPDX-License-Identifier: Apache-2.0
// Numbers too small to be normal, as operands and as results, are 0 on this thread while it lives; then the thread has
// its old mode again.
#pragma once

#include <cstdint>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace vgraph {

class FlushToZero {
public:
    explicit FlushToZero(bool on) : on_(on)
    {
        if (on_)
            write((old_ = read()) | kBits);
    }
    ~FlushToZero()
    {
        if (on_)
            write(old_);
    }
    FlushToZero(const FlushToZero&) = delete;
    FlushToZero& operator=(const FlushToZero&) = delete;

private:
#if defined(__x86_64__)
    using Mode = unsigned;
    static constexpr Mode kBits = 0x8040;  // results and operands
    static Mode read() { return _mm_getcsr(); }
    static void write(Mode mode) { _mm_setcsr(mode); }
#elif defined(__aarch64__)
    using Mode = std::uint64_t;
    static constexpr Mode kBits = 1U << 24U;
    static Mode read()
    {
        Mode mode;
        __asm__ volatile("mrs %0, fpcr" : "=r"(mode));
        return mode;
    }
    static void write(Mode mode) { __asm__ volatile("msr fpcr, %0" : : "r"(mode)); }
#else
    using Mode = unsigned;
    static constexpr Mode kBits = 0;
    static Mode read() { return 0; }
    static void write(Mode) {}
#endif
    bool on_;
    Mode old_ = 0;
};

}  // namespace vgraph
