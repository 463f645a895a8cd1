// SPDX-License-Identifier: Apache-2.0
// vantoro run SCHEMATIC -i IN -o OUT: a sound file through the graph, block by block.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "commands/commands.h"
#include "commands/run_job.h"
#include "commands/run_stream.h"

namespace vantoro {
namespace {

const std::vector<std::pair<std::string, Encoding>> kEncodings = {
    {"pcm16", Encoding::pcm16}, {"pcm24", Encoding::pcm24}, {"pcm32", Encoding::pcm32}, {"float", Encoding::real}};

// What did not go as asked, though nothing failed.
std::vector<std::string> surprises(const Job& job, const Engine& engine)
{
    std::vector<std::string> all;
    if (std::string lacking = job.reader ? job.reader->shortfall() : ""; !lacking.empty())
        all.push_back(std::move(lacking));
    if (const std::size_t late = engine.changes_not_made(); late > 0)
        all.push_back("changes that end after the audio, not made or not finished: " + std::to_string(late));
    return all;
}

int run(const RunOptions& options)
{
    using Clock = std::chrono::steady_clock;
    Job job = prepare(options);
    const LibraryLog log(options.quiet);
    const std::unique_ptr<Engine> engine = make_engine(options.schematic, std::move(job.schematic), job.rate);
    const std::unique_ptr<AudioSink> writer = open_output(options, job, engine->outputs());
    Levels levels(options.quiet ? 0 : engine->outputs());
    Meters meters(*engine, options.meters, options.meter_interval);
    const Clock::time_point start = Clock::now();
    const std::int64_t frames = stream(job, *engine, writer.get(), levels, meters);
    const std::vector<std::string> warnings = surprises(job, *engine);
    if (options.strict && !warnings.empty())
        throw std::runtime_error(warnings.front());
    if (writer)
        writer->commit();
    meters.commit();
    const double wall = std::chrono::duration<double>(Clock::now() - start).count();

    if (!options.quiet) {
        for (const std::string& warning : warnings)
            std::fprintf(stderr, "vantoro: %s\n", warning.c_str());
        const double seconds = static_cast<double>(frames) / job.rate;
        std::FILE* report = options.output == "-" ? stderr : stdout;  // standard output has the audio and nothing else
        std::fprintf(report, "%.3f s of audio, %.1f x real time%s\n", seconds, seconds / std::max(wall, 1e-6),
                     levels.text().c_str());
        std::fputs(meters.text().c_str(), report);
    }
    if (engine->faulty())
        std::fprintf(stderr, "vantoro: %s\n", engine->fault().c_str());
    return engine->faulty() ? 1 : 0;
}

// ---- options ----

void add_files(Command& command, RunOptions& options)
{
    add_schematic(command, options.schematic);
    command.option("-i,--input", options.input, "FILE",
                   "Sound file to read (\"-\": standard input, a WAV file); none when the schematic has only sources");
    command.option("-o,--output", options.output, "FILE",
                   "Sound file to write (\"-\": standard output, a WAV file); the extension names the format");
    command.flag("--force", options.force, "Let the output replace the input");
    command.flag("--keep", options.keep, "Keep an output with audio that is not finite: those blocks are silent");
    command.choice("--format", options.encoding, kEncodings, "pcm16, pcm24 (default), pcm32 or float");
}

void add_raw(Command& command, RunOptions& options)
{
    std::vector<std::string> names;
    for (const auto& [name, format] : raw_formats())
        names.push_back(name);
    command.option("--raw-in", options.raw_in, "FORMAT", "-i is headerless PCM (\"-\": standard input) of this format")
        .one_of(names);
    command.option("--raw-rate", options.raw_rate, "HZ", "Its rate").needs("--raw-in").from(kMinRate, kMaxRate);
    command.option("--raw-channels", options.raw_channels, "N", "Its channels").needs("--raw-in").from(1, kMaxPins);
    command
        .option("--raw-out", options.raw_out, "FORMAT", "-o is headerless PCM (\"-\": standard output) of this format")
        .excludes("--format")
        .one_of(names);
}

void add_meters(Command& command, RunOptions& options)
{
    command.option("--meters", options.meters, "FILE", "Table of the detectors' levels over time (CSV)");
    command.option("--meter-interval", options.meter_interval, "SECONDS", "From row to row; 0: a row per block")
        .needs("--meters")
        .from(0, 1e6);
}

}  // namespace

void add_run_command(CommandLine& line)
{
    auto options = std::make_shared<RunOptions>();
    Command command = line.add("run", "Run a sound file through a schematic");
    add_files(command, *options);
    add_raw(command, *options);
    add_settings(command, options->settings, When::any);
    add_arithmetic(command, options->arithmetic);
    command.option("--seconds", options->seconds, "SECONDS", "Length, without an input file");
    command.option(
        "--tail", options->tail, "SECONDS",
        "Silence after the input, for delays and reverbs; auto: until the outputs stayed below -100 dBFS for "
        "two seconds, a minute at most");
    add_meters(command, *options);
    add_strict(command, options->strict);
    add_quiet(command, options->quiet);
    command.runs([options] { return run(*options); });
}

}  // namespace vantoro
