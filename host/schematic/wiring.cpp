// SPDX-License-Identifier: Apache-2.0
#include "schematic/wiring.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <queue>
#include <tuple>

#include "support/json_text.h"

namespace vantoro {

namespace {

enum Side : std::size_t {
    kIn,
    kOut
};

std::string count_text(int count, std::string_view what)
{
    return std::to_string(count) + ' ' + std::string(what) + (count == 1 ? "" : "s");
}

// "mix has 2 inputs, 0 and 1"
std::string has_text(const Node& node, Side side)
{
    const int count = side == kIn ? *node.inputs : *node.outputs;
    const std::string_view what = node.type ? (side == kIn ? "input" : "output") : "channel";
    if (count == 0)
        return node.id + " has no " + std::string(what) + 's';
    std::string text = node.id + " has " + count_text(count, what);
    if (count == 1)
        return text + ", 0";
    return text + ", 0 " + (count == 2 ? "and " : "to ") + std::to_string(count - 1);
}

bool parse_number(std::string_view text, int& number)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc{} && end == text.data() + text.size() && number >= 0;
}

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
        // What a block's own counts say comes before what its wires say, so that a wire is blamed for not fitting.
        for (int n = 0; n < static_cast<int>(nodes.size()); ++n)
            for (const Side side : {kIn, kOut})
                if (count(n, side))
                    known(n, side);
        for (const Wire& wire : wires) {
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
                carry(other, side == kIn ? kOut : kIn, value - own.first);
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
            at(end.node, side).least = std::max(at(end.node, side).least, end.first + *end.count);
        else
            at(end.node, side).joins.push_back(wire);
    }

    void known(int node, Side side)
    {
        work_.emplace_back(node, side);
        if (const auto only = only_count(nodes_[index(node)].type, side, *count(node, side)))
            set(node, side == kIn ? kOut : kIn, *only);
    }

    void carry(const End& end, Side side, int pins)
    {
        if (!end.count && pins > 0 && pins <= kMaxPins - end.first)
            set(end.node, side, end.first + pins);
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
            if (!type->pins.fits(side == kIn ? Pins{value, far} : Pins{far, value}))
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
std::optional<Pins> choose_pins(const Node& node, Pins least)
{
    constexpr int kTries = 4;
    const auto good = [&](const std::optional<Pins>& p) {
        return p && p->inputs >= least.inputs && p->outputs >= least.outputs;
    };
    if (const auto usual = complete_pins(*node.type, node.inputs, node.outputs); good(usual))
        return usual;
    std::optional<Pins> best;
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

// An open block gets its counts, or its reason why not.
void settle_block(Node& node, Pins least, Spread& spread, int n, std::vector<Problem>& problems)
{
    if (const auto pins = choose_pins(node, least)) {
        spread.set(n, kIn, pins->inputs);
        spread.set(n, kOut, pins->outputs);
        spread.run();
        return;
    }
    const std::string asked = count_text(node.inputs.value_or(least.inputs), "input") + ", " +
                              count_text(node.outputs.value_or(least.outputs), "output");
    problems.push_back({"/blocks" + pointer_step(node.id), asked + " by count or wires",
                        std::string(node.type->name) + " has the pins " + std::string(node.type->pins.text)});
    node.broken = true;
}

void check_rule(Node& node, std::vector<Problem>& problems)
{
    if (node.broken || !node.type ||
        (node.inputs && node.outputs && node.type->pins.fits({*node.inputs, *node.outputs})))
        return;
    problems.push_back({"/blocks" + pointer_step(node.id),
                        count_text(*node.inputs, "input") + ", " + count_text(*node.outputs, "output"),
                        std::string(node.type->name) + " has the pins " + std::string(node.type->pins.text)});
    node.broken = true;
}

bool check_end(const Node& node, const End& end, Side side, int wire, std::vector<Problem>& problems)
{
    const int pins = side == kIn ? *node.inputs : *node.outputs;
    if (end.first < pins && end.count.value_or(1) <= pins - end.first)
        return true;
    problems.push_back(
        {"/wires/" + std::to_string(wire) + (side == kIn ? "/1" : "/0"), as_text(end.text), has_text(node, side)});
    return false;
}

void connect_wire(const std::vector<Node>& nodes, const Wire& wire, std::vector<std::vector<Source>>& sources,
                  std::vector<Problem>& problems)
{
    const Node& from = nodes[static_cast<std::size_t>(wire.from.node)];
    const Node& to = nodes[static_cast<std::size_t>(wire.to.node)];
    if (from.broken || to.broken)
        return;
    const bool from_good = check_end(from, wire.from, kOut, wire.index, problems);
    if (!check_end(to, wire.to, kIn, wire.index, problems) || !from_good)
        return;
    const int leaving = wire.from.count.value_or(*from.outputs - wire.from.first);
    const int entering = wire.to.count.value_or(*to.inputs - wire.to.first);
    const std::string place = "/wires/" + std::to_string(wire.index);
    if (leaving != entering) {
        problems.push_back({place, as_text(wire.from.text) + " -> " + as_text(wire.to.text),
                            count_text(leaving, "pin") + " on " + count_text(entering, "pin") +
                                "; name pins so that the counts match"});
        return;
    }
    for (int k = 0; k < entering; ++k) {
        const int pin = wire.to.first + k;
        Source& slot = sources[static_cast<std::size_t>(wire.to.node)][static_cast<std::size_t>(pin)];
        if (slot.wire >= 0) {
            problems.push_back({place + "/1", as_text(wire.to.text),
                                "pin " + std::to_string(pin) + " of " + to.id + " is already fed by /wires/" +
                                    std::to_string(slot.wire) + "; one wire enters a pin"});
            return;
        }
        slot = {wire.from.node, wire.from.first + k, wire.index};
    }
}

constexpr int kMostCycles = 20;  // enough to mend; all cycles of a dense tangle would fill the memory

// Follows sources from node to node; a node met again while it is on the way closes a cycle.
class CycleFinder {
public:
    CycleFinder(const std::vector<Node>& nodes, const std::vector<std::vector<Source>>& sources, int count,
                std::vector<Problem>& problems)
        : nodes_(nodes), sources_(sources), problems_(problems), mark_(static_cast<std::size_t>(count))
    {
        for (int n = 0; n < count; ++n)
            if (mark_[static_cast<std::size_t>(n)] == Mark::fresh)
                walk(n);
    }

private:
    enum class Mark : char {
        fresh,
        on_the_way,
        done
    };
    struct Step {
        int node;
        std::size_t next = 0;  // the input pin to look at
    };

    void walk(int start)
    {
        way_.push_back({start});
        mark_[static_cast<std::size_t>(start)] = Mark::on_the_way;
        while (!way_.empty()) {
            Step& step = way_.back();
            const auto& pins = sources_[static_cast<std::size_t>(step.node)];
            if (step.next == pins.size()) {
                mark_[static_cast<std::size_t>(step.node)] = Mark::done;
                way_.pop_back();
                continue;
            }
            const Source& source = pins[step.next++];
            if (source.block < 0 || source.block >= static_cast<int>(mark_.size()))
                continue;
            Mark& mark = mark_[static_cast<std::size_t>(source.block)];
            if (mark == Mark::on_the_way)
                report(source);
            else if (mark == Mark::fresh) {
                mark = Mark::on_the_way;
                way_.push_back({source.block});
            }
        }
    }

    void report(const Source& closing)
    {
        if (closing.block == reported_.first && way_.back().node == reported_.second)
            return;  // the same two blocks, by another pin
        reported_ = {closing.block, way_.back().node};
        if (++cycles_ > kMostCycles)
            return;
        std::string text = nodes_[static_cast<std::size_t>(closing.block)].id;
        for (auto step = way_.rbegin(); step != way_.rend(); ++step) {
            text += " -> " + nodes_[static_cast<std::size_t>(step->node)].id;
            if (step->node == closing.block)
                break;
        }
        problems_.push_back({"/wires/" + std::to_string(closing.wire), text,
                             "a cycle; audio flows one way, so one of these wires must go"});
    }

    const std::vector<Node>& nodes_;
    const std::vector<std::vector<Source>>& sources_;
    std::vector<Problem>& problems_;
    std::vector<Mark> mark_;
    std::vector<Step> way_;
    std::pair<int, int> reported_{-1, -1};
    int cycles_ = 0;
};

}  // namespace

bool parse_end(std::string_view text, std::string& id, End& end)
{
    end.text = text;
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

void settle_pins(std::vector<Node>& nodes, const std::vector<Wire>& wires, std::vector<Problem>& problems)
{
    Spread spread(nodes, wires);
    const int count = static_cast<int>(nodes.size());
    // An open input that feeds whole blocks is stereo.
    for (int n = 0; n < count; ++n)
        if (!nodes[static_cast<std::size_t>(n)].type && spread.joined(n, kOut))
            spread.set(n, kOut, std::max(spread.least(n, kOut), 2));
    spread.run();
    // Blocks with numbered wires know more than those without: they come first.
    for (const bool numbered : {true, false}) {
        for (int n = 0; n < count; ++n) {
            Node& node = nodes[static_cast<std::size_t>(n)];
            const Pins least{spread.least(n, kIn), spread.least(n, kOut)};
            if (node.type && !node.broken && !(node.inputs && node.outputs) &&
                (!numbered || least.inputs + least.outputs > 0))
                settle_block(node, least, spread, n, problems);
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
}

std::vector<std::vector<Source>> connect(const std::vector<Node>& nodes, const std::vector<Wire>& wires,
                                         std::vector<Problem>& problems)
{
    std::vector<std::vector<Source>> sources(nodes.size());
    for (std::size_t n = 0; n < nodes.size(); ++n)
        if (!nodes[n].broken)
            sources[n].resize(static_cast<std::size_t>(*nodes[n].inputs));
    for (const Wire& wire : wires)
        connect_wire(nodes, wire, sources, problems);
    return sources;
}

std::vector<int> order_of(const std::vector<Node>& nodes, const std::vector<std::vector<Source>>& sources, int count,
                          std::vector<Problem>& problems)
{
    std::vector<std::vector<int>> listeners(static_cast<std::size_t>(count));
    std::vector<int> waits(static_cast<std::size_t>(count));
    for (int n = 0; n < count; ++n)
        for (const Source& source : sources[static_cast<std::size_t>(n)])
            if (source.block >= 0 && source.block < count) {
                listeners[static_cast<std::size_t>(source.block)].push_back(n);
                ++waits[static_cast<std::size_t>(n)];
            }
    std::priority_queue<int, std::vector<int>, std::greater<>> ready;
    for (int n = 0; n < count; ++n)
        if (waits[static_cast<std::size_t>(n)] == 0)
            ready.push(n);
    std::vector<int> order;
    while (!ready.empty()) {
        order.push_back(ready.top());
        ready.pop();
        for (const int n : listeners[static_cast<std::size_t>(order.back())])
            if (--waits[static_cast<std::size_t>(n)] == 0)
                ready.push(n);
    }
    if (order.size() < static_cast<std::size_t>(count))
        CycleFinder(nodes, sources, count, problems);
    return order;
}

}  // namespace vantoro
