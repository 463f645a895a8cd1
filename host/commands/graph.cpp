// SPDX-License-Identifier: Apache-2.0
// vantoro graph SCHEMATIC -o FILE: the schematic as a picture, drawn by graphviz.
#include <algorithm>
#include <memory>
#include <optional>
#include <sstream>

#include "commands/commands.h"
#include "commands/listing.h"
#include "io/program.h"
#include "support/printable.h"

namespace vantoro {
namespace {

struct Options {
    std::string schematic, output;
    std::vector<std::string> settings;
    std::optional<int> channels;
    bool values = false;
    bool down = false;
};

constexpr std::size_t kLongestValue = 90;  // characters of a line of values

// Text in a label of a record: what would be read as structure is escaped.
std::string label_text(std::string_view text)
{
    std::string out;
    for (const char c : printable(text)) {
        if (std::string_view("{}|<>\"\\ ").find(c) != std::string_view::npos)
            out += '\\';
        out += c;
    }
    return out;
}

// "<i0> 0|<i1> 1": one port a pin, by its name where it has one.
std::string ports(const Block* block, PinSide side, int count)
{
    std::string text;
    for (int pin = 0; pin < count; ++pin) {
        const VantoroPin* note = block ? note_of(*block->type, side, pin, block->pins) : nullptr;
        text += (pin > 0 ? "|<" : "<") + std::string(1, side == PinSide::input ? 'i' : 'o') + std::to_string(pin) +
                "> " + std::to_string(pin) + (note ? "\\ " + label_text(note->name) : "");
    }
    return text;
}

std::string port(const Schematic& schematic, const Feed& source, const Options& options)
{
    const bool terminal = source.block == Feed::kTerminal;
    return '"' + (terminal ? "input" : schematic.blocks[static_cast<std::size_t>(source.block)].id) + "\":o" +
           std::to_string(source.pin) + (options.down ? ":s" : ":e");
}

void draw_wires(std::ostream& dot, const Schematic& schematic, const std::string& id, const std::vector<Feed>& sources,
                const Options& options)
{
    for (std::size_t pin = 0; pin < sources.size(); ++pin)
        if (sources[pin].block != Feed::kSilence)
            dot << "  " << port(schematic, sources[pin], options) << " -> \"" << id << "\":i" << pin
                << (options.down ? ":n;\n" : ":w;\n");
}

// `block` is null for a terminal.
void draw_node(std::ostream& dot, const std::string& id, const Block* block, PinCounts pins, bool values)
{
    dot << "  \"" << id << "\" [label=\"{";
    if (pins.inputs > 0)
        dot << '{' << ports(block, PinSide::input, pins.inputs) << "}|";
    dot << id;
    if (block)
        dot << "\\n" << block->type->name;
    if (block && values) {
        dot << "\\n";
        for (const std::string& setting : settings_of(*block))  // each ends its line on the left
            dot << label_text(shortened(setting, kLongestValue)) << "\\l";
    }
    if (pins.outputs > 0)
        dot << "|{" << ports(block, PinSide::output, pins.outputs) << '}';
    dot << "}\"];\n";
}

std::string dot_text(const Schematic& schematic, const Options& options)
{
    std::ostringstream dot;
    dot << "digraph schematic {\n"
        << "  rankdir=" << (options.down ? "TB" : "LR")
        << "; nodesep=0.3; ranksep=0.9; fontname=\"sans-serif\"; labelloc=t;\n"
        << "  label=\"" << label_text(schematic.title) << "\";\n"
        << "  node [shape=record, style=filled, fillcolor=\"#eef3f8\", fontname=\"sans-serif\", fontsize=11];\n"
        << "  edge [arrowsize=0.6, color=\"#34577a\"];\n";
    if (schematic.hears_input)
        draw_node(dot, "input", nullptr, {0, schematic.inputs}, false);
    if (!schematic.outputs.empty())
        draw_node(dot, "output", nullptr, {static_cast<int>(schematic.outputs.size()), 0}, false);
    for (const Block& block : schematic.blocks)
        draw_node(dot, block.id, &block, block.pins, options.values);
    for (const Block& block : schematic.blocks)
        draw_wires(dot, schematic, block.id, block.sources, options);
    draw_wires(dot, schematic, "output", schematic.outputs, options);
    dot << "}\n";
    return dot.str();
}

int graph(const Options& options)
{
    const std::string kind = kind_of(options.output, {"svg", "png", "pdf"});
    const Schematic schematic = read_schematic(
        options.schematic, {.channels = options.channels, .settings = parse_settings(options.settings, When::start)});
    check_output(options.output, schematic.files);
    write_file(options.output, run_program("dot", {"-T" + kind}, dot_text(schematic, options), "graphviz"));
    return 0;
}

}  // namespace

void add_graph_command(CommandLine& line)
{
    auto options = std::make_shared<Options>();
    Command command = line.add("graph", "Draw a schematic");
    add_schematic(command, options->schematic);
    command.option("-o,--output", options->output, "FILE", "The picture: .svg, .png or .pdf").required();
    command.flag("--values", options->values, "Show how the blocks are set");
    command.flag("--down", options->down, "From top to bottom");
    add_settings(command, options->settings, When::start);
    add_channels(command, options->channels);
    command.runs([options] { return graph(*options); });
}

}  // namespace vantoro
