// SPDX-License-Identifier: Apache-2.0
#include "schematic/connect.h"

#include <string>
#include <string_view>
#include <utility>

namespace vantoro {

namespace {

// "mix has 2 inputs, 0 and 1", "xo.mid has 1 output, 0"
std::string has_text(const Node& node, const End& end, int side, bool source)
{
    const bool block = node.type || (node.passes() && node.seen_outside(source));
    const std::string_view what = !block ? "channel" : source ? "output" : "input";
    const int count = end.pins_named(side);
    std::string text = node.name(source) + (end.name.empty() ? "" : '.' + std::string(end.name)) + " has ";
    if (count == 0)
        return text + "no " + std::string(what) + 's';
    text += count_text(count, what);
    if (count == 1)
        return text + ", 0";
    return text + ", 0 " + (count == 2 ? "and " : "to ") + std::to_string(count - 1);
}

bool has_pins(const End& end, int side)
{
    const int count = end.pins(side);
    return count > 0 && end.pin(0, side) >= 0 && end.pin(count - 1, side) <= side + end.last;
}

class Connector {
public:
    Connector(const std::vector<Node>& nodes, std::vector<Problem>& problems)
        : nodes_(nodes), problems_(problems), sources_(nodes.size())
    {
        for (std::size_t n = 0; n < nodes.size(); ++n)
            if (!nodes[n].broken)
                sources_[n].resize(static_cast<std::size_t>(*nodes[n].inputs));
    }

    void add(const Wire& wire)
    {
        const Node& from = node(wire.from);
        const Node& to = node(wire.to);
        if (from.broken || to.broken || !check_ends(wire))
            return;
        const int leaving = wire.from.pins(*from.outputs);
        const int entering = wire.to.pins(*to.inputs);
        if (leaving == entering)
            join(wire, entering);
        else
            problems_.push_back({Wire::place(wire.index), wire.from.text + " -> " + wire.to.text,
                                 count_text(leaving, "pin") + " to " + count_text(entering, "pin") +
                                     "; number the pins so that the counts match"});
    }

    // Blocks hear what feeds the parts between them.
    void pass_through_parts()
    {
        for (std::vector<Feed>& sources : sources_)
            for (Feed& feed : sources)
                if (is_passed_on(feed)) {
                    const Feed origin = origin_of(feed);
                    feed = origin.block == Feed::kSilence ? Feed{} : Feed{origin.block, origin.pin, feed.wire};
                }
    }

    std::vector<std::vector<Feed>> take() { return std::move(sources_); }

private:
    const Node& node(const End& end) const { return nodes_[static_cast<std::size_t>(end.node)]; }

    bool check_ends(const Wire& wire)
    {
        const Node& from = node(wire.from);
        const Node& to = node(wire.to);
        const bool from_good = has_pins(wire.from, *from.outputs);
        const bool to_good = has_pins(wire.to, *to.inputs);
        if (!from_good)
            problems_.push_back(
                {Wire::place(wire.index) + "/0", wire.from.text, has_text(from, wire.from, *from.outputs, true)});
        if (!to_good)
            problems_.push_back(
                {Wire::place(wire.index) + "/1", wire.to.text, has_text(to, wire.to, *to.inputs, false)});
        return from_good && to_good;
    }

    bool is_passed_on(const Feed& feed) const
    {
        return feed.block >= 0 && nodes_[static_cast<std::size_t>(feed.block)].passes();
    }

    // The sides on the way are cut while it is followed, so that a cycle ends in one that has a wire and no source;
    // then they all hear the origin, so that no way is followed twice.
    Feed origin_of(Feed feed)
    {
        std::vector<Feed*> way;
        while (is_passed_on(feed)) {
            const std::string& part = nodes_[static_cast<std::size_t>(feed.block)].id;
            Feed& next = sources_[static_cast<std::size_t>(feed.block)][static_cast<std::size_t>(feed.pin)];
            if (next.block == Feed::kSilence && next.wire >= 0)
                problems_.push_back({Wire::place(next.wire), part, "a cycle through parts that hold no block there"});
            way.push_back(&next);
            feed = next;
            next.block = Feed::kSilence;
        }
        for (Feed* step : way)
            *step = feed.block == Feed::kSilence ? Feed{} : Feed{feed.block, feed.pin, step->wire};
        return feed;
    }

    void join(const Wire& wire, int pins)
    {
        for (int k = 0; k < pins; ++k) {
            const int pin = wire.to.pin(k, *node(wire.to).inputs);
            Feed& feed = sources_[static_cast<std::size_t>(wire.to.node)][static_cast<std::size_t>(pin)];
            if (feed.wire >= 0) {
                problems_.push_back({Wire::place(wire.index) + "/1", wire.to.text,
                                     "pin " + std::to_string(pin) + " of " + node(wire.to).name(false) +
                                         " is already fed by " + Wire::place(feed.wire - wire.first) +
                                         "; only one wire may enter a pin"});
                return;
            }
            feed = {wire.from.node, wire.from.pin(k, *node(wire.from).outputs), wire.index};
        }
    }

    const std::vector<Node>& nodes_;
    std::vector<Problem>& problems_;
    std::vector<std::vector<Feed>> sources_;
};

}  // namespace

std::vector<std::vector<Feed>> connect(const std::vector<Node>& nodes, const std::vector<Wire>& wires,
                                       std::vector<Problem>& problems)
{
    Connector connector(nodes, problems);
    for (const Wire& wire : wires)
        connector.add(wire);
    connector.pass_through_parts();
    return connector.take();
}

}  // namespace vantoro
