// SPDX-License-Identifier: Apache-2.0
// A program that takes the place of another while it plays: it hears again what the other heard, and then goes on.
//
// Most blocks forget: two seconds later their state is that of a block which always ran. Those that may remember for
// longer (a source's position, a latch, a long delay) and that are the same in both programs, with all that they hear,
// are not made anew: the old program lends them. What they gave is kept for as long as the input is, so that the new
// program's blocks hear it again; while both run, the old one runs them; then the new one takes them over.
#include <algorithm>
#include <cstring>
#include <utility>

#include "flush_to_zero.h"
#include "program.h"

namespace vgraph {

namespace {

std::size_t index(int n) { return static_cast<std::size_t>(n); }

}  // namespace

// Whether a block's state may last longer than two seconds of sound. That of a filter does not: it is linear, and what
// begins anew with its parameters has no other state than that of its sections.
bool remembers(const VantoroBlockInfo& info)
{
    return (info.traits & VANTORO_LINEAR_MODEL) == 0 || info.on_set != VANTORO_RESTARTS;
}

bool Program::keep(long blocks)
{
    int pins = 0;
    for (int n = 0; n < nodes_count_; ++n)
        if (RunNode& node = nodes_[index(n)]; remembers(*node.info))
            node.past = std::exchange(pins, pins + node.outputs);
    return past_.reserve(pins, block_size(), blocks);
}

// `same`: for each signal of this program the one of the other that always holds the same, or -1.
bool Program::same_node(const RunNode& node, const RunNode& other, const int* same) const
{
    return node.info == other.info && !node.quiet == !other.quiet && node.inputs == other.inputs &&
           node.outputs == other.outputs && node.length == other.length && std::strcmp(node.name, other.name) == 0 &&
           (node.length == 0 || std::memcmp(node.posted, other.posted, sizeof(float) * index(node.length)) == 0) &&
           std::equal(node.links, node.links + node.inputs, other.links,
                      [&](std::uint32_t a, std::uint32_t b) { return same[a] == static_cast<int>(b); });
}

bool Program::lend(const Program& from)
{
    owned::Array<int> same;
    if (!owned::zeros(same, buffers_count_))
        return false;
    std::fill_n(same.get(), buffers_count_, -1);
    for (int s = 0; s <= inputs_; ++s)
        same[index(s)] = s;
    int at = 0;  // names mostly come in the order that they had
    for (int n = 0; n < nodes_count_; ++n) {
        RunNode& node = nodes_[index(n)];
        node.lender = -1;
        for (int tried = 0; tried < from.nodes_count_; ++tried, at = (at + 1) % from.nodes_count_) {
            const RunNode& other = from.nodes_[index(at)];
            if (std::strcmp(node.name, other.name) != 0)
                continue;
            if (same_node(node, other, same.get())) {
                for (int pin = 0; pin < node.outputs; ++pin)
                    same[index(node.first_signal + pin)] = other.first_signal + pin;
                if (remembers(*node.info))
                    node.lender = at;
            }
            break;
        }
    }
    base = &from;
    return true;
}

void Program::unlend()
{
    for (int n = 0; n < nodes_count_; ++n)
        nodes_[index(n)].lender = -1;
    base = nullptr;
}

// What the old program had made for them goes with it, to be freed.
void Program::take_over(Program& old)
{
    for (int n = 0; n < nodes_count_; ++n) {
        RunNode& node = nodes_[index(n)];
        if (node.lender < 0)
            continue;
        RunNode& lent = old.nodes_[index(node.lender)];
        std::swap(node.block, lent.block);
        std::swap(node.pro, lent.pro);
        std::swap(node.quiet, lent.quiet);
        node.lender = -1;
    }
    base = nullptr;
}

BlockAlgo* Program::block_of(const RunNode& node) const
{
    return node.lender >= 0 && lender_ ? lender_->nodes_[index(node.lender)].block : node.block;
}

void Program::borrow(const RunNode& node) const
{
    const RunNode& lent = lender_->nodes_[index(node.lender)];
    for (int pin = 0; pin < node.outputs; ++pin)
        if (reliving_)
            lender_->past_.read(block_, lent.past + pin, node.out[pin]);
        else
            std::copy_n(lent.out[pin], block_size(), node.out[pin]);
}

int Program::relive(std::int64_t block, const History& inputs, const Program& from)
{
    const FlushToZero mode(flushes_);
    block_ = block;
    lender_ = &from;
    reliving_ = true;
    for (int ch = 0; ch < inputs_; ++ch) {
        inputs.read(block, ch, input(ch));
        hear(ch, input(ch));
    }
    const int result = run();
    reliving_ = false;
    lender_ = nullptr;
    if (result >= 0 && !sound()) [[unlikely]]
        recover();
    skip_to(block + 1);
    return result;
}

int Program::live(std::int64_t block, const Program* from, bool metered)
{
    listen(metered);
    block_ = block;
    lender_ = from;
    const int result = run();
    lender_ = nullptr;
    skip_to(block + 1);
    return result;
}

}  // namespace vgraph
