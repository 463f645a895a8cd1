// SPDX-License-Identifier: Apache-2.0
#include "commands/run_stream.h"

#include <algorithm>
#include <stdexcept>

#include "commands/progress.h"

namespace vantoro {

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
        if (!job.keep && engine.faulty())
            throw std::runtime_error("in the block at " + std::to_string(seconds(done)) + " s: " + engine.fault());
        levels.add(engine.output(), frames);
        if (writer)
            writer->write(engine.output(), frames);
        done += frames;
        meters.block_done(seconds(done));
        progress.show(done, job.rate);
    }
}

}  // namespace vantoro
