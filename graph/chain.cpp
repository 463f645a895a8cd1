// SPDX-License-Identifier: Apache-2.0
// Filters in series run as one, and what lies between them is written only where somebody listens.
//
// A node follows another when its inputs are all of that one's outputs, pin by pin, nobody else hears those, and the
// library takes both as parts of a chain. A chain runs in its first node's place. Where outputs in it are read from
// outside, by meters, taps or Vantoro_graph_signal, as much of it as heard_chain.cpp takes runs as one, the rest in
// pieces: it is cut after each node that is read.
#include <algorithm>
#include <vantoro/filters/chain.h>

#include "program.h"

namespace vgraph {

namespace {

std::size_t index(int n) { return static_cast<std::size_t>(n); }

// One that is lent may get another block.
bool may_chain(const RunNode& node)
{
    return !node.quiet && Vantoro_chain_takes(node.block) == 1 && !remembers(*node.info);
}

}  // namespace

// How many hear each signal.
bool Program::count_listeners(owned::Array<int>& listeners, std::size_t links) const
{
    if (!owned::zeros(listeners, buffers_count_))
        return false;
    for (std::size_t i = 0; i < links; ++i)
        ++listeners[links_[i]];
    return true;
}

// Whether all that `before` gives goes to `node`, pin by pin, and nowhere else.
bool Program::follows(const RunNode& node, const RunNode& before, const int* listeners) const
{
    if (before.outputs != node.inputs || !may_chain(before))
        return false;
    for (int pin = 0; pin < node.inputs; ++pin)
        if (const int signal = before.first_signal + pin;
            node.links[pin] != static_cast<std::uint32_t>(signal) || listeners[signal] != 1)
            return false;
    return true;
}

// The node that gives a signal, or -1.
int Program::giver_of(int signal) const
{
    const RunNode* nodes = nodes_.get();
    const RunNode* after = std::upper_bound(nodes, nodes + nodes_count_, signal,
                                            [](int wanted, const RunNode& node) { return wanted < node.first_signal; });
    return static_cast<int>(after - nodes) - 1;
}

bool Program::make_chains(std::size_t links)
{
    owned::Array<int> listeners;
    if (!count_listeners(listeners, links) || !owned::zeros(chained_, index(nodes_count_)) ||
        !owned::zeros(inner_, index(nodes_count_)))
        return false;
    for (int n = 0; n < nodes_count_; ++n) {
        RunNode& node = nodes_[index(n)];
        if (node.inputs == 0 || !may_chain(node))
            continue;
        const int before = giver_of(static_cast<int>(node.links[0]));
        if (before < 0 || !follows(node, nodes_[index(before)], listeners.get()))
            continue;
        node.before = before;
        nodes_[index(before)].after = n;
        inner_[index(inner_count_++)] = before;
    }
    int place = 0;
    for (int head = 0; head < nodes_count_; ++head)
        for (int n = nodes_[index(head)].before < 0 ? head : -1; n >= 0; n = nodes_[index(n)].after) {
            nodes_[index(n)].place = place;
            chained_[index(place++)] = nodes_[index(n)].block;
        }
    return true;
}

// Which outputs are read from outside in this block.
void Program::listen(bool metered)
{
    for (int i = 0; i < inner_count_; ++i) {
        RunNode& node = nodes_[index(inner_[index(i)])];
        node.cut = metered || node.asked;
    }
    if (inner_count_ == 0 || metered)
        return;
    for (const std::atomic<int>& slot : tapped) {
        const int signal = slot.load(std::memory_order_relaxed);
        if (const int n = signal > 0 && signal < signals() ? giver_of(signal) : -1; n >= 0)
            nodes_[index(n)].cut = true;
    }
}

// The last node of the piece that `n` is in.
int Program::end_of_piece(int n) const
{
    while (!writes(nodes_[index(n)]))
        n = nodes_[index(n)].after;
    return n;
}

int Program::run_chain(int head)
{
    int result = RT_OK;
    for (int n = head, last; n >= 0 && result >= 0; n = nodes_[index(last)].after) {
        last = end_of_piece(n);
        const RunNode &first = nodes_[index(n)], &end = nodes_[index(last)];
        node_at_work = first.name;
        if (const int heard = end.after < 0 ? -1 : run_heard(n, last); heard >= 0) {
            last = heard;
            continue;
        }
        result = n == last ? run_node(first)
                           : Vantoro_chain_process(chained_.get() + first.place, end.place - first.place + 1, first.in,
                                                   end.out);
    }
    return result;
}

// ---- faults ----

bool Program::pins_finite(const float* const* pins, int count) const
{
    return std::all_of(pins, pins + count, [this](const float* pin) { return finite(pin, block_size()); });
}

// What a node heard in this block.
bool Program::heard_finite(const RunNode& node) const
{
    const RunNode* before = node.before >= 0 ? &nodes_[index(node.before)] : nullptr;
    return before && !writes(*before) ? gave_finite(*before) : pins_finite(node.in, node.inputs);
}

// What a node gave. In the middle of a piece nothing is written; but no filter makes a number finite again, and each
// has in its state whether it had one.
bool Program::gave_finite(const RunNode& node) const
{
    if (writes(node))
        return pins_finite(node.out, node.outputs) && finite(node.levels, node.level_count);
    if (const RunNode& end = nodes_[index(end_of_piece(static_cast<int>(&node - nodes_.get())))];
        pins_finite(end.out, end.outputs))
        return true;
    for (const RunNode* at = &node;; at = &nodes_[index(at->before)]) {
        if (Vantoro_chain_finite(at->block) == 0)
            return false;
        if (at->before < 0 || writes(nodes_[index(at->before)]))
            return pins_finite(at->in, at->inputs);
    }
}

}  // namespace vgraph
