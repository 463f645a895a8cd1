// SPDX-License-Identifier: Apache-2.0
// FIR filters of many taps: the documented direct form, the second arithmetic, and zita-convolver, whose larger
// partitions run in threads of their own: of all three the time of the whole process counts.
#include "measure.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <thread>

#include "vantoro_quiet.h"

#if defined(BENCH_ZITA)
#include <zita-convolver.h>
#endif

namespace bench {
namespace {

// Of a room: the number of taps, then the taps.
std::vector<float> vector_of(int taps)
{
    std::vector<float> vector{static_cast<float>(taps)};
    for (int k = 0; k < taps; ++k)
        vector.push_back(static_cast<float>(std::exp(-5.0 * k / taps) * std::cos(k * k) / std::sqrt(taps)));
    return vector;
}

// run(pins) works on one block.
template <class Make>
void add(int taps, int n, const std::string& who, Make make)
{
    const std::string title = name("long_fir" + std::to_string(taps), "1ch", n, who);
    benchmark::RegisterBenchmark(title.c_str(), [=](benchmark::State& state) {
        Pins pins(1, 1, n);
        auto run = make();
        for (int k = 0; k < 2 * taps; k += n)
            run(pins);
        measure(state, 1, n, [&] { run(pins); });
    })->MeasureProcessCPUTime();
}

void add_ours(int taps, int n)
{
    const auto make_block = [=] {
        auto block = std::make_shared<Block>(EN_FILTER_FIR, 1, 1, n);
        block->set(vector_of(taps));
        return block;
    };
    add(taps, n, "library", [=] { return [block = make_block()](Pins& pins) { block->process(pins); }; });
    add(taps, n, "quiet", [=] {
        auto block = make_block();
        const std::shared_ptr<VantoroQuiet> quiet(Vantoro_quiet_create(block->algo.get()), Vantoro_quiet_destroy);
        return [block, quiet](Pins& pins) { Vantoro_quiet_process(quiet.get(), pins.in.data(), pins.out.data()); };
    });
}

#if defined(BENCH_ZITA)
void add_zita(int taps, int n, int largest)
{
    add(taps, n, "zita-convolver to " + std::to_string(largest), [=] {
        auto convolver = std::make_shared<Convproc>();
        std::vector<float> vector = vector_of(taps);
        const auto count = static_cast<unsigned>(taps), size = static_cast<unsigned>(n);
        convolver->configure(1, 1, count, size, size, static_cast<unsigned>(largest), 0);
        convolver->impdata_create(0, 0, 1, vector.data() + 1, 0, taps);
        convolver->start_process(0, 0);
        // A thread that has not begun by then is not stopped either, and reads what is freed.
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        return [=](Pins& pins) {
            std::copy_n(pins.in[0], n, convolver->inpdata(0));
            convolver->process(true);
            std::copy_n(convolver->outdata(0), n, pins.out[0]);
        };
    });
}
#endif

}  // namespace

void register_long_fir()
{
    for (const int taps : {512, 4096, 65536})
        for (const int n : {64, 256}) {
            add_ours(taps, n);
#if defined(BENCH_ZITA)
            for (const int largest : {n, 1024, 8192})
                if (largest == n || largest < taps)
                    add_zita(taps, n, largest);
#endif
        }
}

}  // namespace bench
