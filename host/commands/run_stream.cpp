// SPDX-License-Identifier: Apache-2.0
#include "commands/run_stream.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "commands/progress.h"
#include "io/tailed_source.h"

namespace vantoro {

namespace {

constexpr double kQuietSeconds = 2;

bool is_quiet(const Engine& engine, int frames)
{
    constexpr float kQuiet = 1e-5F;  // -100 dBFS
    for (int ch = 0; ch < engine.outputs(); ++ch)
        if (std::any_of(engine.output()[ch], engine.output()[ch] + frames,
                        [](float v) { return !(std::fabs(v) < kQuiet); }))
            return false;
    return true;
}

}  // namespace

std::int64_t stream(const Job& job, Engine& engine, AudioSink* writer, Levels& levels, Meters& meters)
{
    Progress progress(job.frames);
    const std::int64_t size = engine.block_size();
    const auto seconds = [&](std::int64_t frames) { return static_cast<double>(frames) / job.rate; };
    for (std::int64_t done = 0, quiet = 0;;) {
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
        if (job.until_quiet && job.until_quiet->silent()) {
            quiet = is_quiet(engine, frames) ? quiet + frames : 0;
            if (seconds(quiet) >= kQuietSeconds)
                return done;
        }
        progress.show(done, job.rate);
    }
}

}  // namespace vantoro
