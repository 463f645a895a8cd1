// SPDX-License-Identifier: Apache-2.0
// vantoro response SCHEMATIC -o FILE: magnitude and phase of blocks or of the whole graph, as a picture or a table.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>

#include "analysis/measure.h"
#include "analysis/plot.h"
#include "analysis/probe.h"
#include "analysis/speaker.h"
#include "catalog/words.h"
#include "commands/commands.h"
#include "commands/progress.h"
#include "io/part_file.h"
#include "support/decimal.h"

namespace vantoro {
namespace {

enum class Method {
    best,  // from the coefficients, or measured where they do not tell
    coefficients,
    measured,
    both
};
const std::vector<std::pair<std::string, Lower>> kLower = {{"phase", Lower::phase},
                                                           {"unwrapped", Lower::unwrapped},
                                                           {"without-delay", Lower::without_delay},
                                                           {"group-delay", Lower::group_delay}};
const std::vector<std::pair<std::string, Method>> kMethods = {
    {"coefficients", Method::coefficients}, {"measured", Method::measured}, {"both", Method::both}};

struct Options {
    std::string schematic, output, speaker;
    std::vector<std::string> blocks, settings, to;
    std::optional<int> channels;
    Method method = Method::best;
    Lower lower = Lower::phase;
    std::string hz, db;  // ranges
    int from = 0;
    std::optional<int> rate;
    int points = 48;
    double level_db = -60;
    bool quiet = false;
};

Probe make_probe(const Options& options)
{
    Schematic schematic =
        read_schematic(options.schematic, {.channels = options.channels,
                                           .rate = options.rate.value_or(kDefaultRate),
                                           .settings = parse_settings(options.settings, When::start)});
    check_output(options.output, schematic.files, {{"the loudspeaker", options.speaker}});
    if (options.blocks.empty() && schematic.outputs.empty())
        throw UserError(options.schematic + ": nothing is wired to \"output\"; name a block with --block");
    Probe probe =
        options.blocks.empty() ? probe_graph(std::move(schematic)) : probe_blocks(std::move(schematic), options.blocks);
    if (probe.schematic.inputs == 0)
        throw UserError((options.blocks.empty() ? options.schematic : options.blocks.front()) +
                        " has no input to ask a response of");
    if (options.from >= probe.schematic.inputs)
        throw UserError({{"--from", std::to_string(options.from),
                          "an input from 0 to " + std::to_string(probe.schematic.inputs - 1)}});
    if (probe.names.empty())
        throw UserError(options.blocks.back() + " has no output");
    return probe;
}

// What the pins select is known once the graph has run.
Computed computed(const Probe& probe, int from, const Axis& axis)
{
    constexpr int kSeconds = 2;
    Engine engine(probe.schematic, axis.rate);
    for (int n = 0; n < kSeconds * axis.rate; n += engine.block_size())
        if (!engine.process())
            throw std::runtime_error(engine.failure());
    return compute(engine, from, axis);
}

std::string list_of(const std::vector<std::string>& ids) { return joined({ids.begin(), ids.end()}); }

// The largest difference where neither curve lies more than 60 dB under the top of its own.
void print_agreement(std::FILE* to, const Axis& axis, const std::vector<Curve>& exact,
                     const std::vector<Curve>& measured)
{
    constexpr double kDepth = 60;
    constexpr double kHighest = 20000;
    double worst = 0;
    double worst_hz = 0;
    for (std::size_t c = 0; c < std::min(exact.size(), measured.size()); ++c) {
        double top = -std::numeric_limits<double>::infinity();
        for (const auto h : exact[c].values)
            top = std::max(top, magnitude_db(h));
        for (std::size_t i = 0; i < axis.bins.size() && axis.hz(i) <= kHighest; ++i) {
            const double level = magnitude_db(exact[c].values[i]);
            const double difference = std::abs(level - magnitude_db(measured[c].values[i]));
            if (level > top - kDepth && difference > worst) {
                worst = difference;
                worst_hz = axis.hz(i);
            }
        }
    }
    std::fprintf(to, "coefficients and measurement differ by at most %.4f dB, at %.4g Hz\n", worst, worst_hz);
}

// Outputs that nothing reaches are left out, with a line that says so.
std::vector<Curve> curves_of(const Probe& probe, const std::vector<bool>& wanted, const std::vector<Spectrum>& outputs,
                             const char* suffix, bool dashed, bool quiet)
{
    std::vector<Curve> curves;
    std::vector<std::string> unreached;
    for (std::size_t i = 0; i < outputs.size(); ++i)
        if (!wanted[i])
            continue;
        else if (outputs[i].empty())
            unreached.push_back(probe.names[i]);
        else
            curves.push_back({probe.names[i] + suffix, outputs[i], dashed});
    if (!unreached.empty() && !dashed && !quiet)
        std::fprintf(stderr, "vantoro: left out, for nothing arrives there: %s\n", list_of(unreached).c_str());
    if (curves.empty())
        throw std::runtime_error("nothing arrives at any output; --from chooses another input");
    return curves;
}

// The outputs of --to; without it all.
std::vector<bool> wanted_outputs(const Options& options, std::size_t count)
{
    std::vector<bool> wanted(count, options.to.empty());
    for (const std::string& text : options.to) {
        const auto n = number_of<std::size_t>(text);
        if (!n || *n >= count)
            throw UserError({{"--to", text, "an output from 0 to " + std::to_string(count - 1)}});
        wanted[*n] = true;
    }
    return wanted;
}

std::vector<Curve> find_curves(const Options& options, const Probe& probe, const Axis& axis)
{
    const std::vector<bool> wanted = wanted_outputs(options, probe.names.size());
    const Computed exact = computed(probe, options.from, axis);
    const bool linear = exact.ids.empty();
    if (!linear && options.method != Method::best && options.method != Method::measured)
        throw UserError("coefficients do not tell what these blocks do: " + list_of(exact.ids) +
                        "; --method measured does");
    if (!linear && options.method == Method::best && !options.quiet)
        std::fprintf(stderr, "vantoro: measured at %g dBFS, for coefficients do not tell what these blocks do: %s\n",
                     options.level_db, list_of(exact.ids).c_str());
    if (!exact.unstable.empty() && !options.quiet)
        std::fprintf(stderr, "vantoro: unstable, so that nobody will hear what is drawn: %s\n",
                     list_of(exact.unstable).c_str());
    if (linear && (options.method == Method::best || options.method == Method::coefficients))
        return curves_of(probe, wanted, exact.outputs, "", false, options.quiet);
    const auto heard = [&] {
        Progress progress(std::nullopt);
        return measure(probe.schematic, options.from, axis, linear ? Stimulus::impulse : Stimulus::sweep,
                       options.level_db, [&](std::int64_t frames) { progress.show(frames, axis.rate); });
    }();
    if (options.method != Method::both)
        return curves_of(probe, wanted, heard, "", false, options.quiet);
    std::vector<Curve> curves = curves_of(probe, wanted, exact.outputs, "", false, options.quiet);
    const std::vector<Curve> measured = curves_of(probe, wanted, heard, ", measured", true, options.quiet);
    print_agreement(options.output == "-" ? stderr : stdout, axis, curves, measured);
    curves.insert(curves.end(), measured.begin(), measured.end());
    return curves;
}

// The loudspeaker, and every curve through it.
void add_speaker(std::vector<Curve>& curves, const Spectrum& speaker)
{
    const std::size_t count = curves.size();
    for (std::size_t c = 0; c < count; ++c) {
        Curve sum{curves[c].name + " + loudspeaker", speaker, curves[c].dashed};
        for (std::size_t i = 0; i < speaker.size(); ++i)
            sum.values[i] *= curves[c].values[i];
        curves.push_back(std::move(sum));
    }
    curves.push_back({"loudspeaker", speaker});
}

std::string heading(const Options& options, const Probe& probe)
{
    std::string text = probe.schematic.title;
    if (text.empty() || !options.blocks.empty())
        text = std::filesystem::path(options.schematic).stem().string();
    if (!options.blocks.empty())
        text += ": " + list_of(options.blocks);
    if (probe.schematic.inputs > 1)
        text += ", from input " + std::to_string(options.from);
    return text;
}

// "20:20000"
std::optional<Range> parse_range(const char* option, const std::string& text, Range limits)
{
    if (text.empty())
        return {};
    const std::size_t colon = std::min(text.find(':'), text.size());
    const auto low = number_of<double>(std::string_view(text).substr(0, colon));
    const auto high = number_of<double>(std::string_view(text).substr(std::min(colon + 1, text.size())));
    if (!low || !high || !(*low >= limits.low && *high <= limits.high && *low < *high))
        throw UserError({{option, text,
                          "LOW:HIGH, within " + decimal(static_cast<float>(limits.low)) + " to " +
                              decimal(static_cast<float>(limits.high))}});
    return Range{*low, *high};
}

void write(const Options& options, const std::string& title, const Axis& axis, const std::vector<Curve>& curves,
           const View& view)
{
    if (options.output == "-") {
        std::fputs(csv_text(axis, curves, view).c_str(), stdout);
        return;
    }
    if (options.output.ends_with(".csv"))
        write_file(options.output, csv_text(axis, curves, view));
    else
        draw(options.output, axis, curves, title, view);
}

// Phase gets its slope from the neighbours of each bin.
void take_delays(const Axis& pairs, const Axis& axis, const Options& options, std::vector<Curve>& curves)
{
    for (Curve& curve : curves) {
        Slope slope = take_slopes(pairs, curve.values);
        if (options.lower == Lower::without_delay) {
            char text[40];
            std::snprintf(text, sizeof text, ", without %.3f ms", 1000 * bare_delay(axis, slope));
            curve.name += text;
        }
        curve.values = std::move(slope.values);
        curve.delay = std::move(slope.delay);
    }
}

int respond(const Options& options)
{
    if (options.output != "-")
        kind_of(options.output, {"svg", "png", "csv"});
    const Probe probe = make_probe(options);
    const int rate = rate_of(probe.schematic, options.rate);
    const View view{options.lower, parse_range("--hz", options.hz, {20, rate / 2.0}),
                    parse_range("--db", options.db, {-300, 300})};
    const Axis axis = make_axis(rate, options.points, corners_of(probe.schematic));
    const bool slopes = options.lower != Lower::phase;
    const Axis asked = slopes ? with_neighbours(axis) : axis;
    const Spectrum speaker = options.speaker.empty() ? Spectrum{} : read_speaker(options.speaker, asked);
    const LibraryLog log(options.quiet);
    std::vector<Curve> curves = find_curves(options, probe, asked);
    if (!speaker.empty())
        add_speaker(curves, speaker);
    if (slopes)
        take_delays(asked, axis, options, curves);
    write(options, heading(options, probe), axis, curves, view);
    return 0;
}

}  // namespace

void add_response_command(CommandLine& line)
{
    auto options = std::make_shared<Options>();
    Command command = line.add("response", "Draw magnitude and phase of blocks or of the whole graph");
    add_schematic(command, options->schematic);
    command.option("-o,--output", options->output, "FILE", "The result: .svg, .png or .csv; - prints CSV").required();
    command.option("--block", options->blocks, "ID", "This block alone; given again: a chain of blocks [whole graph]");
    command.option("--from", options->from, "N", "The input that is fed, of the graph or of the first block [0]")
        .from(0, kMaxPins);
    command.option("--to", options->to, "N",
                   "An output to draw, of the graph or of the last block; may be given again [all]");
    command.option("--speaker", options->speaker, "FILE", "A measured loudspeaker (FRD) to draw and to add");
    command.choice("--method", options->method, kMethods,
                   "coefficients, measured or both [coefficients, or measured where those do not tell]");
    command.choice("--below", options->lower, kLower,
                   "Under the magnitude, and in CSV: phase, unwrapped, without-delay or group-delay [phase]");
    command.option("--hz", options->hz, "LOW:HIGH", "What is drawn [20 Hz to half the rate]");
    command.option("--db", options->db, "LOW:HIGH", "What is drawn [what the curves need]");
    command.option("--level", options->level_db, "DBFS", "Of the sweep through what is not linear [-60]")
        .from(-140, 40);
    add_settings(command, options->settings, When::start);
    add_channels(command, options->channels);
    add_rate(command, options->rate, kRateLeftOpen);
    command.option("--points", options->points, "N", "Per octave [48]").from(1, 1000);
    add_quiet(command, options->quiet);
    command.runs([options] { return respond(*options); });
}

}  // namespace vantoro
