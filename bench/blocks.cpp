// SPDX-License-Identifier: Apache-2.0
// Every block type of the host's catalog that is processed, at three block sizes and with 1, 2 and 8 channels where its
// pins allow.
#include "measure.h"

#include "types.h"

namespace bench {
namespace {

// A control beside a signal stands still, as it mostly does.
void hold_controls(const vantoro::BlockType& type, vantoro::PinCounts pins, const Pins& p, int n)
{
    for (int pin = 0; pin + 1 < pins.inputs; ++pin)
        if (vantoro::is_control(type, pin, pins))
            std::fill_n(p.in[static_cast<std::size_t>(pin)], n, *p.in[static_cast<std::size_t>(pin)]);
}

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

void register_blocks()
{
    each_type([](const vantoro::BlockType& type) {
        std::optional<vantoro::PinCounts> before;
        for (const int channels : {1, 2, 8}) {
            const auto pins = pins_for(type, channels);
            if (!pins || pins == before)
                continue;
            before = pins;
            for (const int n : {16, 64, 256})
                add(type, *pins, channels, n);
        }
    });
}

}  // namespace bench
