// SPDX-License-Identifier: Apache-2.0
// What silence costs after noise, when states decay into numbers too small to be normal: a second of noise, then a
// minute of silence, through every block type that has inputs. Prints the dearest second of the silence over the cost
// of the noise, with flush-to-zero as the engine sets it, and without; fails if the former exceeds 1.5. Types that no
// second makes 10 % dearer are left out.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>

#include "../graph/flush_to_zero.h"
#include "engine/engine.h"
#include "pins.h"
#include "types.h"

namespace {

using bench::kBlock;
using Clock = std::chrono::steady_clock;

constexpr double kMost = 1.5;
constexpr int kSilentSeconds = 60;
constexpr int kBlocks = 48000 / kBlock;  // a second
constexpr int kTimed = 25;               // blocks by the clock

// What a block costs in this second: the least of many short stretches, so that other work on the machine does not
// count. A state that has gone slow is slow in all of them.
double second(bench::Block& block, const bench::Pins& pins)
{
    double least = 1;
    for (int done = 0; done < kBlocks; done += kTimed) {
        const auto start = Clock::now();
        for (int i = 0; i < kTimed; ++i)
            block.process(pins);
        least = std::min(least, std::chrono::duration<double>(Clock::now() - start).count());
    }
    return least;
}

double silence_to_noise(const vantoro::BlockType& type, vantoro::PinCounts pins, bool flush)
{
    const vgraph::FlushToZero mode(flush);
    bench::Block block(type.type, pins.inputs, pins.outputs, kBlock);
    block.set(bench::vector_for(type, pins));
    const bench::Pins buffers(pins.inputs, pins.outputs, kBlock);
    second(block, buffers);  // warm
    const double noise = second(block, buffers);
    for (float* pin : buffers.in)
        std::fill_n(pin, kBlock, 0.0F);
    double worst = 0;
    for (int s = 0; s < kSilentSeconds; ++s)
        worst = std::max(worst, second(block, buffers));
    return worst / noise;
}

// The least of several runs: a second of silence takes a fraction of a millisecond, and other work may last longer.
double least(const vantoro::BlockType& type, vantoro::PinCounts pins, bool flush)
{
    double ratio = silence_to_noise(type, pins, flush);
    for (int again = 0; again < 4; ++again)
        ratio = std::min(ratio, silence_to_noise(type, pins, flush));
    return ratio;
}

}  // namespace

int main()
{
    bool fine = true;
    std::puts("| type | silence to noise, flushed | not flushed |\n|---|---:|---:|");
    bench::each_type([&](const vantoro::BlockType& type) {
        if (!vantoro::has_trait(type, VANTORO_DENORMALS))
            return;
        const vantoro::PinCounts pins = bench::pins_for(type, 2).value_or(vantoro::initial_pins(type));
        const double flushed = least(type, pins, true), kept = least(type, pins, false);
        fine = fine && flushed <= kMost;
        std::printf("| %s | %.2f | %.2f |\n", std::string(type.name).c_str(), flushed, kept);
    });
    return fine ? 0 : 1;
}
