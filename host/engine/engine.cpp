// SPDX-License-Identifier: Apache-2.0
#include "engine/engine.h"

#include <algorithm>
#include <cstdio>
#include <new>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "../graph/flush_to_zero.h"

namespace vantoro {

namespace {

constexpr std::size_t kLine = 16;  // samples in 64 bytes

// Sizes in samples, rounded up to an odd number of lines: see the header.
std::size_t odd_lines(std::size_t samples) { return ((samples + kLine - 1) / kLine | 1U) * kLine; }

// The inputs that are no controls.
std::vector<int> data_pins(const Block& block)
{
    std::vector<int> pins;
    for (int pin = 0; pin < block.pins.inputs; ++pin)
        if (!is_control(*block.type, pin, block.pins))
            pins.push_back(pin);
    return pins;
}

}  // namespace

// ---- log ----

LibraryLog::LibraryLog(bool quiet) { Vantoro_set_log_handler(take, quiet ? this : nullptr); }

LibraryLog::~LibraryLog() { Vantoro_set_log_handler(nullptr, nullptr); }

void LibraryLog::take(const char* line, void* quiet)
{
    if (quiet)
        return;
    if (hook_)
        hook_();
    std::string_view text = line;
    text = text.substr(0, text.find_last_not_of('\n') + 1);
    std::fprintf(stderr, "%s: %.*s\n", id_ ? id_->c_str() : "libvantoro", static_cast<int>(text.size()), text.data());
}

// ---- preparing ----

Engine::Engine(Schematic schematic, int rate)
    : schematic_(std::move(schematic)), pro_{rate, 24, schematic_.block_size, 0, 0},
      flush_to_zero_(
          std::ranges::any_of(schematic_.blocks, [](const Block& b) { return has_trait(*b.type, VANTORO_DENORMALS); })),
      stride_(odd_lines(index(schematic_.block_size)))
{
    place_buffers();
    std::size_t pins = 0;
    for (const Block& block : schematic_.blocks)
        pins += index(block.pins.inputs) + index(block.pins.outputs);
    pins_.resize(pins + 1);  // a block without pins gets a pointer too
    nodes_.resize(schematic_.order.size());
    place_.resize(nodes_.size());
    float** next = pins_.data();
    for (std::size_t n = 0; n < nodes_.size(); ++n) {
        const int b = schematic_.order[n];
        place_[index(b)] = static_cast<int>(n);
        nodes_[n].block = &schematic_.blocks[index(b)];
        make_node(nodes_[n], next);
    }
    for (const Feed& feed : schematic_.outputs)
        outputs_.push_back(buffer_of(feed));
}

Engine::~Engine() { LibraryLog::at_work(nullptr); }

// From one output's buffer to the next.
std::size_t Engine::pitch(const Block& block) const
{
    return has_trait(*block.type, VANTORO_CONTIGUOUS_PINS) ? index(block_size()) : stride_;
}

std::size_t Engine::outputs_size(const Block& block) const
{
    const std::size_t size = index(block.pins.outputs) * pitch(block);
    return has_trait(*block.type, VANTORO_CONTIGUOUS_PINS) ? odd_lines(size) : size;
}

std::size_t Engine::gather_size(const Block& block) const
{
    if (!has_trait(*block.type, VANTORO_CONTIGUOUS_PINS))
        return 0;
    return odd_lines(data_pins(block).size() * index(block_size()));
}

void Engine::place_buffers()
{
    std::size_t samples = stride_ * (1 + index(schematic_.inputs));
    for (const Block& block : schematic_.blocks)
        samples += outputs_size(block) + gather_size(block);
    samples = (samples + kLine - 1) / kLine * kLine;
    arena_.reset(static_cast<float*>(std::aligned_alloc(kLine * sizeof(float), samples * sizeof(float))));
    if (!arena_)
        throw std::bad_alloc();
    std::fill_n(arena_.get(), samples, 0.0F);

    float* next = arena_.get();
    const auto take = [&](std::size_t size) { return std::exchange(next, next + size); };
    silence_ = take(stride_);
    for (int ch = 0; ch < schematic_.inputs; ++ch)
        inputs_.push_back(take(stride_));
    first_output_.resize(schematic_.blocks.size());
    first_gather_.resize(schematic_.blocks.size());
    for (const int b : schematic_.order) {
        first_gather_[index(b)] = take(gather_size(schematic_.blocks[index(b)]));
        first_output_[index(b)] = take(outputs_size(schematic_.blocks[index(b)]));
    }
}

float* Engine::buffer_of(const Feed& feed) const
{
    if (feed.block == Feed::kSilence)
        return silence_;
    if (feed.block == Feed::kTerminal)
        return inputs_[index(feed.pin)];
    return first_output_[index(feed.block)] + index(feed.pin) * pitch(schematic_.blocks[index(feed.block)]);
}

// Makes the library's block, gives it its parameters and points its pins at their buffers; `pins` moves past them.
void Engine::make_node(Node& node, float**& pins)
{
    const Block& block = *node.block;
    const int b = static_cast<int>(&block - schematic_.blocks.data());
    LibraryLog::at_work(&block.id);
    node.algo.reset(BlockAlgo_init(&pro_, block.pins.inputs, block.pins.outputs, block.type->type));
    if (!node.algo)
        throw std::runtime_error(block.id + ": the library refuses a " + std::string(block.type->name) + " of " +
                                 std::to_string(block.pins.inputs) + " inputs and " +
                                 std::to_string(block.pins.outputs) + " outputs, or memory is short");
    apply(node, block.vector);
    LibraryLog::at_work(nullptr);

    node.in = pins;
    for (const Feed& feed : block.sources)
        *pins++ = buffer_of(feed);
    node.out = pins;
    for (int pin = 0; pin < block.pins.outputs; ++pin)
        *pins++ = buffer_of({b, pin});

    if (has_trait(*block.type, VANTORO_CONTIGUOUS_PINS))
        gather(node, first_gather_[index(b)]);
    if (has_trait(*block.type, VANTORO_CLEAR_OUTPUTS)) {
        node.silenced = first_output_[index(b)];
        node.silenced_size = outputs_size(block);
    }
}

// Its data pins in one array, filled before each call.
void Engine::gather(Node& node, float* array) const
{
    for (const int pin : data_pins(*node.block)) {
        node.gathered.push_back({node.in[pin], array});
        node.in[pin] = array;
        array += block_size();
    }
}

void Engine::apply(const Node& node, std::span<const float> vector) const
{
    LibraryLog::at_work(&node.block->id);
    if (const int result = apply_vector(*node.block->type, *node.algo, vector); result < 0)
        throw std::runtime_error(node.block->id + ": the library answers " + std::to_string(result) +
                                 " to its parameters");
    LibraryLog::at_work(nullptr);
}

// ---- running ----

void Engine::change()
{
    constexpr double kRounding = 1e-6;  // samples
    const double now = static_cast<double>(blocks_run_) * block_size() + kRounding;
    for (; changes_left() > 0 && schematic_.changes[next_change_].seconds * rate() <= now; ++next_change_) {
        const Change& due = schematic_.changes[next_change_];
        apply(nodes_[index(place_[index(due.block)])], due.vector);
    }
}

void Engine::prepare(const Node& node) const
{
    std::fill_n(node.silenced, node.silenced_size, 0.0F);
    for (const Copy& copy : node.gathered)
        std::copy_n(copy.from, block_size(), copy.to);
}

bool Engine::process()
{
    const vgraph::FlushToZero mode(flush_to_zero_);
    for (const Node& node : nodes_) {
        LibraryLog::at_work(&node.block->id);
        if (node.prepared()) [[unlikely]]
            prepare(node);
        // Positive results are the modules' own ways to say "done".
        if (const int result = BlockAlgo_process(node.algo.get(), node.in, node.out); result < 0) [[unlikely]] {
            failure_ = node.block->id + ": the library answers " + std::to_string(result) + " to process";
            return false;
        }
    }
    LibraryLog::at_work(nullptr);
    ++blocks_run_;
    return true;
}

}  // namespace vantoro
