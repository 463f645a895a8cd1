// SPDX-License-Identifier: Apache-2.0
// Every block type of the host's catalog that is processed.
#include "measure.h"

#include "types.h"

namespace bench {
namespace {

void add(const vantoro::BlockType& type, vantoro::PinCounts pins, int channels, int n)
{
    benchmark::RegisterBenchmark(name("block", std::string(type.name), std::to_string(channels) + "ch", n).c_str(),
                                 [=, &type](benchmark::State& state) {
                                     Block block(type.type, pins.inputs, pins.outputs, n);
                                     if (!block.algo) {
                                         state.SkipWithError("refused");
                                         return;
                                     }
                                     block.set(vector_for(type, pins));
                                     const Pins p(pins.inputs, pins.outputs, n);
                                     hold_controls(type, pins, p, n);
                                     measure(state, channels, n, [&] { block.process(p); });
                                 });
}

}  // namespace

void register_blocks() { each_shape(add); }

}  // namespace bench
