// SPDX-License-Identifier: Apache-2.0
// vantoro run SCHEMATIC -i IN -o OUT: a sound file through the graph, block by block.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>

#include "analysis/levels.h"
#include "analysis/meters.h"
#include "commands/commands.h"
#include "engine/engine.h"
#include "io/audio_file.h"
#include "io/raw_pcm.h"

namespace vantoro {
namespace {

struct Options {
    std::string schematic, input, output;
    std::vector<std::string> settings;
    std::optional<double> seconds;
    std::string meters;
    double meter_interval = 0;
    Encoding encoding = Encoding::natural;
    std::string raw_in, raw_out;  // formats; empty: a sound file
    std::optional<int> raw_rate, raw_channels;
    bool quiet = false;
    bool strict = false;
};

const std::map<std::string, Encoding> kEncodings = {
    {"pcm16", Encoding::pcm16}, {"pcm24", Encoding::pcm24}, {"pcm32", Encoding::pcm32}, {"float", Encoding::real}};

using Clock = std::chrono::steady_clock;

double since(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// A bar on a terminal, nothing elsewhere.
class Progress {
public:
    explicit Progress(std::optional<std::int64_t> frames) : frames_(frames), on_(isatty(STDERR_FILENO) != 0)
    {
        if (on_)
            LibraryLog::before_line(clear);
    }
    ~Progress()
    {
        if (on_)
            clear();
        LibraryLog::before_line(nullptr);
    }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void show(std::int64_t done, int rate)
    {
        constexpr double kInterval = 0.1;
        constexpr int kWidth = 40;
        if (!on_ || since(shown_) < kInterval)
            return;
        shown_ = Clock::now();
        if (frames_ && *frames_ > 0) {
            const double part = std::min(1.0, static_cast<double>(done) / static_cast<double>(*frames_));
            const std::string bar(static_cast<std::size_t>(part * kWidth), '#');
            std::fprintf(stderr, "\r[%-*s] %3.0f %%", kWidth, bar.c_str(), 100 * part);
        } else {
            std::fprintf(stderr, "\r%.1f s", static_cast<double>(done) / rate);
        }
        std::fflush(stderr);
    }

private:
    static void clear() { std::fputs("\r\033[K", stderr); }

    std::optional<std::int64_t> frames_;
    bool on_;
    Clock::time_point shown_{};
};

// An interrupt ends the run between two blocks, so that the unfinished file goes away.
volatile std::sig_atomic_t g_interrupted = 0;

void watch_interrupts()
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        std::signal(signal, [](int) { g_interrupted = 1; });
}

// Everything the run needs, made only when nothing that the user wrote is wrong.
struct Job {
    std::unique_ptr<AudioSource> reader;  // null: sources only
    Schematic schematic;
    int rate = 0;
    std::optional<std::int64_t> frames;
};

class Complaints {
public:
    void add(std::string text) { problems_.push_back({{}, {}, std::move(text)}); }
    template <class Make>
    void guard(Make&& make)
    {
        try {
            make();
        } catch (const AudioError& error) {
            add(error.what());
        } catch (const UserError& error) {
            problems_.insert(problems_.end(), error.problems().begin(), error.problems().end());
        }
    }
    void check() const
    {
        if (!problems_.empty())
            throw UserError(problems_);
    }

private:
    std::vector<Problem> problems_;
};

// Rate and length, from the file or without one.
void settle_length(const Options& options, Job& job, Complaints& complaints)
{
    constexpr double kMaxSeconds = 1e7;
    const std::optional<int> fixed = job.schematic.rate;
    if (job.reader) {
        job.rate = job.reader->rate();
        job.frames = job.reader->frames();
        if (fixed && *fixed != job.rate)
            complaints.add(options.input + ": " + std::to_string(job.rate) + " Hz; the schematic is made for " +
                           std::to_string(*fixed) + " Hz");
        else if (job.rate < kMinRate || job.rate > kMaxRate)
            complaints.add(options.input + ": " + std::to_string(job.rate) + " Hz; " + std::to_string(kMinRate) +
                           " to " + std::to_string(kMaxRate) + " Hz can be processed");
        if (options.seconds)
            complaints.add("--seconds: the input file gives the length");
        return;
    }
    if (job.schematic.hears_input) {
        complaints.add(options.schematic + ": something is wired to \"input\": give a sound file with -i");
        return;
    }
    if (!fixed)
        complaints.add(options.schematic + ": without an input file the schematic gives the rate: \"rate\": 48000");
    if (!options.seconds || !(*options.seconds > 0 && *options.seconds <= kMaxSeconds))
        complaints.add("--seconds: the length, needed without an input file, above 0");
    job.rate = fixed.value_or(0);
    job.frames = std::llround(std::clamp(options.seconds.value_or(0), 0.0, kMaxSeconds) * job.rate);
}

std::unique_ptr<AudioSource> open_input(const Options& options)
{
    if (options.raw_in.empty()) {
        if (options.input == "-")
            throw AudioError("-i -: a stream has no header; name its format with --raw-in");
        return std::make_unique<AudioReader>(options.input);
    }
    if (!options.raw_rate || !options.raw_channels)
        throw AudioError("--raw-in: a stream has no header; give --raw-rate and --raw-channels");
    return std::make_unique<RawReader>(options.input, raw_formats().at(options.raw_in), *options.raw_channels,
                                       *options.raw_rate);
}

void check_output(const Options& options, int outputs, int rate)
{
    if (!options.raw_out.empty())
        RawWriter::check(options.output);
    else if (options.output == "-")
        throw AudioError("-o -: a stream has no header; name its format with --raw-out");
    else
        AudioWriter::check(options.output, options.encoding, outputs, rate);
}

Job prepare(const Options& options)
{
    Job job;
    Complaints complaints;
    std::vector<Setting> settings;
    if (!options.input.empty())
        complaints.guard([&] { job.reader = open_input(options); });
    for (const std::string& text : options.settings)
        complaints.guard([&] { settings.push_back(parse_setting(text)); });
    ReadOptions given{.settings = settings};
    if (job.reader) {
        given.channels = job.reader->channels();
        given.rate = job.reader->rate();
    }
    complaints.guard([&] { job.schematic = load_schematic(options.schematic, given, options.strict); });
    complaints.check();
    settle_length(options, job, complaints);
    const int outputs = static_cast<int>(job.schematic.outputs.size());
    if (outputs == 0 && !options.output.empty())
        complaints.add(options.schematic + ": nothing is wired to \"output\", so " + options.output +
                       " would be empty");
    if (outputs > 0 && options.output.empty())
        complaints.add("-o: the schematic has an output; name a file for it");
    if (outputs > 0 && !options.output.empty())
        complaints.guard([&] { check_output(options, outputs, job.rate); });
    if (const std::string why = PartFile::refusal(options.meters); !why.empty())
        complaints.add(why);
    complaints.check();
    return job;
}

std::unique_ptr<AudioSink> open_output(const Options& options, const Engine& engine, const Job& job)
{
    if (engine.outputs() == 0)
        return nullptr;
    if (!options.raw_out.empty())
        return std::make_unique<RawWriter>(options.output, raw_formats().at(options.raw_out), engine.outputs());
    return std::make_unique<AudioWriter>(options.output, options.encoding, engine.outputs(), job.rate, job.frames);
}

// Streams until the input or the asked length ends; returns the samples per channel.
std::int64_t stream(Job& job, Engine& engine, AudioSink* writer, Levels& levels, Meters& meters)
{
    Progress progress(job.frames);
    std::int64_t done = 0;
    while (g_interrupted == 0) {
        const std::int64_t left = job.frames.value_or(0) - done;
        const int size = engine.block_size();
        const int frames =
            job.reader ? job.reader->read(engine.input(), size) : static_cast<int>(std::min<std::int64_t>(size, left));
        if (frames <= 0)
            return done;
        engine.change();
        if (!engine.process())
            throw std::runtime_error(engine.failure());
        levels.add(engine.output(), frames);
        if (writer)
            writer->write(engine.output(), frames);
        done += frames;
        meters.block_done(static_cast<double>(done) / job.rate);
        progress.show(done, job.rate);
    }
    throw std::runtime_error("interrupted" + std::string(writer ? "; the output file stays as it was" : ""));
}

int run(const Options& options)
{
    Job job = prepare(options);
    const LibraryLog log(options.quiet);
    const std::unique_ptr<Engine> made = make_engine(options.schematic, std::move(job.schematic), job.rate);
    Engine& engine = *made;
    const std::unique_ptr<AudioSink> writer = open_output(options, engine, job);
    watch_interrupts();
    Levels levels(engine.outputs());
    Meters meters(engine, options.meters, options.meter_interval);
    const Clock::time_point start = Clock::now();
    const std::int64_t frames = stream(job, engine, writer.get(), levels, meters);
    if (writer)
        writer->commit();
    meters.commit();
    const double wall = std::max(since(start), 1e-6);
    const double seconds = static_cast<double>(frames) / job.rate;
    if (engine.changes_left() > 0)
        std::fprintf(stderr, "vantoro: changes behind the end of the audio, not made: %zu\n", engine.changes_left());
    std::FILE* report = options.output == "-" ? stderr : stdout;  // behind audio nothing but audio
    std::fprintf(report, "%.3f s of audio, %.1f x real time%s\n", seconds, seconds / wall, levels.text().c_str());
    std::fputs(meters.text().c_str(), report);
    return 0;
}

}  // namespace

void add_run_command(CLI::App& app, int& status)
{
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("run", "Run a sound file through a schematic");
    command->add_option("schematic", options->schematic, "The schematic (JSON)")->required()->type_name("FILE");
    command->add_option("-i,--input", options->input, "Sound file to read; none when the schematic has only sources")
        ->type_name("FILE");
    command->add_option("-o,--output", options->output, "Sound file to write; the extension names the format")
        ->type_name("FILE");
    command->add_option("--set", options->settings, "BLOCK.PARAM=VALUE from the start, or BLOCK.PARAM=VALUE@SECONDS")
        ->allow_extra_args(false)
        ->type_name("SETTING");
    command->add_option("--seconds", options->seconds, "Length, without an input file");
    command->add_option("--format", options->encoding, "pcm16, pcm24 (default), pcm32 or float")
        ->transform(CLI::CheckedTransformer(kEncodings).description(""))
        ->type_name("NAME");
    std::vector<std::string> raw_names;
    for (const auto& [name, format] : raw_formats())
        raw_names.push_back(name);
    command->add_option("--raw-in", options->raw_in, "-i is headerless PCM (\"-\": standard input) of this format")
        ->check(CLI::IsMember(raw_names));
    command->add_option("--raw-rate", options->raw_rate, "Its rate in Hz")
        ->needs("--raw-in")
        ->check(CLI::Range(kMinRate, kMaxRate));
    command->add_option("--raw-channels", options->raw_channels, "Its channels")
        ->needs("--raw-in")
        ->check(CLI::Range(1, 1024));
    command->add_option("--raw-out", options->raw_out, "-o is headerless PCM (\"-\": standard output) of this format")
        ->check(CLI::IsMember(raw_names));
    command->add_option("--meters", options->meters, "Table of the detectors' levels over time (CSV)")
        ->type_name("FILE");
    command->add_option("--meter-interval", options->meter_interval, "Seconds from row to row; 0: a row per block")
        ->check(CLI::Range(0.0, 1e6));
    command->add_flag("-q,--quiet", options->quiet, "Drop the library's log lines");
    command->add_flag("--strict", options->strict, "Warnings about the schematic are errors");
    command->callback([options, &status] { status = run(*options); });
}

}  // namespace vantoro
