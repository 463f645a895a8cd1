// SPDX-License-Identifier: Apache-2.0
#include "export/table.h"

#include <cstdint>
#include <cstdio>
#include <utility>

#include "schematic/preset.h"
#include "vantoro_graph.h"

namespace vantoro {

namespace {

using Words = std::vector<std::uint32_t>;

// Words of a preset, one after the other.
class Writer {
public:
    explicit Writer(Words words) : words_(std::move(words)) {}

    std::size_t word(std::size_t at) const { return words_[at]; }
    void say(const std::string& text) { out_ += "    " + comment(text); }
    void decimals(std::size_t count, const std::string& text) { line(count, text, false); }
    void hexadecimals(std::size_t count, const std::string& text) { line(count, text, true); }
    const std::string& text() const { return out_; }

private:
    void line(std::size_t count, const std::string& text, bool hexadecimal)
    {
        constexpr std::size_t kAcross = 8;
        if (count == 0)
            return;
        for (std::size_t i = 0; i < count; ++i) {
            char word[32];
            if (hexadecimal)
                std::snprintf(word, sizeof word, "0x%08xU,", words_[at_++]);
            else
                std::snprintf(word, sizeof word, "%uU,", words_[at_++]);
            out_ += (i % kAcross == 0 ? (i > 0 ? "\n    " : "    ") : " ") + std::string(word);
        }
        out_ += text.empty() ? "\n" : "  " + comment(text);
    }

    Words words_;
    std::size_t at_ = 0;
    std::string out_;
};

std::string feeds_text(const Product& product, const std::vector<Feed>& feeds)
{
    std::string out;
    for (const Feed& feed : feeds)
        out += (out.empty() ? "" : ", ") + feed_text(product.schematic, feed);
    return out;
}

void write_nodes(const Product& product, Writer& out)
{
    out.say("magic, version, bytes, checksum, rate, block size, inputs, outputs, nodes, links, floats, words of text");
    out.hexadecimals(1, "");
    out.decimals(2, "");
    out.hexadecimals(1, "");
    out.decimals(VANTORO_PRESET_HEADER - VANTORO_PRESET_WORD_RATE, "");
    out.say("nodes: type, inputs, outputs, place and length of the vector, place of the name");
    for (const ProductNode& node : product.nodes)
        out.decimals(VANTORO_PRESET_NODE, node.block->id + ": " + node.block->type->name);
    out.say("what the inputs of each node hear, then the outputs");
    for (const ProductNode& node : product.nodes)
        out.decimals(node.block->sources.size(), node.block->id + " hears " + feeds_text(product, node.block->sources));
    out.decimals(product.schematic.outputs.size(), "output hears " + feeds_text(product, product.schematic.outputs));
}

void write_vectors(const Product& product, Writer& out)
{
    for (const ProductNode& node : product.nodes) {
        if (!node.entries.empty())
            out.say(node.block->id);
        for (const VectorEntry& entry : node.entries)
            out.hexadecimals(1, entry_text(entry));
    }
}

std::string source_of(const Product& product, Words preset)
{
    Writer out(std::move(preset));
    write_nodes(product, out);
    write_vectors(product, out);
    out.say("names");
    out.hexadecimals(out.word(VANTORO_PRESET_WORD_TEXT), "");
    return banner(product) + "#include \"" + product.name + ".h\"\n\nconst uint32_t " + product.name + "_preset[" +
           product.constant + "_PRESET_WORDS] = {\n" + out.text() + "};\n";
}

// ---- the header ----

std::string nodes_text(const Product& product)
{
    std::string out;
    for (const ProductNode& node : product.nodes)
        out += "    " + node.constant + ",\n";
    return out.empty() ? "" : "\n// Nodes, in order of processing.\nenum {\n" + out + "};\n";
}

std::string entries_text(const ProductNode& node)
{
    std::string out;
    for (const Parameter& parameter : node.parameters)
        out += "    " + parameter.constant + " = " + std::to_string(parameter.entry) + ",\n";
    return out.empty() ? "" : "\n" + comment("Entries of " + node.block->id) + "enum {\n" + out + "};\n";
}

std::string setter_text(const Product& product, const ProductNode& node, const Parameter& parameter)
{
    const bool by_row = parameter.rows > 1;
    const std::string place =
        parameter.constant +
        (by_row ? (parameter.stride > 1 ? " + row * " + std::to_string(parameter.stride) : " + row") : "");
    const std::string call =
        "Vantoro_graph_post_entry(graph, " + node.constant + ", " + place + ", " + parameter.argument + ")";
    return '\n' + comment(parameter.help) + "static inline int " + product.name + "_set_" + parameter.name +
           "(VantoroGraph* graph, " + (by_row ? "int row, " : "") + "float " + parameter.argument +
           ")\n{\n    return " +
           (by_row ? "row < 0 || row >= " + std::to_string(parameter.rows) + " ? RT_ERR_VALUE : " : "") + call +
           ";\n}\n";
}

std::string header_of(const Product& product, std::size_t words)
{
    std::string out = header_begin(product, "#include <stdint.h>\n#include <vantoro/vantoro_graph.h>\n") + "#define " +
                      product.constant + "_PRESET_WORDS " + std::to_string(words) + "\n\n// Vantoro_graph_create(" +
                      product.name + "_preset, sizeof " + product.name + "_preset, " +
                      (product.rate > 0 ? "0" : "rate") + ")\nextern const uint32_t " + product.name + "_preset[" +
                      product.constant + "_PRESET_WORDS];\n" + nodes_text(product);
    std::string setters;
    for (const ProductNode& node : product.nodes) {
        out += entries_text(node);
        for (const Parameter& parameter : node.parameters)
            if (parameter.settable)
                setters += setter_text(product, node, parameter);
    }
    if (!setters.empty())
        out += "\n// Each posts one parameter, as Vantoro_graph_post_entry does, and returns what that returns.\n" +
               setters;
    return out + header_end(product);
}

}  // namespace

CFiles c_table(const Product& product)
{
    Words preset = preset_of(product.schematic, product.rate);
    std::string header = header_of(product, preset.size());
    return {source_of(product, std::move(preset)), std::move(header)};
}

}  // namespace vantoro
