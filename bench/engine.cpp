// SPDX-License-Identifier: Apache-2.0
// What the engine costs: a schematic of a hundred gains in a row, and the same hundred calls of process in a loop.
#include "engine/engine.h"

#include <deque>

#include "measure.h"
#include "schematic/reader.h"

namespace bench {
namespace {

constexpr int kGains = 100, kStereo = 2;

std::string chain_of_gains()
{
    std::string blocks, wires = R"(["input", "g0"])";
    for (int k = 0; k < kGains; ++k) {
        const std::string id = "g" + std::to_string(k);
        blocks += (k > 0 ? ", \"" : "\"") + id + R"(": {"type": "VC_SIG_CONTROL"})";
        wires += ", [\"" + id + "\", \"" + (k + 1 < kGains ? "g" + std::to_string(k + 1) : "output") + "\"]";
    }
    return R"({"blockSize": )" + std::to_string(kBlock) + R"(, "blocks": {)" + blocks + R"(}, "wires": [)" + wires +
           "]}";
}

void graph(benchmark::State& state)
{
    vantoro::Engine engine(vantoro::parse_schematic(chain_of_gains(), {.channels = kStereo}), 48000);
    const Pins noise(kStereo, 0, kBlock);
    for (int c = 0; c < kStereo; ++c)
        std::copy_n(noise.in[static_cast<std::size_t>(c)], kBlock, engine.input()[c]);
    measure(state, kStereo * kGains, kBlock, [&] {
        engine.change();
        engine.process();
    });
}

void loop(benchmark::State& state)
{
    const Pins pins((kGains + 1) * kStereo, 0, kBlock);
    std::deque<Block> blocks;
    for (int k = 0; k < kGains; ++k)
        blocks.emplace_back(EN_VC_SIG_CONTROL, kStereo, kStereo, kBlock);
    auto* const* wires = const_cast<float**>(pins.in.data());
    measure(state, kStereo * kGains, kBlock, [&] {
        for (int k = 0; k < kGains; ++k)
            BlockAlgo_process(blocks[static_cast<std::size_t>(k)].algo.get(), const_cast<float**>(wires + kStereo * k),
                              const_cast<float**>(wires + kStereo * (k + 1)));
    });
}

}  // namespace

void register_engine()
{
    benchmark::RegisterBenchmark("engine/100 gains/64/plain", loop);
    benchmark::RegisterBenchmark("engine/100 gains/64/library", graph);
}

}  // namespace bench
