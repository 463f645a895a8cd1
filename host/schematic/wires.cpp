// SPDX-License-Identifier: Apache-2.0
// Reading the wires of a document, and what follows from them: pins, sources, order.
#include <charconv>
#include <cmath>
#include <string>
#include <string_view>

#include "schematic/connect.h"
#include "schematic/draft.h"
#include "schematic/order.h"
#include "schematic/pins.h"
#include "support/json_text.h"

namespace vantoro {

namespace {

using nlohmann::json;

constexpr double kMaxBufferBytes = 2.0 * (1U << 30U);

bool parse_number(std::string_view text, int& number)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc{} && end == text.data() + text.size() && number >= 0;
}

// The parts of "id.first-last"; false when the text is no such thing.
bool parse_end(std::string_view text, std::string& id, End& end)
{
    const auto dot = text.find('.');
    id = text.substr(0, dot);
    if (dot == text.npos)
        return !id.empty();
    const std::string_view range = text.substr(dot + 1);
    const auto dash = range.find('-');
    if (id.empty() || !parse_number(range.substr(0, dash), end.first))
        return false;
    int last = end.first;
    if (dash != range.npos && dash + 1 == range.size())
        return true;  // "mix.1-"
    if (dash != range.npos && !parse_number(range.substr(dash + 1), last))
        return false;
    if (last < end.first || last >= kMaxPins)
        return false;
    end.count = last - end.first + 1;
    return true;
}

// The node that an end names, or what is wrong with it.
int find_node(const std::string& id, bool source, Draft& draft, std::string& wanted)
{
    if (id == kInputId || id == kOutputId) {
        if (source == (id == kInputId))
            return source ? draft.input() : draft.output();
        wanted = source ? "a wire does not start at \"output\"" : "a wire does not end at \"input\"";
    } else if (const auto block = draft.ids.find(id); block != draft.ids.end()) {
        return block->second;
    } else {
        wanted = draft.no_block(id);
    }
    return End::kUnknown;
}

End read_end(const std::string& where, const json& value, bool source, Draft& draft)
{
    End end;
    std::string id, wanted;
    if (parse_end(value.get_ref<const std::string&>(), id, end))
        end.node = find_node(id, source, draft, wanted);
    else
        wanted = "the pins of a block: \"eq\" (all), \"eq.0\", \"eq.0-1\" or \"eq.1-\", by number from 0";
    if (!wanted.empty())
        draft.fault(where, value, wanted);
    end.text = as_text(value);
    return end;
}

// Bounds what a few characters of JSON can make the program allocate.
bool affordable(Draft& draft)
{
    double outputs = 0;
    for (const Node& node : draft.nodes)
        outputs += node.outputs.value_or(0);
    const double bytes = outputs * draft.out.block_size * sizeof(float);
    if (bytes <= kMaxBufferBytes)
        return true;
    draft.problems.push_back(
        {"/blocks", std::to_string(std::llround(bytes / (1U << 20U))) + " MiB of buffers", "at most 2048 MiB"});
    return false;
}

// Nodes to blocks and the terminal.
std::vector<Feed> heard(std::vector<Feed> sources, Draft& draft)
{
    for (Feed& feed : sources) {
        if (feed.block != draft.input())
            continue;
        feed.block = Feed::kTerminal;
        draft.out.hears_input = true;
    }
    return sources;
}

}  // namespace

void read_wires(const json& wires, Draft& draft)
{
    if (!wires.is_array()) {
        draft.fault("/wires", wires, "an array of wires: [[\"input\", \"trim\"], [\"trim\", \"output\"]]");
        return;
    }
    for (std::size_t i = 0; i < wires.size(); ++i) {
        const std::string where = "/wires/" + std::to_string(i);
        const json& wire = wires[i];
        if (!wire.is_array() || wire.size() != 2 || !wire[0].is_string() || !wire[1].is_string()) {
            draft.fault(where, wire, "a wire is a pair of strings: [\"eq.0\", \"mix.1\"]");
            continue;
        }
        const End from = read_end(where + "/0", wire[0], true, draft);
        const End to = read_end(where + "/1", wire[1], false, draft);
        if (from.node != End::kUnknown && to.node != End::kUnknown)
            draft.wires.push_back({from, to, static_cast<int>(i)});
    }
}

bool wire_up(Draft& draft)
{
    const auto channels = draft.options.channels ? draft.options.channels : draft.inputs;
    draft.nodes.push_back({.id = std::string(kInputId), .inputs = 0, .outputs = channels});
    draft.nodes.push_back({.id = std::string(kOutputId), .inputs = draft.outputs, .outputs = 0});
    if (!settle_pins(draft.nodes, draft.wires, draft.problems) || !affordable(draft))
        return false;
    const auto sources = connect(draft.nodes, draft.wires, draft.problems);
    Schematic& out = draft.out;
    for (std::size_t b = 0; b < out.blocks.size(); ++b)
        out.blocks[b].sources = heard(sources[b], draft);
    out.order = order_of(out.blocks, draft.problems);
    out.outputs = heard(sources[static_cast<std::size_t>(draft.output())], draft);
    out.inputs = *draft.nodes[static_cast<std::size_t>(draft.input())].outputs;
    return true;
}

}  // namespace vantoro
