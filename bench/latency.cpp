// SPDX-License-Identifier: Apache-2.0
// What one call of process costs at worst, and one set of unchanged parameters: a million calls of every block type in
// stereo (or what comes nearest), each timed alone. Prints median, 99.99th percentile and maximum in microseconds; the
// time of the clock is in all of them, and in a row of its own. On a machine that other work shares the maximum is the
// other work's.
//
//   latency [CALLS [TYPE ...]]
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "../graph/flush_to_zero.h"
#include "pins.h"
#include "types.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace {

using bench::kBlock;
using Ticks = std::uint64_t;

Ticks ticks()
{
#if defined(__x86_64__)
    _mm_lfence();
    const Ticks now = __rdtsc();
    _mm_lfence();
    return now;
#elif defined(__aarch64__)
    Ticks now;
    __asm__ volatile("isb\n\tmrs %0, cntvct_el0\n\tisb" : "=r"(now)::"memory");
    return now;
#else
    return static_cast<Ticks>(std::chrono::steady_clock::now().time_since_epoch().count());
#endif
}

double microseconds_per_tick()
{
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    const Ticks first = ticks();
    while (Clock::now() - start < std::chrono::milliseconds(200)) {
    }
    const std::chrono::duration<double, std::micro> passed = Clock::now() - start;
    return passed.count() / static_cast<double>(ticks() - first);
}

template <class Call>
void row(const char* title, std::vector<std::uint32_t>& spent, double unit, Call call)
{
    for (std::size_t warm = 0; warm < spent.size() / 100; ++warm)
        call();
    for (std::uint32_t& s : spent) {
        const Ticks before = ticks();
        call();
        s = static_cast<std::uint32_t>(ticks() - before);
    }
    std::ranges::sort(spent);
    const auto at = [&](double part) {
        return unit * spent[static_cast<std::size_t>(part * static_cast<double>(spent.size() - 1))];
    };
    std::printf("| %s | %.3f | %.3f | %.3f |\n", title, at(0.5), at(0.9999), at(1));
}

bool wanted(const std::string& type, int argc, char** argv)
{
    return argc <= 2 || std::find(argv + 2, argv + argc, type) != argv + argc;
}

}  // namespace

int main(int argc, char** argv)
{
    std::vector<std::uint32_t> spent(static_cast<std::size_t>(argc > 1 ? std::atol(argv[1]) : 1000000));
    const vgraph::FlushToZero mode(true);
    const double unit = microseconds_per_tick();
    std::printf("| type, %d samples | median us | 99.99 %% | maximum |\n|---|---:|---:|---:|\n", kBlock);
    row("(the clock)", spent, unit, [] {});
    bench::each_type([&](const vantoro::BlockType& type) {
        if (!wanted(std::string(type.name), argc, argv))
            return;
        const vantoro::PinCounts pins = bench::pins_for(type, 2).value_or(vantoro::initial_pins(type));
        bench::Block block(type.type, pins.inputs, pins.outputs, kBlock);
        std::vector<float> vector = bench::vector_for(type, pins);
        block.set(vector);
        const bench::Pins buffers(pins.inputs, pins.outputs, kBlock);
        row(std::string(type.name).c_str(), spent, unit, [&] { block.process(buffers); });
        if (!vector.empty())
            row((std::string(type.name) + ", a set").c_str(), spent, unit,
                [&] { Vantoro_param_apply(block.algo.get(), vector.data(), static_cast<int>(vector.size())); });
    });
    return 0;
}
