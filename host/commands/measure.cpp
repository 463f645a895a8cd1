// SPDX-License-Identifier: Apache-2.0
// vantoro measure: a sweep to play, and from a recording of it the impulse response and the frequency response.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <utility>

#include "analysis/impulse.h"
#include "analysis/plot.h"
#include "commands/commands.h"
#include "io/audio_file.h"
#include "support/decimal.h"
#include "support/quantity.h"

namespace vantoro {
namespace {

constexpr double kLongest = 100;       // s of a sweep
constexpr double kLongestPart = 2000;  // ms of a window

enum class Delay {
    keep,
    remove
};

struct Options {
    std::string recording, sweep;  // one of them
    std::string reference, impulse, frd, picture;
    int channel = 0, reference_channel = 0, points = 48;
    double seconds = 10, from = 20, to = 20000, level_db = -12, tail = 2;
    std::optional<int> rate;
    std::string window, smooth;
    Delay delay = Delay::remove;
};

std::string fixed(double value, int decimals)
{
    char text[40];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

std::string short_text(double value) { return decimal(static_cast<float>(value)); }

TestSignal test_of(const Options& options, int rate)
{
    if (options.to > rate / 2.0)
        throw UserError({{"--to", short_text(options.to), "at most half the rate, " + short_text(rate / 2.0)}});
    if (options.to < 2 * options.from)
        throw UserError({{"--to", short_text(options.to), "an octave above --from or more"}});
    return test_signal(rate, options.from, options.to, options.seconds, options.level_db);
}

// ---- the sweep ----

int write_sweep(const Options& options)
{
    const int rate = options.rate.value_or(kDefaultRate);
    AudioWriter::check(options.sweep, Encoding::natural, 1, rate);
    std::vector<float> samples = samples_of(test_of(options, rate));
    samples.resize(samples.size() + static_cast<std::size_t>(std::llround(options.tail * rate)));
    AudioWriter writer(options.sweep, Encoding::natural, 1, rate);
    const float* const channel = samples.data();
    writer.write(&channel, static_cast<int>(samples.size()));
    writer.commit();
    return 0;
}

// ---- what is read ----

struct Take {
    int rate;
    std::vector<float> samples;
};

Take read_channel(const std::string& path, int channel, const char* option)
{
    constexpr std::size_t kMost = std::size_t{1} << 23U;  // transforms of twice as many take half a gigabyte
    AudioReader reader(path);
    if (channel >= reader.channels())
        throw UserError({{option, std::to_string(channel),
                          "a channel of " + path + ", from 0 to " + std::to_string(reader.channels() - 1)}});
    constexpr int kFrames = 4096;
    std::vector<std::vector<float>> block(static_cast<std::size_t>(reader.channels()), std::vector<float>(kFrames));
    std::vector<float*> channels;
    channels.reserve(block.size());
    for (auto& each : block)
        channels.push_back(each.data());
    Take take{reader.rate(), {}};
    const float* from = channels[static_cast<std::size_t>(channel)];
    while (const int count = reader.read(channels.data(), kFrames)) {
        take.samples.insert(take.samples.end(), from, from + count);
        if (take.samples.size() > kMost)
            throw UserError(path + ": longer than " + std::to_string(kMost) + " samples");
    }
    if (const std::string lacking = reader.shortfall(); !lacking.empty())
        std::fprintf(stderr, "vantoro: warning: %s\n", lacking.c_str());
    return take;
}

void warn(const Options& options, const std::string& text)
{
    print_problems({{.where = {}, .value = {}, .wanted = text, .warning = true, .file = options.recording}});
}

[[noreturn]] void refuse(const std::string& file, const std::string& text)
{
    throw UserError({{.where = {}, .value = {}, .wanted = text, .file = file}});
}

double peak_db(const std::vector<float>& samples)
{
    float peak = 0;
    for (const float x : samples)
        peak = std::max(peak, std::abs(x));
    return 20 * std::log10(std::max(static_cast<double>(peak), 1e-15));
}

// Runs of samples at the same peak: a converter that could go no further.
int clipped(const std::vector<float>& samples)
{
    constexpr float kNearFullScale = 0.98F;
    constexpr int kRun = 3;
    int count = 0, run = 0;
    for (std::size_t i = 1; i < samples.size(); ++i) {
        run = samples[i] == samples[i - 1] && std::abs(samples[i]) >= kNearFullScale ? run + 1 : 0;
        count += run == kRun - 1 ? 1 : 0;
    }
    return count;
}

Take read_recording(const Options& options)
{
    constexpr double kSilence = -100;  // dBFS
    Take take = read_channel(options.recording, options.channel, "--channel");
    if (!std::ranges::all_of(take.samples, [](float x) { return std::isfinite(x); }))
        refuse(options.recording, "has samples that are not finite");
    if (peak_db(take.samples) < kSilence)
        refuse(options.recording, "channel " + std::to_string(options.channel) + " is silent");
    if (options.rate && *options.rate != take.rate)
        refuse(options.recording, std::to_string(take.rate) + " Hz; --rate is " + std::to_string(*options.rate));
    if (const int count = clipped(take.samples); count > 0)
        warn(options, "clipped in " + std::to_string(count) + " places: levels are too low, and phases wrong");
    return take;
}

// What was played: the sweep of the options, or that of a file.
struct Played {
    TestSignal test;
    std::vector<float> samples;
};

Played played_of(const Options& options, int rate)
{
    const TestSignal test = test_of(options, rate);
    if (options.reference.empty())
        return {test, samples_of(test)};
    Take take = read_channel(options.reference, options.reference_channel, "--reference-channel");
    if (take.rate != rate)
        refuse(options.reference, std::to_string(take.rate) + " Hz; the recording has " + std::to_string(rate) + " Hz");
    if (const double hz = weakest_hz(take.samples, test); hz > 0)
        refuse(options.reference, "next to nothing at " + fixed(hz, 0) + " Hz" + "; --from and --to name its range");
    return {test, std::move(take.samples)};
}

Window parse_window(const std::string& text, const Impulse& impulse)
{
    if (text.empty())
        return {std::min(0.1, std::floor(1000 * most_before(impulse)) / 1000), 1};
    const std::size_t slash = std::min(text.find('/'), text.size());
    const auto part = [&](std::string_view part_text) { return in_unit(part_text, "ms").value_or(-1); };
    const double before = part(std::string_view(text).substr(0, slash));
    const double after = part(std::string_view(text).substr(std::min(slash + 1, text.size())));
    if (!(before >= 0 && before <= kLongestPart && after >= 1 && after <= kLongestPart))
        throw UserError({{"--window", text, "BEFORE/AFTER the arrival, such as 5ms/200ms, each up to 2s"}});
    if (const double most = most_before(impulse); before > 1000 * most)
        throw UserError({{"--window", text,
                          "at most " + fixed(1000 * most, 0) + " ms" +
                              " before: what distortion makes arrives earlier (a longer sweep moves it away)"}});
    return {before / 1000, after / 1000};
}

// "1/12": octaves. 0: none.
double parse_smoothing(const std::string& text)
{
    if (text.empty())
        return 0;
    const auto parts = text.starts_with("1/") ? number_of<int>(std::string_view(text).substr(2)) : std::nullopt;
    if (!parts || *parts < 1 || *parts > 96)
        throw UserError({{"--smooth", text, "a part of an octave from 1/1 to 1/96"}});
    return 1.0 / *parts;
}

Impulse find_impulse(const Options& options, const Take& take, const Played& played)
{
    const double seconds = static_cast<double>(take.samples.size()) / take.rate;
    if (options.reference.empty() && take.samples.size() < played.samples.size())
        refuse(options.recording,
               fixed(seconds, 2) + " s long" + "; the sweep takes " + fixed(options.seconds, 2) + " s");
    Impulse impulse = impulse_of(take.samples, played.samples, played.test, !options.reference.empty());
    const double arrival = impulse.arrival / take.rate;
    if (impulse.peak >= take.samples.size())
        refuse(options.recording, "begins after the sweep did: start recording before playing");
    if (const double missing = arrival + options.seconds - seconds; options.reference.empty() && missing > 0.01)
        refuse(options.recording,
               "ends " + fixed(missing, 2) + " s before the sweep does: the highest frequencies are missing");
    return impulse;
}

// ---- what is written ----

// From time 0, or from the beginning of the window.
void write_impulse(const Options& options, const Impulse& impulse, const Windowed& windowed)
{
    std::vector<float> samples;
    if (options.delay == Delay::keep)
        samples.resize(static_cast<std::size_t>(std::max(windowed.start, 0.0)));
    const std::size_t early =
        options.delay == Delay::keep ? static_cast<std::size_t>(std::max(-windowed.start, 0.0)) : 0;
    for (std::size_t i = early; i < windowed.samples.size(); ++i)
        samples.push_back(static_cast<float>(windowed.samples[i]));
    AudioWriter writer(options.impulse, Encoding::real, 1, impulse.rate);
    const float* const channel = samples.data();
    writer.write(&channel, static_cast<int>(samples.size()));
    writer.commit();
}

std::string settings_text(const Options& options, Window window)
{
    const auto ms = [](double seconds) { return short_text(1000 * seconds) + " ms"; };
    return ms(window.before) + " before, " + ms(window.after) + " after the arrival" +
           (options.smooth.empty() ? "" : ", smoothed by " + options.smooth + " octave");
}

void write_picture(const Options& options, const Axis& axis, const Spectrum& values, Window window)
{
    const std::string title = std::filesystem::path(options.recording).stem().string();
    const View view{.hz = Range{std::max(20.0, options.from), axis.rate / 2.0}};
    draw(options.picture, axis, {{settings_text(options, window), values}}, title, view);
}

void check_outputs(const Options& options)
{
    if (!options.picture.empty())
        kind_of(options.picture, {"svg", "png"});
    std::vector<PartFile::Kept> kept = {{"the recording", options.recording}, {"the reference", options.reference}};
    for (const std::string& path : {options.sweep, options.impulse, options.frd, options.picture}) {
        check_output(path, {}, kept);
        kept.push_back({"another output", path});
    }
}

void report(const Options& options, const Impulse& impulse, double noise_db, double lowest)
{
    const double samples = std::round(100 * impulse.arrival) / 100 + 0.0;  // not -0.00
    std::printf("%s: %g to %g Hz, arrival %.3f ms (%.2f samples), peak %.2f dB, signal to noise %.0f dB\n",
                options.recording.c_str(), lowest, options.to, 1000 * samples / impulse.rate, samples,
                20 * std::log10(std::abs(impulse.samples[impulse.peak])), noise_db);
}

int measure_recording(const Options& options)
{
    const double octaves = parse_smoothing(options.smooth);
    const Take take = read_recording(options);
    if (!options.impulse.empty())
        AudioWriter::check(options.impulse, Encoding::real, 1, take.rate);
    const Played played = played_of(options, take.rate);
    Impulse impulse = find_impulse(options, take, played);
    const Window window = parse_window(options.window, impulse);
    const double noise_db = signal_to_noise_db(impulse, window);
    constexpr double kHopeless = 6, kPoor = 20;  // dB
    if (noise_db < kHopeless)
        refuse(options.recording, "the sweep is not found in it: another sweep, another channel, or too much noise");
    if (noise_db < kPoor)
        warn(options, "signal to noise is only " + fixed(noise_db, 0) + " dB");
    const Axis axis = make_axis(take.rate, options.points);
    const double lowest = std::max(options.from, 1 / window.after);
    if (lowest >= options.to)
        throw UserError({{"--window", options.window, "too short for anything below --to"}});
    Impulse plain = impulse_of(played.samples, played.samples, played.test, !options.reference.empty());
    impulse.arrival -= std::exchange(plain.arrival, 0);
    const Windowed part = windowed(impulse, window);
    const Spectrum values = response_of(part, windowed(plain, window), axis, lowest, options.to, octaves,
                                        options.delay == Delay::keep ? 0 : impulse.arrival);
    if (!options.impulse.empty())
        write_impulse(options, impulse, part);
    if (!options.frd.empty())
        write_file(options.frd, frd_text(axis, values, settings_text(options, window)));
    if (!options.picture.empty())
        write_picture(options, axis, values, window);
    report(options, impulse, noise_db, lowest);
    return 0;
}

int measure_or_play(const Options& options)
{
    check_outputs(options);
    return options.sweep.empty() ? measure_recording(options) : write_sweep(options);
}

}  // namespace

void add_measure_command(CommandLine& line)
{
    auto options = std::make_shared<Options>();
    Command command = line.add("measure", "Measure with a sweep: write it, or find the response in a recording of it");
    command.one_needed({command.option("recording", options->recording, "RECORDING", "Sound file with the sweep in it"),
                        command.option("--sweep", options->sweep, "FILE", "Write the sweep, and silence after it")});
    command.option("--seconds", options->seconds, "SECONDS", "Length of the sweep [10]").from(0.1, kLongest);
    command.option("--from", options->from, "HZ", "Lowest frequency; the sweep begins an octave below [20]")
        .from(5, kMaxRate);
    command.option("--to", options->to, "HZ", "Highest frequency [20000]").from(20, kMaxRate);
    command.option("--level", options->level_db, "DBFS", "Peak of the sweep [-12]").from(-100, 0);
    command.option("--tail", options->tail, "SECONDS", "Silence after the sweep [2]")
        .from(0, kLongest)
        .needs("--sweep");
    add_rate(command, options->rate, "Of the sweep [48000, or that of the recording]");
    command
        .option("--reference", options->reference, "FILE",
                "What was played, in place of the sweep of these options: a file, or the recording itself")
        .needs("recording");
    command.option("--reference-channel", options->reference_channel, "N", "Its channel [0]")
        .from(0, kMaxPins)
        .needs("--reference");
    command.option("--channel", options->channel, "N", "Channel of the recording [0]").from(0, kMaxPins);
    command.option("-o,--output", options->impulse, "FILE", "The impulse response, a sound file").needs("recording");
    command.option("--frd", options->frd, "FILE", "The response as text, for --speaker").needs("recording");
    command.option("--picture", options->picture, "FILE", "The response drawn: .svg or .png").needs("recording");
    command.option("--window", options->window, "BEFORE/AFTER",
                   "What counts, around the arrival [100ms/1s]; 5ms/4ms leaves most reflections out");
    command.option("--smooth", options->smooth, "1/N", "Average over a part of an octave [none]");
    command.choice<Delay>("--delay", options->delay, {{"keep", Delay::keep}, {"remove", Delay::remove}},
                          "Keep the time to the arrival, or remove it from phase and impulse response [remove]");
    command.option("--points", options->points, "N", "Per octave [48]").from(1, 1000);
    command.notes("Level and phase are those from the sweep to the recording, full scale to full scale. The lowest "
                  "frequency that a window can tell is one period long; what lies below is left out.");
    command.runs([options] { return measure_or_play(*options); });
}

}  // namespace vantoro
