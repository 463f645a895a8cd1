// SPDX-License-Identifier: Apache-2.0
// Every block type of the host's catalog, at three block sizes and with 1, 2 and 8 channels where its pins allow.
// Channels are outputs, or inputs where the outputs do not grow with them.
#include "measure.h"

#include <algorithm>
#include <cstdlib>
#include <optional>

#include "catalog.h"
#include "support/every_block.h"

namespace bench {
namespace {

std::optional<vantoro::Pins> pins_for(const vantoro::BlockType& type, int channels)
{
    const auto fits = [&](std::optional<vantoro::Pins> pins) { return pins && type.pins.fits(*pins); };
    if (const auto pins = vantoro::complete_pins(type, {}, channels); fits(pins))
        return pins;
    if (const auto pins = vantoro::complete_pins(type, channels, {}); fits(pins))
        return pins;
    return {};
}

// The tests' vector, which makes every type work, with defaults for what further pins add.
std::vector<float> vector_for(const vantoro::BlockType& type, vantoro::Pins pins)
{
    const auto rows = rig::every_block();
    const auto row = std::ranges::find(rows, type.code, &rig::BlockCase::type);
    std::vector<float> vector = row == rows.end() ? std::vector<float>{} : row->vector;
    const std::vector<float> usual = vantoro::default_vector(type, pins);
    if (usual.size() > vector.size())
        vector.insert(vector.end(), usual.begin() + static_cast<std::ptrdiff_t>(vector.size()), usual.end());
    return vector;
}

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
    for (const vantoro::Category& category : vantoro::categories())
        for (const vantoro::BlockType& type : category.types)
            for (const int channels : {1, 2, 8})
                if (const auto pins = pins_for(type, channels))
                    for (const int n : {16, 64, 256})
                        add(type, *pins, channels, n);
}

}  // namespace bench
