// SPDX-License-Identifier: Apache-2.0
#include "schematic/pins.h"

#include <algorithm>
#include <array>
#include <map>
#include <tuple>
#include <utility>

#include "schematic/schematic.h"
#include "support/json_walk.h"

namespace vantoro {

std::string count_text(int count, std::string_view what)
{
    return std::to_string(count) + ' ' + std::string(what) + (count == 1 ? "" : "s");
}

namespace {

enum Side : std::size_t {
    kIn,
    kOut
};

// The counts while they spread. Work is a list of sides that became known.
class Spread {
public:
    Spread(std::vector<Node>& nodes, const std::vector<Wire>& wires)
        : nodes_(nodes), wires_(wires), sides_(nodes.size())
    {
        for (std::size_t w = 0; w < wires.size(); ++w) {
            note(wires[w].from, kOut, w);
            note(wires[w].to, kIn, w);
        }
    }

    // Of all nodes: those that are counted, or at least asked for.
    long pins() const
    {
        long sum = 0;
        for (int n = 0; n < static_cast<int>(nodes_.size()); ++n) {
            const Node& node = nodes_[index(n)];
            sum +=
                std::max(node.inputs.value_or(0), least(n, kIn)) + std::max(node.outputs.value_or(0), least(n, kOut));
        }
        return sum;
    }

    void start()
    {
        // What a block's own counts say comes before what its wires say, so that a wire is blamed for not fitting.
        for (int n = 0; n < static_cast<int>(nodes_.size()); ++n)
            for (const Side side : {kIn, kOut})
                if (count(n, side))
                    known(n, side);
        for (const Wire& wire : wires_) {
            if (wire.from.count)
                carry(wire.to, kIn, *wire.from.count);
            if (wire.to.count)
                carry(wire.from, kOut, *wire.to.count);
        }
        run();
    }

    int least(int node, Side side) const { return at(node, side).least; }
    bool joined(int node, Side side) const { return !at(node, side).joins.empty(); }

    void set(int node, Side side, int value)
    {
        std::optional<int>& own = count(node, side);
        if (own || nodes_[index(node)].broken)
            return;
        own = value;
        known(node, side);
    }

    void run()
    {
        while (!work_.empty()) {
            const auto [node, side] = work_.back();
            work_.pop_back();
            const int value = *count(node, side);
            for (const std::size_t w : at(node, side).joins) {
                const End& own = side == kIn ? wires_[w].to : wires_[w].from;
                const End& other = side == kIn ? wires_[w].from : wires_[w].to;
                carry(other, side == kIn ? kOut : kIn, own.pins(value));
            }
        }
    }

private:
    struct Demand {
        int least = 0;                   // asked for by numbered wires
        std::vector<std::size_t> joins;  // wires that join all pins of this side
    };

    static std::size_t index(int node) { return static_cast<std::size_t>(node); }
    std::optional<int>& count(int node, Side side)
    {
        return side == kIn ? nodes_[index(node)].inputs : nodes_[index(node)].outputs;
    }
    Demand& at(int node, Side side) { return sides_[index(node)][side]; }
    const Demand& at(int node, Side side) const { return sides_[index(node)][side]; }

    void note(const End& end, Side side, std::size_t wire)
    {
        if (end.count)
            at(end.node, side).least = std::max(at(end.node, side).least, end.pin(*end.count - 1, 0) + 1);
        else
            at(end.node, side).joins.push_back(wire);
    }

    void known(int node, Side side)
    {
        work_.emplace_back(node, side);
        const int value = *count(node, side);
        const Node& known = nodes_[index(node)];
        if (const auto only = known.passes() ? std::optional(value) : only_count(known.type, side, value))
            set(node, side == kIn ? kOut : kIn, *only);
    }

    // Of pins with a name every other, say, there are as many on sides of two sizes: the rule says which.
    void carry(const End& end, Side side, int pins)
    {
        const Node& node = nodes_[index(end.node)];
        if (end.count || end.first < 0 || pins <= 0 || pins > kMaxPins || count(end.node, side) || node.broken)
            return;
        const auto fits = [&](int n) {
            return end.every == 1 ||
                   (side == kIn ? complete_pins(*node.type, n, {}) : complete_pins(*node.type, {}, n));
        };
        for (int n = end.side(pins); n < end.side(pins) + end.every && n <= kMaxPins; ++n)
            if (fits(n))
                return set(end.node, side, n);
    }

    // The one count that a rule allows on the far side, if it allows one only.
    std::optional<int> only_count(const BlockType* type, Side side, int value)
    {
        if (!type)
            return {};
        const auto [entry, fresh] = only_.try_emplace(std::tuple(type, side, value));
        if (!fresh)
            return entry->second;
        std::optional<int> only;
        for (int far = 0; far <= kMaxPins; ++far) {
            if (!pins_fit(*type, side == kIn ? PinCounts{value, far} : PinCounts{far, value}))
                continue;
            if (only)
                return {};
            only = far;
        }
        return entry->second = only;
    }

    std::vector<Node>& nodes_;
    const std::vector<Wire>& wires_;
    std::vector<std::array<Demand, 2>> sides_;
    std::vector<std::pair<int, Side>> work_;
    std::map<std::tuple<const BlockType*, Side, int>, std::optional<int>> only_;
};

// The fewest pins with at least `least` on each open side. Rules ask for equal counts, pairs, or groups plus a control
// pin: one of the next few counts fits.
std::optional<PinCounts> choose_pins(const Node& node, PinCounts least)
{
    constexpr int kTries = 4;
    const auto good = [&](const std::optional<PinCounts>& p) {
        return p && p->inputs >= least.inputs && p->outputs >= least.outputs;
    };
    if (const auto complete = complete_pins(*node.type, node.inputs, node.outputs); good(complete))
        return complete;
    std::optional<PinCounts> best;
    for (int more = 0; more < kTries; ++more) {
        for (const Side side : {kIn, kOut}) {
            if (side == kIn ? node.inputs : node.outputs)
                continue;
            const auto p = side == kIn ? complete_pins(*node.type, least.inputs + more, node.outputs)
                                       : complete_pins(*node.type, node.inputs, least.outputs + more);
            if (good(p) && (!best || p->inputs + p->outputs < best->inputs + best->outputs))
                best = p;
        }
    }
    return best;
}

void refuse(Node& node, std::string pins, std::vector<Problem>& problems)
{
    problems.push_back({"/blocks" + pointer_step(node.id), std::move(pins),
                        std::string(node.type->name) + " has the pins " + std::string(node.type->pins->text)});
    node.broken = true;
}

std::string counts_text(int inputs, int outputs)
{
    return count_text(inputs, "input") + ", " + count_text(outputs, "output");
}

// An open block gets its counts, or its reason why not.
void settle_block(Node& node, PinCounts least, Spread& spread, int n, std::vector<Problem>& problems)
{
    if (const auto pins = choose_pins(node, least)) {
        spread.set(n, kIn, pins->inputs);
        spread.set(n, kOut, pins->outputs);
        spread.run();
        return;
    }
    refuse(node,
           counts_text(node.inputs.value_or(least.inputs), node.outputs.value_or(least.outputs)) +
               " by counts and wires",
           problems);
}

void check_rule(Node& node, std::vector<Problem>& problems)
{
    if (node.type && !node.broken && !pins_fit(*node.type, {*node.inputs, *node.outputs}))
        refuse(node, counts_text(*node.inputs, *node.outputs), problems);
}

bool affordable(long pins, std::vector<Problem>& problems)
{
    constexpr long kMost = 1'000'000;
    if (pins > kMost)
        problems.push_back(
            {"/blocks", std::to_string(pins) + " pins", "at most " + std::to_string(kMost) + " pins in all"});
    return pins <= kMost;
}

}  // namespace

bool settle_pins(std::vector<Node>& nodes, const std::vector<Wire>& wires, std::vector<Problem>& problems)
{
    Spread spread(nodes, wires);
    if (!affordable(spread.pins(), problems))
        return false;
    spread.start();
    const int count = static_cast<int>(nodes.size());
    // An open input that feeds whole blocks is stereo.
    for (int n = 0; n < count; ++n)
        if (const Node& node = nodes[static_cast<std::size_t>(n)];
            !node.type && !node.passes() && spread.joined(n, kOut))
            spread.set(n, kOut, std::max(spread.least(n, kOut), 2));
    spread.run();
    // Blocks with numbered wires know more than those without: they come first.
    for (const bool numbered : {true, false}) {
        for (int n = 0; n < count; ++n) {
            Node& node = nodes[static_cast<std::size_t>(n)];
            const PinCounts least{spread.least(n, kIn), spread.least(n, kOut)};
            const bool open = !node.inputs || !node.outputs;
            if (node.type && !node.broken && open && (!numbered || least.inputs + least.outputs > 0))
                settle_block(node, least, spread, n, problems);
            if (node.passes() && open && (!numbered || least.inputs + least.outputs > 0)) {
                spread.set(n, kIn, std::max(least.inputs, least.outputs));
                spread.run();
            }
        }
    }
    for (int n = 0; n < count; ++n) {
        Node& node = nodes[static_cast<std::size_t>(n)];
        check_rule(node, problems);
        if (!node.type) {
            node.inputs = node.inputs.value_or(spread.least(n, kIn));
            node.outputs = node.outputs.value_or(spread.least(n, kOut));
        }
    }
    return affordable(spread.pins(), problems);
}

}  // namespace vantoro
