// SPDX-License-Identifier: Apache-2.0
#include "schematic/order.h"

#include <functional>
#include <queue>
#include <string>
#include <utility>

#include "schematic/node.h"

namespace vantoro {

namespace {

constexpr int kMostCycles = 20;         // enough to mend; all cycles of a dense tangle would fill the memory
constexpr std::size_t kMostNamed = 20;  // blocks of one cycle

std::size_t index(int n) { return static_cast<std::size_t>(n); }

// Follows sources from block to block; a block met again while it is on the way closes a cycle.
class CycleFinder {
public:
    CycleFinder(std::span<const Block> blocks, std::vector<Problem>& problems)
        : blocks_(blocks), problems_(problems), mark_(blocks.size())
    {
        for (int b = 0; b < static_cast<int>(blocks.size()); ++b)
            if (mark_[index(b)] == Mark::fresh)
                walk(b);
    }

private:
    enum class Mark : char {
        fresh,
        on_the_way,
        done
    };
    struct Step {
        int block;
        std::size_t next = 0;  // the input pin to look at
    };

    void walk(int start)
    {
        enter(start);
        while (!way_.empty()) {
            Step& step = way_.back();
            const auto& pins = blocks_[index(step.block)].sources;
            if (step.next == pins.size()) {
                mark_[index(step.block)] = Mark::done;
                way_.pop_back();
                continue;
            }
            const Feed& feed = pins[step.next++];
            if (feed.block < 0)
                continue;
            if (mark_[index(feed.block)] == Mark::on_the_way)
                report(feed);
            else if (mark_[index(feed.block)] == Mark::fresh)
                enter(feed.block);
        }
    }

    void enter(int block)
    {
        mark_[index(block)] = Mark::on_the_way;
        way_.push_back({block});
    }

    void report(const Feed& closing)
    {
        const std::pair ends{closing.block, way_.back().block};
        if (ends == std::exchange(reported_, ends) || ++cycles_ > kMostCycles)
            return;  // the same two blocks, by another pin
        std::string text = blocks_[index(closing.block)].id;
        std::size_t named = 1;
        auto step = way_.rbegin();
        for (; step->block != closing.block; ++step)
            if (++named <= kMostNamed)
                text += " -> " + blocks_[index(step->block)].id;
        if (named > kMostNamed)
            text += " -> ...";
        problems_.push_back({Wire::place(closing.wire), text + " -> " + blocks_[index(closing.block)].id,
                             "a cycle: remove one of these wires"});
    }

    std::span<const Block> blocks_;
    std::vector<Problem>& problems_;
    std::vector<Mark> mark_;
    std::vector<Step> way_;
    std::pair<int, int> reported_{-1, -1};
    int cycles_ = 0;
};

}  // namespace

std::vector<int> order_of(std::span<const Block> blocks, std::vector<Problem>& problems)
{
    std::vector<std::vector<int>> listeners(blocks.size());
    std::vector<int> waits(blocks.size());
    for (std::size_t b = 0; b < blocks.size(); ++b)
        for (const Feed& feed : blocks[b].sources)
            if (feed.block >= 0) {
                listeners[index(feed.block)].push_back(static_cast<int>(b));
                ++waits[b];
            }
    std::priority_queue<int, std::vector<int>, std::greater<>> ready;
    for (std::size_t b = 0; b < blocks.size(); ++b)
        if (waits[b] == 0)
            ready.push(static_cast<int>(b));
    std::vector<int> order;
    while (!ready.empty()) {
        order.push_back(ready.top());
        ready.pop();
        for (const int b : listeners[index(order.back())])
            if (--waits[index(b)] == 0)
                ready.push(b);
    }
    if (order.size() < blocks.size())
        CycleFinder(blocks, problems);
    return order;
}

}  // namespace vantoro
