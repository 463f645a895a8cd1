// SPDX-License-Identifier: Apache-2.0
#include "commands/run_stream.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "commands/progress.h"

namespace vantoro {
namespace {

bool finite(const float* samples, int frames)
{
    return std::all_of(samples, samples + frames, [](float v) { return std::isfinite(v); });
}

// Where a NaN or an infinity comes from: the input, or the first block that puts one out.
std::string origin(const Engine& engine, int frames)
{
    for (int ch = 0; ch < engine.inputs(); ++ch)
        if (!finite(engine.signal({Feed::kTerminal, ch}), frames))
            return "channel " + std::to_string(ch) + " of the input";
    const Schematic& schematic = engine.schematic();
    for (const int b : schematic.order) {
        const Block& block = schematic.blocks[static_cast<std::size_t>(b)];
        for (int pin = 0; pin < block.pins.outputs; ++pin)
            if (!finite(engine.signal({b, pin}), frames))
                return block.id + '.' + std::to_string(pin);
    }
    return "nowhere";
}

std::string not_finite(const Engine& engine, int frames, double seconds)
{
    int output = 0;
    while (finite(engine.output()[output], frames))
        ++output;
    return "output " + std::to_string(output) + " is not finite in the block at " + std::to_string(seconds) +
           " s; it starts in " + origin(engine, frames);
}

}  // namespace

std::int64_t stream(const Job& job, Engine& engine, AudioSink* writer, Levels& levels, Meters& meters)
{
    Progress progress(job.frames);
    const std::int64_t size = engine.block_size();
    const auto seconds = [&](std::int64_t frames) { return static_cast<double>(frames) / job.rate; };
    for (std::int64_t done = 0;;) {
        const int wanted = static_cast<int>(job.reader ? size : std::min(size, job.frames.value_or(0) - done));
        const int frames = job.reader ? job.reader->read(engine.input(), wanted) : wanted;
        if (frames <= 0)
            return done;
        engine.change();
        if (!engine.process())
            throw std::runtime_error(engine.failure());
        if (!levels.add(engine.output(), frames))
            throw std::runtime_error(not_finite(engine, frames, seconds(done)));
        if (writer)
            writer->write(engine.output(), frames);
        done += frames;
        meters.block_done(seconds(done));
        progress.show(done, job.rate);
    }
}

}  // namespace vantoro
