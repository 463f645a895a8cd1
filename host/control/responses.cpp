// SPDX-License-Identifier: Apache-2.0
#include "control/responses.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <stdexcept>
#include <utility>

#include "analysis/probe.h"
#include "analysis/response.h"
#include "analysis/speaker.h"
#include "control/messages.h"
#include "schematic/bypass.h"

namespace vantoro {

namespace {

using json = nlohmann::ordered_json;

std::size_t index(int n) { return static_cast<std::size_t>(n); }

// Noise adds to no response, and its blocks draw from one sequence that belongs to what plays.
Schematic without_noise(Schematic schematic)
{
    const auto silence = [&](std::vector<Feed>& sources) {
        for (Feed& feed : sources)
            if (feed.block >= 0 && has_trait(*schematic.blocks[index(feed.block)].type, VANTORO_RANDOM))
                feed = {};
    };
    for (Block& block : schematic.blocks)
        silence(block.sources);
    silence(schematic.outputs);
    return schematic;
}

bool has_control(const Schematic& schematic)
{
    return std::ranges::any_of(schematic.blocks, [](const Block& block) {
        for (int pin = 0; pin < block.pins.inputs; ++pin)
            if (is_control(*block.type, pin, block.pins) && block.sources[index(pin)].block != Feed::kSilence)
                return true;
        return false;
    });
}

// What pins select is known once the graph has run.
Engine engine_of(const Probe& probe, int rate)
{
    constexpr double kSettleSeconds = 0.5;
    Engine engine(probe.schematic, rate);
    const double samples = has_control(probe.schematic) ? kSettleSeconds * rate : 0;
    for (int n = 0; n < samples; n += engine.block_size())
        if (!engine.process())
            throw std::runtime_error(engine.failure());
    return engine;
}

std::string list_of(const std::vector<std::string>& ids)
{
    std::string text;
    for (const std::string& id : ids)
        text += (text.empty() ? "" : ", ") + id;
    return text;
}

json levels_of(const Spectrum& values)
{
    constexpr double kLowest = -200;
    json out = json::array();
    for (const std::complex<double>& h : values)
        out.push_back(std::isnan(h.real()) ? json()
                                           : json(rounded(std::max(kLowest, 20 * std::log10(std::abs(h) + 1e-30)), 3)));
    return out;
}

json curve_of(const Spectrum& values)
{
    json phase = json::array();
    for (const std::complex<double>& h : values)
        phase.push_back(rounded(std::arg(h) * 180 / std::numbers::pi, 2));
    return {{"db", levels_of(values)}, {"phase", phase}};
}

// The whole way, with blocks that coefficients do not describe left out.
struct Way {
    Computed computed;
    std::string note{};
};

Way way_of(Schematic schematic, int from, const Axis& axis)
{
    Way way{compute(engine_of(probe_graph(schematic), axis.rate), from, axis)};
    if (way.computed.ids.empty())
        return way;
    const std::vector<std::string> ids = way.computed.ids;
    schematic = bypassed(std::move(schematic), {ids.begin(), ids.end()});
    way.computed = compute(engine_of(probe_graph(std::move(schematic)), axis.rate), from, axis);
    way.note = "without " + list_of(ids) + ", not linear";
    if (!way.computed.ids.empty())
        way.note = list_of(way.computed.ids) + ": not linear";
    return way;
}

json output_json(const Way& way, int output)
{
    if (!way.computed.ids.empty())
        return {{"note", way.note}};
    const Spectrum& values = way.computed.outputs[index(output)];
    json out = values.empty() ? json{{"note", "nothing arrives"}} : curve_of(values);
    if (!way.computed.unstable.empty())
        out["note"] = list_of(way.computed.unstable) + ": unstable";
    else if (!way.note.empty())
        out["note"] = way.note;
    return out;
}

// Sections are bands where the block has a table with a row for each.
json bands_json(const Engine& engine, int block, const Axis& axis)
{
    json out = json::array();
    const Block& described = engine.schematic().blocks[index(block)];
    const nlohmann::json params = named_values(*described.type, described.pins, described.vector);
    const std::vector<Spectrum> sections = sections_of(engine, block, axis);
    for (const nlohmann::json& value : params)
        if (value.is_array() && !value.empty() && value.size() == sections.size() && out.empty())
            for (const Spectrum& section : sections)
                out.push_back({{"db", levels_of(section)}});
    return out;
}

json block_json(const Schematic& schematic, const std::string& id, const Axis& axis)
{
    const Probe probe = probe_blocks(schematic, {id});
    const auto found = std::ranges::find(probe.schematic.blocks, id, &Block::id);
    if (probe.schematic.inputs == 0 || found == probe.schematic.blocks.end())
        return {{"note", id + " has no way from an input to an output"}};
    const Engine engine = engine_of(probe, axis.rate);
    const Computed computed = compute(engine, 0, axis);
    if (!computed.ids.empty())
        return {{"note", id + " is not linear"}};
    const auto heard = std::ranges::find_if(computed.outputs, [](const Spectrum& s) { return !s.empty(); });
    if (heard == computed.outputs.end())
        return {{"note", "nothing arrives"}};
    json out = curve_of(computed.outputs.front().empty() ? *heard : computed.outputs.front());
    const int block = static_cast<int>(found - probe.schematic.blocks.begin());
    if (json bands = bands_json(engine, block, axis); !bands.empty())
        out["bands"] = std::move(bands);
    if (!computed.unstable.empty())
        out["note"] = id + " is unstable";
    return out;
}

// ---- static curves ----

// The block alone, all its signal and sidechain inputs on one channel.
Schematic alone(const Schematic& schematic, const Block& block)
{
    Schematic out;
    out.rate = schematic.rate;
    out.block_size = schematic.block_size;
    out.inputs = 1;
    out.hears_input = true;
    out.blocks = {block};
    for (int pin = 0; pin < block.pins.inputs; ++pin)
        out.blocks[0].sources[index(pin)] =
            is_control(*block.type, pin, block.pins) ? Feed{} : Feed{Feed::kTerminal, 0};
    out.outputs = {{0, 0}};
    out.order = {0};
    return out;
}

// Plays so long, and returns the mean square of the output in the last quarter. A square wave: peak, mean and RMS are
// the same, whichever a detector takes.
double power_at(Engine& engine, double level, int samples, std::int64_t& at)
{
    constexpr int kFrequency = 1000;  // Hz
    const int half = std::max(1, engine.rate() / kFrequency / 2);
    double sum = 0;
    int count = 0;
    for (int done = 0; done < samples; done += engine.block_size()) {
        for (int i = 0; i < engine.block_size(); ++i, ++at)
            engine.input()[0][i] = static_cast<float>(at / half % 2 == 0 ? level : -level);
        if (!engine.process())
            throw std::runtime_error(engine.failure());
        for (int i = 0; i < engine.block_size() && done >= samples * 3 / 4; ++i, ++count) {
            const double y = static_cast<double>(engine.output()[0][i]);
            sum += y * y;
        }
    }
    return sum / std::max(count, 1);
}

}  // namespace

json response_json(const Document& document, const ResponseRequest& request, const std::string& speaker)
{
    const Schematic schematic = without_noise(document.heard());
    const Axis axis = make_axis(document.rate(), request.points_per_octave);
    json frequency = json::array(), responses = json::object();
    for (std::size_t i = 0; i < axis.bins.size(); ++i)
        frequency.push_back(rounded(axis.hz(i), 2));
    if (!request.to.empty()) {
        const Way way = way_of(schematic, request.from, axis);
        for (const int output : request.to)
            responses["output." + std::to_string(output)] = output_json(way, output);
    }
    for (const std::string& id : request.blocks)
        responses[id] = block_json(without_noise(document.schematic()), id, axis);
    json out{{"frequency", std::move(frequency)}, {"responses", std::move(responses)}};
    if (!speaker.empty())
        out["speaker"] = {{"db", levels_of(parse_speaker(speaker, "speaker", axis))}};
    return out;
}

json curve_json(const Document& document, const std::string& id)
{
    constexpr int kLowest = -90, kHighest = 6, kStep = 2;  // dBFS
    constexpr double kSettleSeconds = 0.3;
    const Block& block = target_of(document.schematic(), id).block;
    if (signal_pins(block).empty() || block.pins.outputs == 0)
        throw UserError({{"/curve/block", id, "a block with an input and an output"}});
    Engine engine(alone(document.schematic(), block), document.rate());
    const int samples = static_cast<int>(kSettleSeconds * document.rate());
    json in = json::array(), out = json::array();
    std::int64_t at = 0;
    for (int db = kLowest; db <= kHighest; db += kStep) {
        const double power = power_at(engine, std::pow(10, db / 20.0), samples, at);
        in.push_back(db);
        out.push_back(rounded(10 * std::log10(power + 1e-16), 2));
    }
    return {{"curve", {{"in", in}, {"out", out}}}};
}

}  // namespace vantoro
