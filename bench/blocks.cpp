// SPDX-License-Identifier: Apache-2.0
// Every block type of the host's catalog, at three block sizes and with 1, 2 and 8 channels where its pins allow.
// Channels are outputs, or inputs where the outputs do not grow with them.
#include "measure.h"

#include "types.h"

namespace bench {
namespace {

void add(const vantoro::BlockType& type, vantoro::Pins pins, int channels, int n)
{
    benchmark::RegisterBenchmark(name("block", std::string(type.name), std::to_string(channels) + "ch", n).c_str(),
                                 [=, &type](benchmark::State& state) {
                                     Block block(type.code, pins.inputs, pins.outputs, n);
                                     if (!block.algo) {
                                         state.SkipWithError("refused");
                                         return;
                                     }
                                     vantoro::apply_vector(type, *block.algo, vector_for(type, pins));
                                     const Pins p(pins.inputs, pins.outputs, n);
                                     measure(state, channels, n, [&] { block.process(p); });
                                 });
}

}  // namespace

void register_blocks()
{
    each_type([](const vantoro::BlockType& type) {
        for (const int channels : {1, 2, 8})
            if (const auto pins = pins_for(type, channels))
                for (const int n : {16, 64, 256})
                    add(type, *pins, channels, n);
    });
}

}  // namespace bench
