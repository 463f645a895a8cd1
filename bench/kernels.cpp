// SPDX-License-Identifier: Apache-2.0
// Hot kernels through the public entry points, each beside the plain loop of its rule and, where there is one, its form
// in the second arithmetic.
#include <memory>

#include "as_written.h"
#include "measure.h"
#include "vantoro_quiet.h"

namespace bench {
namespace {

using as_written::Kernel;

// A kernel's block and its plain loop, with new parameters from time to time: gliding gains are always on their way,
// for a glide takes longer than a turn. Nothing is set for the types that do not glide.
class Turning {
public:
    Turning(const Kernel& kernel, int channels, int n)
        : block_(kernel.type, kernel.inputs(channels), kernel.outputs(channels), n),
          vectors_{kernel.vector(channels, 0), kernel.vector(channels, 1)}, glides_(vectors_[0] != vectors_[1])
    {
        block_.set(vectors_[0]);
    }

    template <class Set>
    void step(Set set)
    {
        if (!glides_ || ++steps_ % kTurn != 0)
            return;
        block_.set(vectors_[steps_ / kTurn % 2]);
        set();
    }
    Block& block() { return block_; }

private:
    static constexpr unsigned kTurn = 256;
    Block block_;
    std::vector<float> vectors_[2];
    bool glides_;
    unsigned steps_ = 0;
};

Pins pins_of(const Kernel& kernel, int channels, int n)
{
    return {kernel.inputs(channels), kernel.outputs(channels), n};
}

void add_plain(const Kernel& kernel, const std::string& base, int channels, int n)
{
    benchmark::RegisterBenchmark((base + "/plain").c_str(), [=, &kernel](benchmark::State& state) {
        Turning turning(kernel, channels, n);
        const BlockAlgo& blk = *turning.block().algo;
        const auto loop = kernel.loop(blk);
        loop->set(blk);
        const Pins p = pins_of(kernel, channels, n);
        measure(state, channels, n, [&] {
            turning.step([&] { loop->set(blk); });
            loop->run(p.in.data(), p.out.data(), n);
        });
    });
}

void add_library(const Kernel& kernel, const std::string& base, int channels, int n)
{
    benchmark::RegisterBenchmark((base + "/library").c_str(), [=, &kernel](benchmark::State& state) {
        Turning turning(kernel, channels, n);
        const Pins p = pins_of(kernel, channels, n);
        measure(state, channels, n, [&] {
            turning.step([] {});
            turning.block().process(p);
        });
    });
}

void add_quiet(const Kernel& kernel, const std::string& base, int channels, int n)
{
    benchmark::RegisterBenchmark((base + "/quiet").c_str(), [=, &kernel](benchmark::State& state) {
        Turning turning(kernel, channels, n);
        const std::unique_ptr<VantoroQuiet, void (*)(VantoroQuiet*)> quiet(
            Vantoro_quiet_create(turning.block().algo.get()), Vantoro_quiet_destroy);
        Pins p = pins_of(kernel, channels, n);
        measure(state, channels, n, [&] { Vantoro_quiet_process(quiet.get(), p.in.data(), p.out.data()); });
    });
}

// The second arithmetic works per block as well as per sample, and so is measured in three sizes of block. FIR filters
// that differ in it are long ones: long_fir.cpp.
void add(const Kernel& kernel, int channels)
{
    const bool quiet = Vantoro_quiet_takes(kernel.type) == 1 && kernel.type != EN_FILTER_FIR;
    for (const int n : {16, kBlock, 256}) {
        if (n != kBlock && !quiet)
            continue;
        const std::string base = name(kernel.name, std::to_string(channels) + "ch", n);
        if (n == kBlock)
            add_plain(kernel, base, channels, n);
        add_library(kernel, base, channels, n);
        if (quiet)
            add_quiet(kernel, base, channels, n);
    }
}

}  // namespace

void register_kernels()
{
    for (const Kernel& kernel : as_written::kernels())
        for (const int channels : kernel.sizes)
            add(kernel, channels);
}

}  // namespace bench
