// SPDX-License-Identifier: Apache-2.0
// What the benchmarks share: how a time is reported. `per_sample` is the time per sample and channel;
// `cycles` the same in cycles of the core, where the machine counts them.
#pragma once

#include <benchmark/benchmark.h>
#include <linux/perf_event.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <type_traits>

#include "pins.h"

namespace bench {

// The core's cycles of this thread; virtual machines mostly do not have the counter.
class Cycles {
public:
    Cycles()
    {
        perf_event_attr what = {};
        what.size = sizeof what;
        what.type = PERF_TYPE_HARDWARE;
        what.config = PERF_COUNT_HW_CPU_CYCLES;
        what.exclude_kernel = 1;
        what.exclude_hv = 1;
        counter_ = static_cast<int>(syscall(SYS_perf_event_open, &what, 0, -1, -1, 0));
    }
    ~Cycles()
    {
        if (counter_ >= 0)
            close(counter_);
    }
    Cycles(const Cycles&) = delete;
    Cycles& operator=(const Cycles&) = delete;

    // 0 where nothing counts.
    double now() const
    {
        std::uint64_t value = 0;
        return counter_ >= 0 && read(counter_, &value, sizeof value) == sizeof value ? static_cast<double>(value) : 0;
    }

private:
    int counter_;
};

// Measures `body`, which works on `samples` samples of `channels` channels.
template <class Body>
void measure(benchmark::State& state, int channels, int samples, Body body)
{
    const Cycles cycles;
    const double before = cycles.now();
    for (auto _ : state) {
        body();
        benchmark::ClobberMemory();
    }
    const double spent = cycles.now() - before, work = static_cast<double>(channels) * samples;
    using benchmark::Counter;
    state.counters["per_sample"] = Counter(work, Counter::kIsIterationInvariantRate | Counter::kInvert);
    if (spent > 0)
        state.counters["cycles"] = Counter(spent / work, Counter::kAvgIterations);
}

template <class... Parts>
std::string name(const Parts&... parts)
{
    std::string text;
    const auto add = [&text](const auto& part) {
        if (!text.empty())
            text += '/';
        if constexpr (std::is_arithmetic_v<std::decay_t<decltype(part)>>)
            text += std::to_string(part);
        else
            text += part;
    };
    (add(parts), ...);
    return text;
}

// One file each.
void register_kernels();   // KERNEL/CHANNELSch/BLOCK/library and .../plain
void register_peers();     // .../NAME of the other library
void register_pcm();       // pcm/FUNCTION/BITS
void register_blocks();    // block/TYPE/PINSch/BLOCK
void register_engine();    // engine/graph, engine/loop
void register_long_fir();  // long_firTAPS/CHANNELSch/BLOCK/library, .../quiet, and .../NAME of another library

}  // namespace bench
