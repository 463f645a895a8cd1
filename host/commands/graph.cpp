// SPDX-License-Identifier: Apache-2.0
// vantoro graph SCHEMATIC -o FILE: the schematic as a picture, drawn by graphviz.
#include <algorithm>
#include <array>
#include <filesystem>
#include <memory>
#include <optional>
#include <sstream>

#include "commands/commands.h"
#include "io/part_file.h"
#include "io/program.h"

namespace vantoro {
namespace {

struct Options {
    std::string schematic, output;
    std::vector<std::string> settings;
    std::optional<int> channels;
};

constexpr std::array kPictures = {".svg", ".png", ".pdf"};

// "<i0> 0|<i1> 1": one port a pin. Ids and names need no quoting: letters, digits, _ and -.
std::string ports(char side, int count)
{
    std::string text;
    for (int pin = 0; pin < count; ++pin) {
        const std::string number = std::to_string(pin);
        text += (pin > 0 ? "|<" : "<") + std::string(1, side) + number + "> " + number;
    }
    return text;
}

std::string port(const Schematic& schematic, const Feed& source)
{
    const bool terminal = source.block == Feed::kTerminal;
    return '"' + (terminal ? "input" : schematic.blocks[static_cast<std::size_t>(source.block)].id) + "\":o" +
           std::to_string(source.pin) + ":e";
}

void draw_wires(std::ostream& dot, const Schematic& schematic, const std::string& id, const std::vector<Feed>& sources)
{
    for (std::size_t pin = 0; pin < sources.size(); ++pin)
        if (sources[pin].block != Feed::kSilence)
            dot << "  " << port(schematic, sources[pin]) << " -> \"" << id << "\":i" << pin << ":w;\n";
}

void draw_node(std::ostream& dot, const std::string& id, const std::string& title, int inputs, int outputs)
{
    dot << "  \"" << id << "\" [label=\"{";
    if (inputs > 0)
        dot << '{' << ports('i', inputs) << "}|";
    dot << title;
    if (outputs > 0)
        dot << "|{" << ports('o', outputs) << '}';
    dot << "}\"];\n";
}

std::string dot_text(const Schematic& schematic)
{
    std::ostringstream dot;
    dot << "digraph schematic {\n"
           "  rankdir=LR; nodesep=0.3; ranksep=0.9;\n"
           "  node [shape=record, style=filled, fillcolor=\"#eef3f8\", fontname=\"sans-serif\", fontsize=11];\n"
           "  edge [arrowsize=0.6, color=\"#34577a\"];\n";
    if (schematic.hears_input)
        draw_node(dot, "input", "input", 0, schematic.inputs);
    if (!schematic.outputs.empty())
        draw_node(dot, "output", "output", static_cast<int>(schematic.outputs.size()), 0);
    for (const Block& block : schematic.blocks)
        draw_node(dot, block.id, block.id + "\\n" + std::string(block.type->name), block.pins.inputs,
                  block.pins.outputs);
    for (const Block& block : schematic.blocks)
        draw_wires(dot, schematic, block.id, block.sources);
    draw_wires(dot, schematic, "output", schematic.outputs);
    dot << "}\n";
    return dot.str();
}

int graph(const Options& options)
{
    namespace fs = std::filesystem;
    const std::string extension = fs::path(options.output).extension().string();
    if (std::ranges::find(kPictures, extension) == kPictures.end())
        throw UserError(options.output + ": the extension names the kind of picture: .svg, .png or .pdf");
    if (const std::string why = PartFile::refusal(options.output, {{"the schematic", options.schematic}}); !why.empty())
        throw UserError(why);
    const Schematic schematic = read_schematic(
        options.schematic, {.channels = options.channels, .settings = parse_settings(options.settings, When::start)});
    write_file(options.output, run_program("dot", {"-T" + extension.substr(1)}, dot_text(schematic), "graphviz"));
    return 0;
}

}  // namespace

void add_graph_command(CommandLine& line)
{
    auto options = std::make_shared<Options>();
    Command command = line.add("graph", "Draw a schematic");
    add_schematic(command, options->schematic);
    command.option("-o,--output", options->output, "FILE", "The picture: .svg, .png or .pdf").required();
    add_settings(command, options->settings, When::start);
    add_channels(command, options->channels);
    command.runs([options] { return graph(*options); });
}

}  // namespace vantoro
