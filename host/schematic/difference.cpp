// SPDX-License-Identifier: Apache-2.0
#include "schematic/difference.h"

#include <bit>
#include <cstdint>
#include <map>
#include <optional>

#include "catalog/entries.h"

namespace vantoro {

namespace {

std::string pins_text(PinCounts pins) { return std::to_string(pins.inputs) + " to " + std::to_string(pins.outputs); }

std::string rate_of(const Schematic& schematic)
{
    return schematic.rate ? std::to_string(*schematic.rate) + " Hz" : "any";
}

class Differences {
public:
    Differences(const Schematic& from, const Schematic& to) : from_(from), to_(to)
    {
        add("rate", rate_of(from), rate_of(to));
        add("block size", std::to_string(from.block_size), std::to_string(to.block_size));
        add("inputs", std::to_string(from.inputs), std::to_string(to.inputs));
        add("outputs", std::to_string(from.outputs.size()), std::to_string(to.outputs.size()));
        std::map<std::string, const Block*> left;
        for (const Block& block : to.blocks)
            left.emplace(block.id, &block);
        for (const Block& block : from.blocks) {
            const auto found = left.find(block.id);
            if (found == left.end()) {
                list_.push_back({block.id, block.type->name, {}});
                continue;
            }
            compare(block, *found->second);
            left.erase(found);
        }
        for (const Block& block : to.blocks)
            if (left.contains(block.id))
                list_.push_back({block.id, {}, block.type->name});
        compare_feeds("output", from.outputs, to.outputs);
    }

    std::vector<Difference> list() && { return std::move(list_); }

private:
    void add(const std::string& what, const std::string& from, const std::string& to)
    {
        if (from != to)
            list_.push_back({what, from, to});
    }

    void compare(const Block& from, const Block& to)
    {
        add(from.id, from.type->name, to.type->name);
        add(from.id + " pins", pins_text(from.pins), pins_text(to.pins));
        add(from.id + " arithmetic", from.quiet ? "quiet" : "documented", to.quiet ? "quiet" : "documented");
        if (from.type == to.type)
            compare_values(from, to);
        compare_feeds(from.id, from.sources, to.sources);
    }

    void compare_values(const Block& from, const Block& to)
    {
        std::map<std::string, const VectorEntry*> left;
        const auto before = entries_of(*from.type, from.pins, from.vector);
        const auto after = entries_of(*to.type, to.pins, to.vector);
        for (const VectorEntry& entry : after)
            if (entry.param)
                left.emplace(entry.name, &entry);
        for (const VectorEntry& entry : before) {
            if (!entry.param)
                continue;
            const auto found = left.find(entry.name);
            const std::string what = from.id + '.' + entry.name;
            if (found == left.end())
                add(what, value_text(entry), "none");
            else if (std::bit_cast<std::uint32_t>(entry.value) != std::bit_cast<std::uint32_t>(found->second->value))
                add(what, value_text(entry), value_text(*found->second));
            left.erase(entry.name);
        }
        for (const VectorEntry& entry : after)
            if (entry.param && left.contains(entry.name))
                add(from.id + '.' + entry.name, "none", value_text(entry));
    }

    void compare_feeds(const std::string& id, const std::vector<Feed>& from, const std::vector<Feed>& to)
    {
        for (std::size_t pin = 0; pin < std::max(from.size(), to.size()); ++pin)
            add(id + " hears at " + std::to_string(pin), pin < from.size() ? feed_text(from_, from[pin]) : "none",
                pin < to.size() ? feed_text(to_, to[pin]) : "none");
    }

    const Schematic &from_, &to_;
    std::vector<Difference> list_;
};

}  // namespace

std::vector<Difference> difference_list(const Schematic& from, const Schematic& to)
{
    return Differences(from, to).list();
}

std::vector<std::string> differences(const Schematic& from, const Schematic& to)
{
    std::vector<std::string> lines;
    for (const Difference& d : difference_list(from, to))
        lines.push_back(d.from.empty() ? "+ " + d.what + ": " + d.to
                        : d.to.empty() ? "- " + d.what + ": " + d.from
                                       : d.what + ": " + d.from + " -> " + d.to);
    return lines;
}

}  // namespace vantoro
