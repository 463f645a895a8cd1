// SPDX-License-Identifier: Apache-2.0
#include "commands/run_job.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "commands/commands.h"
#include "io/tailed_source.h"
#include "schematic/reader.h"
#include "support/decimal.h"
#include "support/problem.h"

namespace vantoro {
namespace {

class Complaints {
public:
    void add(const std::string& text)
    {
        if (!text.empty())
            problems_.push_back({{}, {}, text});
    }
    template <class Make>
    void guard(Make&& make)
    {
        try {
            make();
        } catch (const UserError& error) {
            problems_.insert(problems_.end(), error.problems().begin(), error.problems().end());
        }
    }
    void check()
    {
        if (!problems_.empty())
            throw UserError(std::move(problems_));
    }

private:
    std::vector<Problem> problems_;
};

// Standard output is written as a WAV file.
std::string sound_path(const RunOptions& options) { return options.output == "-" ? "/dev/stdout" : options.output; }

std::unique_ptr<AudioSource> open_input(const RunOptions& options)
{
    if (options.raw_in.empty()) {
        return std::make_unique<AudioReader>(options.input == "-" ? "/dev/stdin" : options.input);
    }
    if (!options.raw_rate || !options.raw_channels)
        throw UserError("--raw-in: a stream has no header; give --raw-rate and --raw-channels");
    return std::make_unique<RawReader>(options.input, raw_formats().at(options.raw_in), *options.raw_channels,
                                       *options.raw_rate);
}

// Rate and length, from the input...
void settle_by_input(const RunOptions& options, Job& job, Complaints& complaints)
{
    const std::optional<int> fixed = job.schematic.rate;
    job.rate = job.reader->rate();
    job.frames = job.reader->frames();
    const std::string given = options.input + ": " + std::to_string(job.rate) + " Hz; ";
    if (fixed && *fixed != job.rate)
        complaints.add(given + "the schematic is made for " + std::to_string(*fixed) + " Hz");
    else if (job.rate < kMinRate || job.rate > kMaxRate)
        complaints.add(given + std::to_string(kMinRate) + " to " + std::to_string(kMaxRate) + " Hz can be processed");
    if (options.seconds)
        complaints.add("--seconds: the input file gives the length");
}

// Silence after the input, in which delays and reverbs die away.
void add_tail(const RunOptions& options, Job& job, Complaints& complaints)
{
    constexpr double kLongest = 3600, kLongestUnasked = 60;
    if (options.tail.empty())
        return;
    const bool automatic = options.tail == "auto";
    const double seconds = automatic ? kLongestUnasked : number_of<double>(options.tail).value_or(-1);
    if (!(seconds >= 0 && seconds <= kLongest))
        return complaints.guard([&] {
            throw UserError({{"--tail", options.tail, "seconds from 0 to 3600, or auto"}});
        });
    if (!job.reader)
        return complaints.add("--tail: without an input file --seconds gives the length");
    auto tailed = std::make_unique<TailedSource>(std::move(job.reader), std::llround(seconds * job.rate));
    job.until_quiet = automatic ? tailed.get() : nullptr;
    job.frames = automatic ? std::nullopt : tailed->frames();
    job.reader = std::move(tailed);
}

// ... or without one.
void settle_by_options(const RunOptions& options, Job& job, Complaints& complaints)
{
    constexpr double kMaxSeconds = 1e7;
    if (job.schematic.hears_input) {
        complaints.add(options.schematic + ": something is wired to \"input\": give a sound file with -i");
        return;
    }
    if (!job.schematic.rate)
        complaints.add(options.schematic + ": without an input file the schematic gives the rate: \"rate\": 48000");
    if (!options.seconds || !(*options.seconds > 0 && *options.seconds <= kMaxSeconds))
        complaints.add("--seconds: the length, needed without an input file, above 0");
    job.rate = job.schematic.rate.value_or(0);
    job.frames = std::llround(std::clamp(options.seconds.value_or(0), 0.0, kMaxSeconds) * job.rate);
}

void check_sound(const RunOptions& options, const Job& job, Complaints& complaints)
{
    const int channels = static_cast<int>(job.schematic.outputs.size());
    if (channels == 0 && !options.output.empty())
        complaints.add(options.schematic + ": nothing is wired to \"output\", so " + options.output +
                       " would be empty");
    if (channels > 0 && options.output.empty())
        complaints.add("-o: the schematic has an output; name a file for it");
    if (channels == 0 || options.output.empty())
        return;
    if (options.raw_out.empty())
        complaints.guard(
            [&] { AudioWriter::check(sound_path(options), options.encoding, channels, job.rate, job.frames); });
    complaints.guard([&] {
        check_output(options.output, job.schematic.files,
                     {{"the input; --force allows it", options.force ? "" : options.input}});
    });
}

void check_meters(const RunOptions& options, const Job& job, Complaints& complaints)
{
    if (options.meters == "-")
        complaints.add("--meters -: a file is wanted");
    complaints.guard([&] {
        check_output(options.meters, job.schematic.files,
                     {{"the input", options.input}, {"the output", options.output}});
    });
}

}  // namespace

Job prepare(const RunOptions& options)
{
    Job job;
    job.keep = options.keep;
    Complaints complaints;
    std::vector<Setting> settings;
    if (!options.input.empty())
        complaints.guard([&] { job.reader = open_input(options); });
    complaints.guard([&] { settings = parse_settings(options.settings, When::any); });
    ReadOptions given{.settings = settings, .quiet = is_quiet(options.arithmetic)};
    if (job.reader) {
        given.channels = job.reader->channels();
        given.rate = job.reader->rate();
    }
    complaints.guard(
        [&] { job.schematic = load_schematic(options.schematic, given, warnings_of(options.strict, options.quiet)); });
    complaints.check();
    if (job.reader)
        settle_by_input(options, job, complaints);
    else
        settle_by_options(options, job, complaints);
    add_tail(options, job, complaints);
    check_sound(options, job, complaints);
    check_meters(options, job, complaints);
    complaints.check();
    return job;
}

std::unique_ptr<AudioSink> open_output(const RunOptions& options, const Job& job, int channels)
{
    if (channels == 0)
        return nullptr;
    if (!options.raw_out.empty())
        return std::make_unique<RawWriter>(options.output, raw_formats().at(options.raw_out), channels);
    return std::make_unique<AudioWriter>(sound_path(options), options.encoding, channels, job.rate);
}

}  // namespace vantoro
