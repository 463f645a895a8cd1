// SPDX-License-Identifier: Apache-2.0
// Arbitrary bytes as a schematic. What the reader lets pass must run as it stands: if it is small, it is run.
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/engine.h"
#include "schematic/reader.h"

namespace {

constexpr int kSmallBlockSize = 64;
constexpr int kSmallPins = 64;

void expect(bool holds)
{
    if (!holds)
        std::abort();
}

// Every block once in the order; every source among the pins of a block, or of the input.
void check(const vantoro::Schematic& schematic)
{
    const auto count = schematic.blocks.size();
    expect(schematic.order.size() == count);
    std::vector<bool> seen(count);
    for (const int block : schematic.order) {
        expect(block >= 0 && static_cast<std::size_t>(block) < count && !seen[static_cast<std::size_t>(block)]);
        seen[static_cast<std::size_t>(block)] = true;
    }
    const auto known = [&](const vantoro::Feed& source) {
        if (source.block == vantoro::Feed::kSilence)
            return true;
        const int pins = source.block == vantoro::Feed::kTerminal
                             ? schematic.inputs
                             : schematic.blocks.at(static_cast<std::size_t>(source.block)).pins.outputs;
        return source.pin >= 0 && source.pin < pins;
    };
    for (const vantoro::Block& block : schematic.blocks) {
        expect(block.sources.size() == static_cast<std::size_t>(block.pins.inputs));
        for (const vantoro::Feed& source : block.sources)
            expect(known(source));
    }
    for (const vantoro::Feed& source : schematic.outputs)
        expect(known(source));
}

bool is_small(const vantoro::Schematic& schematic)
{
    int pins = schematic.inputs + static_cast<int>(schematic.outputs.size());
    for (const vantoro::Block& block : schematic.blocks)
        pins += block.pins.inputs + block.pins.outputs;
    return pins <= kSmallPins && schematic.block_size <= kSmallBlockSize;
}

void run(vantoro::Schematic schematic)
{
    const int rate = schematic.rate.value_or(48000);
    vantoro::Engine engine(std::move(schematic), rate);
    for (int block = 0; block < 3; ++block) {
        engine.change();
        for (int pin = 0; pin < engine.inputs(); ++pin)
            for (int i = 0; i < engine.block_size(); ++i)
                engine.input()[pin][i] = 0.01F * static_cast<float>((i * 37 + pin) % 100 - 50);
        if (!engine.process())
            return;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const vantoro::LibraryLog log(true);
    try {
        vantoro::Schematic schematic = vantoro::parse_schematic({reinterpret_cast<const char*>(data), size});
        check(schematic);
        if (is_small(schematic))
            run(std::move(schematic));
    } catch (const vantoro::UserError&) {  // its problems: the common answer
    } catch (const std::runtime_error&) {  // the library has no such block: no memory
    }
    return 0;
}
