// SPDX-License-Identifier: Apache-2.0
#include "control/messages.h"

#include <algorithm>
#include <cmath>

#include "catalog/words.h"
#include "schematic/bypass.h"

namespace vantoro {

namespace {

using json = nlohmann::ordered_json;

constexpr double kLowestLevel = -120;  // dB

json level(double power)
{
    return rounded(power > 0 ? std::max(kLowestLevel, 10 * std::log10(power)) : kLowestLevel, 1);
}

std::string numbered(const std::string& name, std::size_t n) { return name + '.' + std::to_string(n); }

json blocks_json(const Schematic& schematic)
{
    json out = json::object();
    for (const Block& block : schematic.blocks)
        out[block.id] = {{"type", block.type->name},
                         {"inputs", block.pins.inputs},
                         {"outputs", block.pins.outputs},
                         {"params", tidy(named_values(*block.type, block.pins, block.vector))},
                         {"bypassable", can_be_bypassed(block)}};
    return out;
}

json wires_json(const Schematic& schematic)
{
    json out = json::array();
    const auto add = [&](const std::string& id, const std::vector<Feed>& sources) {
        for (std::size_t pin = 0; pin < sources.size(); ++pin)
            if (sources[pin].block != Feed::kSilence)
                out.push_back({{"from", feed_text(schematic, sources[pin])}, {"to", numbered(id, pin)}});
    };
    for (const Block& block : schematic.blocks)
        add(block.id, block.sources);
    add("output", schematic.outputs);
    return out;
}

json order_json(const Schematic& schematic)
{
    json out = json::array();
    for (const int b : schematic.order)
        out.push_back(schematic.blocks[static_cast<std::size_t>(b)].id);
    return out;
}

json solo_json(const Document& document)
{
    json out = json::array();
    for (const int output : document.solo_outputs())
        out.push_back("output." + std::to_string(output));
    return out;
}

}  // namespace

double rounded(double value, int decimals)
{
    const double scale = std::pow(10, decimals);
    return std::round(value * scale) / scale;
}

json to_json(std::span<const Problem> problems)
{
    json out = json::array();
    for (const Problem& p : problems.first(std::min(problems.size(), kMostShown)))
        out.push_back({{"where", p.file + p.where},  // the file of a part; empty: the schematic
                       {"value", p.value},
                       {"wanted", p.wanted},
                       {"line", p.line},
                       {"column", p.column},
                       {"warning", p.warning}});
    return out;
}

json to_json(const PlayerStatus& s)
{
    return {{"playing", s.playing},       {"device", s.device},
            {"trouble", s.trouble},       {"rate", s.rate},
            {"period", s.period},         {"seconds", rounded(s.seconds, 2)},
            {"load", rounded(s.load, 4)}, {"worstLoad", rounded(s.worst_load, 4)},
            {"xruns", s.xruns},           {"mutedBlocks", s.muted_blocks},
            {"fault", s.fault},           {"heard", s.heard}};
}

json state_json(const Document& document, const std::string& by, const std::string& speaker)
{
    const Schematic& schematic = document.schematic();
    return {{"rev", document.revision()},
            {"saved", document.saved()},
            {"by", by},
            {"schematic", document.json()},
            {"blocks", blocks_json(schematic)},
            {"wires", wires_json(schematic)},
            {"order", order_json(schematic)},
            {"signals", signals_of(schematic)},
            {"bypass", document.bypassed_ids()},
            {"solo", solo_json(document)},
            {"ab", std::string(1, document.side())},
            {"abDiffers", document.sides_differ()},
            {"undo", document.undo_depth()},
            {"redo", document.redo_depth()},
            {"undoWhat", document.undo_what()},
            {"redoWhat", document.redo_what()},
            {"presets", document.presets()},
            {"problems", to_json(document.file_problems())},
            {"fileChanged", document.file_changed()},
            {"warnings", to_json(document.warnings())},
            {"speaker", speaker}};
}

std::vector<std::string> signals_of(const Schematic& schematic)
{
    std::vector<std::string> out;
    const auto add = [&](const std::string& id, std::size_t count) {
        for (std::size_t pin = 0; pin < count; ++pin)
            out.push_back(numbered(id, pin));
    };
    add("input", static_cast<std::size_t>(schematic.inputs));
    for (const Block& block : schematic.blocks)
        add(block.id, static_cast<std::size_t>(block.pins.outputs));
    add("output", schematic.outputs.size());
    return out;
}

json meters_json(const Schematic& schematic, const Readings& readings)
{
    json peak = json::array(), rms = json::array(), detectors = json::object();
    const auto add = [&](const std::vector<SignalLevel>& levels) {
        for (const SignalLevel& l : levels) {
            peak.push_back(level(static_cast<double>(l.peak) * static_cast<double>(l.peak)));
            rms.push_back(level(static_cast<double>(l.mean_square)));
        }
    };
    add(readings.inputs);
    for (const auto& pins : readings.pins)
        add(pins);
    add(readings.outputs);
    for (std::size_t b = 0; b < std::min(readings.detectors.size(), schematic.blocks.size()); ++b)
        for (const float value : readings.detectors[b])
            detectors[schematic.blocks[b].id].push_back(rounded(static_cast<double>(value), 1));
    return {{"rev", readings.revision}, {"peak", peak}, {"rms", rms}, {"detectors", detectors}};
}

}  // namespace vantoro
