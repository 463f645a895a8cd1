// SPDX-License-Identifier: Apache-2.0
// Reading the wires of a document, and what follows from them: pins, sources, order.
#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>

#include "catalog/layout.h"
#include "catalog/words.h"
#include "schematic/connect.h"
#include "schematic/draft.h"
#include "schematic/order.h"
#include "schematic/pins.h"
#include "support/decimal.h"
#include "support/json_text.h"

namespace vantoro {

namespace {

using nlohmann::json;

constexpr double kMaxBufferBytes = 2.0 * (1U << 30U);

bool parse_number(std::string_view text, int& number)
{
    number = number_of<int>(text).value_or(-1);
    return number >= 0;
}

// The run that "2", "2-5" or "1-" says; false: it is none.
bool parse_run(std::string_view text, End& end)
{
    const auto dash = text.find('-');
    if (!parse_number(text.substr(0, dash), end.first) || end.first >= kMaxPins)
        return false;
    int last = end.first;
    if (dash != text.npos && dash + 1 == text.size())
        return true;
    if (dash != text.npos && !parse_number(text.substr(dash + 1), last))
        return false;
    end.count = last - end.first + 1;
    return last >= end.first && last < kMaxPins;
}

// The pins of a side that have names: "low, high, mid".
std::string names_of(const BlockType& type, bool source)
{
    std::vector<std::string_view> names;
    for (const VantoroPin& pin : pins_of(type))
        if ((pin.output != 0) == source)
            names.emplace_back(pin.name);
    return joined(names);
}

// A run of the pins that go by a name, in numbers of the side.
bool name_run(const VantoroPin& pin, End& end)
{
    const int run = end.first;
    end.first = pin.first + pin.every * run;
    end.name = pin.name;
    end.first_named = pin.first;
    end.every = pin.every;
    end.last = pin.last < 0 ? pin.last : -1;
    if (pin.last >= 0) {
        const int left = (pin.last - end.first + pin.every) / pin.every;
        end.count = end.count.value_or(left);
        return left > 0 && *end.count <= left;
    }
    // One that counts from the end is one pin.
    return end.pin(end.count.value_or(1) - 1, 0) < kMaxPins && (pin.first >= 0 || run == 0);
}

// "low" or "low.1": what is wrong with it, or empty.
std::string read_name(const Node& node, bool source, std::string_view text, End& end)
{
    const auto dot = text.find('.');
    const std::string_view name = text.substr(0, dot);
    const std::string side = source ? "outputs" : "inputs";
    if (const auto named = std::ranges::find(node.names, name); named != node.names.end() && dot == text.npos) {
        end.first = static_cast<int>(named - node.names.begin());
        end.count = 1;
        return {};
    }
    if (!node.names.empty())
        return node.name(source) + " has the pins " + joined({node.names.begin(), node.names.end()}) +
               "; or numbers from 0";
    if (node.passes() && node.seen_outside(source))
        return node.id + " has no names for its " + side + ", but numbers from 0";
    if (!node.type)
        return node.id + " has no names for its channels, but numbers from 0";
    for (const VantoroPin& pin : pins_of(*node.type))
        if ((pin.output != 0) == source && pin.name == name)
            return (dot == text.npos || parse_run(text.substr(dot + 1), end)) && name_run(pin, end)
                       ? ""
                       : "the pins " + std::string(name) + " by number from 0: \"" + std::string(name) + ".0\"";
    const std::string names = names_of(*node.type, source);
    return std::string(node.type->name) + (names.empty() ? " has no names for its " + side + ", but numbers from 0"
                                                         : " has the " + side + ' ' + names + "; or numbers from 0");
}

// The node that an end names, or what is wrong with it.
int find_node(const std::string& id, bool source, const Scope& scope, Draft& draft, std::string& wanted)
{
    const int first_side = draft.output() + 1;
    if (id == kInputId || id == kOutputId) {
        if (source == (id == kInputId) && scope.part)
            return first_side + draft.uses.at(scope.prefix.substr(0, scope.prefix.size() - 1)) + (source ? 0 : 1);
        if (source == (id == kInputId))
            return source ? draft.input() : draft.output();
        wanted = source ? "a wire does not start at \"output\"" : "a wire does not end at \"input\"";
    } else if (const auto block = draft.ids.find(scope.prefix + id); block != draft.ids.end()) {
        return block->second;
    } else if (const auto use = draft.uses.find(scope.prefix + id); use != draft.uses.end()) {
        return first_side + use->second + (source ? 1 : 0);
    } else {
        wanted = draft.no_block(id, scope.prefix);
    }
    return End::kUnknown;
}

// What is wrong with an end, or empty.
std::string read_pins(std::string_view text, bool source, const Scope& scope, Draft& draft, End& end)
{
    const auto dot = text.find('.');
    const std::string id(text.substr(0, dot));
    const std::string_view pins = dot == text.npos ? "" : text.substr(dot + 1);
    const bool named = !pins.empty() && (pins.front() < '0' || pins.front() > '9');
    std::string wanted;
    if (id.empty() || (dot != text.npos && !named && !parse_run(pins, end)))
        return "the pins of a block: \"eq\" (all), \"eq.0\", \"eq.0-1\" or \"eq.1-\", by number from 0 or by name";
    const int found = find_node(id, source, scope, draft, wanted);
    if (found == End::kUnknown)
        return wanted;
    const Node* const node = found < draft.input() ? &draft.nodes[static_cast<std::size_t>(found)]
                             : found > draft.output()
                                 ? &draft.sides[static_cast<std::size_t>(found - draft.output() - 1)]
                                 : nullptr;
    if (named && node && node->broken)
        return {};  // its type or its part is wrong, and reported
    if (named)
        wanted = read_name(node ? *node : Node{.id = id}, source, pins, end);
    if (wanted.empty())
        end.node = found;
    return wanted;
}

End read_end(const std::string& where, const json& value, bool source, const Scope& scope, Draft& draft)
{
    End end;
    if (const std::string wanted = read_pins(value.get_ref<const std::string&>(), source, scope, draft, end);
        !wanted.empty())
        draft.fault(where, value, wanted);
    end.text = as_text(value);
    return end;
}

// Bounds what a few characters of JSON can make the program allocate.
bool affordable(Draft& draft)
{
    double outputs = 0;
    for (const Node& node : draft.nodes)
        outputs += node.passes() ? 0 : node.outputs.value_or(0);
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

void read_wires(const json& wires, int number, Draft& draft)
{
    Scope& scope = draft.parts.scopes[static_cast<std::size_t>(number)];
    scope.first_wire = draft.wires_written;
    if (!wires.is_array()) {
        draft.fault("/wires", wires, "an array of wires: [[\"input\", \"trim\"], [\"trim\", \"output\"]]");
        return;
    }
    for (const json& wire : wires) {
        const int index = draft.wires_written++;
        const std::string where = Wire::place(index);
        if (!wire.is_array() || wire.size() != 2 || !wire[0].is_string() || !wire[1].is_string()) {
            draft.fault(where, wire, "a wire is a pair of strings: [\"eq.0\", \"mix.1\"]");
            continue;
        }
        const End from = read_end(where + "/0", wire[0], true, scope, draft);
        const End to = read_end(where + "/1", wire[1], false, scope, draft);
        if (from.node != End::kUnknown && to.node != End::kUnknown)
            draft.wires.push_back({from, to, index, scope.first_wire});
    }
}

bool wire_up(Draft& draft)
{
    const auto channels = draft.options.channels ? draft.options.channels : draft.inputs;
    draft.nodes.push_back({.id = std::string(kInputId), .inputs = 0, .outputs = channels});
    draft.nodes.push_back({.id = std::string(kOutputId), .inputs = draft.outputs, .outputs = 0});
    draft.nodes.insert(draft.nodes.end(), draft.sides.begin(), draft.sides.end());
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
