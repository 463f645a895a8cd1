// SPDX-License-Identifier: Apache-2.0
// vantoro run SCHEMATIC -i IN -o OUT: a sound file through the graph, block by block.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>

#include "commands/commands.h"
#include "commands/run_job.h"
#include "commands/run_stream.h"

namespace vantoro {
namespace {

const std::map<std::string, Encoding> kEncodings = {
    {"pcm16", Encoding::pcm16}, {"pcm24", Encoding::pcm24}, {"pcm32", Encoding::pcm32}, {"float", Encoding::real}};

// What did not go as asked, though nothing failed.
void warn(const Job& job, const Engine& engine)
{
    if (const std::string lacking = job.reader ? job.reader->shortfall() : ""; !lacking.empty())
        std::fprintf(stderr, "vantoro: %s\n", lacking.c_str());
    if (engine.changes_left() > 0)
        std::fprintf(stderr, "vantoro: changes after the end of the audio, not made: %zu\n", engine.changes_left());
}

int run(const RunOptions& options)
{
    using Clock = std::chrono::steady_clock;
    Job job = prepare(options);
    const LibraryLog log(options.quiet);
    const std::unique_ptr<Engine> engine = make_engine(options.schematic, std::move(job.schematic), job.rate);
    const std::unique_ptr<AudioSink> writer = open_output(options, job, engine->outputs());
    Levels levels(engine->outputs());
    Meters meters(*engine, options.meters, options.meter_interval);
    const Clock::time_point start = Clock::now();
    const std::int64_t frames = stream(job, *engine, writer.get(), levels, meters);
    if (writer)
        writer->commit();
    meters.commit();
    const double wall = std::chrono::duration<double>(Clock::now() - start).count();

    warn(job, *engine);
    const double seconds = static_cast<double>(frames) / job.rate;
    std::FILE* report = options.output == "-" ? stderr : stdout;  // standard output has the audio and nothing else
    std::fprintf(report, "%.3f s of audio, %.1f x real time%s\n", seconds, seconds / std::max(wall, 1e-6),
                 levels.text().c_str());
    std::fputs(meters.text().c_str(), report);
    if (engine->faulty())
        std::fprintf(stderr, "vantoro: %s\n", engine->fault().c_str());
    return engine->faulty() ? 1 : 0;
}

// ---- options ----

void add_files(CLI::App& command, RunOptions& options)
{
    command.add_option("schematic", options.schematic, "The schematic (JSON)")->required()->type_name("FILE");
    command.add_option("-i,--input", options.input, "Sound file to read; none when the schematic has only sources")
        ->type_name("FILE");
    command.add_option("-o,--output", options.output, "Sound file to write; the extension names the format")
        ->type_name("FILE");
    command.add_flag("--force", options.force, "Let the output replace the input");
    command.add_flag("--keep", options.keep, "Keep an output with audio that is not finite: those blocks are silent");
    command.add_option("--format", options.encoding, "pcm16, pcm24 (default), pcm32 or float")
        ->transform(CLI::CheckedTransformer(kEncodings).description(""))
        ->type_name("NAME");
}

void add_raw(CLI::App& command, RunOptions& options)
{
    std::vector<std::string> names;
    for (const auto& [name, format] : raw_formats())
        names.push_back(name);
    command.add_option("--raw-in", options.raw_in, "-i is headerless PCM (\"-\": standard input) of this format")
        ->check(CLI::IsMember(names));
    command.add_option("--raw-rate", options.raw_rate, "Its rate in Hz")
        ->needs("--raw-in")
        ->check(CLI::Range(kMinRate, kMaxRate));
    command.add_option("--raw-channels", options.raw_channels, "Its channels")
        ->needs("--raw-in")
        ->check(CLI::Range(1, 1024));
    command.add_option("--raw-out", options.raw_out, "-o is headerless PCM (\"-\": standard output) of this format")
        ->excludes("--format")
        ->check(CLI::IsMember(names));
}

void add_meters(CLI::App& command, RunOptions& options)
{
    command.add_option("--meters", options.meters, "Table of the detectors' levels over time (CSV)")->type_name("FILE");
    command.add_option("--meter-interval", options.meter_interval, "Seconds from row to row; 0: a row per block")
        ->needs("--meters")
        ->check(CLI::Range(0.0, 1e6));
}

}  // namespace

void add_run_command(CLI::App& app, int& status)
{
    auto options = std::make_shared<RunOptions>();
    CLI::App* command = app.add_subcommand("run", "Run a sound file through a schematic");
    add_files(*command, *options);
    add_raw(*command, *options);
    command->add_option("--set", options->settings, "BLOCK.PARAM=VALUE from the start, or BLOCK.PARAM=VALUE@SECONDS")
        ->allow_extra_args(false)
        ->type_name("SETTING");
    command->add_option("--seconds", options->seconds, "Length, without an input file");
    add_meters(*command, *options);
    command->add_flag("--strict", options->strict, "Warnings about the schematic are errors");
    command->add_flag("-q,--quiet", options->quiet, "Drop the library's log lines");
    command->callback([options, &status] { status = run(*options); });
}

}  // namespace vantoro
