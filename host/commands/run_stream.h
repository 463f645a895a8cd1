// SPDX-License-Identifier: Apache-2.0
// A run while it runs.
#pragma once

#include "analysis/levels.h"
#include "analysis/meters.h"
#include "commands/run_job.h"
#include "engine/engine.h"

namespace vantoro {

// From the input through the engine to the writer, block by block, until the input or the asked length ends. Returns
// the samples per channel. Throws std::runtime_error; one of the reasons is audio that is not finite, unless the job
// keeps it.
std::int64_t stream(const Job& job, Engine& engine, AudioSink* writer, Levels& levels, Meters& meters);

}  // namespace vantoro
