// SPDX-License-Identifier: Apache-2.0
#include "program.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cmath>
#include <utility>
#include <vantoro/level_detectors/level_detectors.h>
#include <vantoro/vantoro_preprocess.h>

#include "cache_lines.h"

namespace vgraph {

namespace {

std::size_t index(int n) { return static_cast<std::size_t>(n); }

// Marks the node that this thread works on, while it lives.
class AtWork {
public:
    explicit AtWork(const char* name) { node_at_work = name; }
    ~AtWork() { node_at_work = nullptr; }
    AtWork(const AtWork&) = delete;
    AtWork& operator=(const AtWork&) = delete;
};

// Both threads reach a detector's levels.
void publish(float& to, float v) { std::atomic_ref(to).store(v, std::memory_order_relaxed); }

// Whether another value of this entry would make a block allocate.
bool sizes(const VantoroBlockInfo& info, int entry)
{
    for (int i = 0; i < std::min(info.layout_count, entry + 1); ++i)
        if (info.layout[i].kind == VANTORO_ROWS)
            return false;  // entries from here on have no size but that of the vector
    const VantoroSlot& slot = info.layout[entry];
    return slot.kind != VANTORO_VALUE || (slot.param->flags & VANTORO_SIZES) != 0;
}

}  // namespace

// On the bits of the magnitudes: the compiler makes this vectors. NaN and infinity are the largest.
bool finite(const float* samples, int n)
{
    constexpr std::uint32_t kInfinite = 0x7f800000;
    std::uint32_t peak = 0;
    for (int i = 0; i < n; ++i)
        peak = std::max(peak, std::bit_cast<std::uint32_t>(samples[i]) & 0x7fffffffU);
    return peak < kInfinite;
}

constinit thread_local const char* node_at_work = nullptr;

// ---- making ----

Program* Program::create(const Preset& preset, int rate)
{
    auto* program = owned::make<Program>();
    if (program && program->build(preset, rate))
        return program;
    owned::unmake(program);
    return nullptr;
}

Program::~Program()
{
    for (int n = 0; n < nodes_count_; ++n) {
        if (nodes_[index(n)].quiet)
            quiet_arithmetic()->destroy(nodes_[index(n)].quiet);
        if (nodes_[index(n)].block)
            BlockAlgo_destroy(nodes_[index(n)].block);
        std::free(nodes_[index(n)].pro);
        std::free(nodes_[index(n)].levels);
        std::free(nodes_[index(n)].posted);
    }
    owned::unmake(meters.load());
}

bool Program::contiguous(const Node& node) const
{
    return (Vantoro_block_info(node.type)->traits & VANTORO_CONTIGUOUS_PINS) != 0;
}

std::size_t Program::outputs_size(const Node& node) const
{
    const std::size_t outputs = index(node.outputs);
    return contiguous(node) ? odd_lines(outputs * index(block_size())) : outputs * stride_;
}

std::size_t Program::gather_size(const Node& node) const
{
    // It reads as many data pins as it has outputs.
    return contiguous(node) ? odd_lines(index(std::max(node.inputs - 1, node.outputs)) * index(block_size())) : 0;
}

float* Program::take(std::size_t samples)
{
    float* here = arena_.get() + taken_;
    taken_ += samples;
    return here;
}

// Everything whose size follows from the preset.
bool Program::reserve(const Preset& preset)
{
    std::size_t pins = 0, outputs = 0;
    std::size_t samples = stride_ * (1 + index(inputs_));
    const std::size_t links = preset.word(VANTORO_PRESET_WORD_LINKS);
    for (std::uint32_t n = 0; n < preset.word(VANTORO_PRESET_WORD_NODES); ++n) {
        const Node node = preset.node(n);
        pins += index(node.inputs) + index(node.outputs);
        outputs += index(node.outputs);
        longest_ = std::max(longest_, static_cast<int>(node.length));
        samples += outputs_size(node) + gather_size(node);
    }
    const std::size_t text = std::size_t{4} * preset.word(VANTORO_PRESET_WORD_TEXT);
    if (!owned::silence(arena_, samples) || !owned::zeros(buffers_, 1 + index(inputs_) + outputs) ||
        !owned::zeros(in_, index(inputs_)) || !owned::zeros(out_, index(outputs_)) ||
        !owned::zeros(pins_, pins + preset.word(VANTORO_PRESET_WORD_NODES)) || !owned::zeros(heard_, pins) ||
        !owned::zeros(scratch_, index(longest_)) || !owned::zeros(text_, text) || !owned::zeros(links_, links) ||
        !owned::zeros(nodes_, preset.word(VANTORO_PRESET_WORD_NODES)) || !queue_.reserve(index(longest_)))
        return false;
    std::copy_n(preset.text(), text, text_.get());
    for (std::size_t i = 0; i < links; ++i)
        links_[i] = preset.link(i);
    return true;
}

bool Program::build(const Preset& preset, int rate)
{
    const auto word = [&](VantoroPresetWord at) { return static_cast<int>(preset.word(at)); };
    pro_ = {rate, 24, word(VANTORO_PRESET_WORD_BLOCK_SIZE), 0, 0};
    stride_ = odd_lines(index(block_size()));
    inputs_ = word(VANTORO_PRESET_WORD_INPUTS);
    outputs_ = word(VANTORO_PRESET_WORD_OUTPUTS);
    if (!reserve(preset))
        return false;
    buffers_[buffers_count_++] = take(stride_);  // silence
    for (int ch = 0; ch < inputs_; ++ch)
        buffers_[buffers_count_++] = in_[index(ch)] = take(stride_);
    std::uint64_t link = 0;
    for (std::uint32_t n = 0; n < preset.word(VANTORO_PRESET_WORD_NODES); ++n)
        if (!make_node(preset, n, link))
            return false;
    for (int ch = 0; ch < outputs_; ++ch)
        out_[index(ch)] = buffers_[preset.link(link++)];
    return make_chains(link);
}

bool Program::make_node(const Preset& preset, std::uint32_t n, std::uint64_t& link)
{
    const Node wanted = preset.node(n);
    RunNode& node = nodes_[index(nodes_count_++)];
    node.info = Vantoro_block_info(wanted.type);
    node.name = text_.get() + wanted.name;
    const AtWork at_work(node.name);
    node.inputs = wanted.inputs;
    node.outputs = wanted.outputs;
    node.links = links_.get() + link;
    node.first_signal = static_cast<int>(buffers_count_);
    node.past = node.lender = node.before = node.after = -1;
    node.pro = owned::make<BlockPro>();
    if (!node.pro)
        return false;
    *node.pro = pro_;
    node.block = BlockAlgo_init(node.pro, wanted.inputs, wanted.outputs, wanted.type);
    if (!node.block)
        return false;
    flushes_ = flushes_ || (node.info->traits & VANTORO_DENORMALS) != 0;

    node.length = static_cast<int>(wanted.length);
    if (owned::Array<float> posted; owned::zeros(posted, wanted.length))
        node.posted = posted.release();
    else
        return false;
    preset.copy_floats(wanted.vector, wanted.length, node.posted);
    if (apply(node, node.posted) < 0 || (wanted.quiet && !(node.quiet = quiet_arithmetic()->create(node.block))))
        return false;

    float* gathered = take(gather_size(wanted));
    node.in = pins_.get() + pins_taken_;
    pins_taken_ += index(wanted.inputs);
    for (int pin = 0; pin < wanted.inputs; ++pin)
        node.in[pin] = buffers_[preset.link(link++)];
    node.out = pins_.get() + pins_taken_;
    pins_taken_ += index(wanted.outputs) + 1;  // a node without pins gets a pointer too
    const std::size_t distance = contiguous(wanted) ? index(block_size()) : stride_;
    float* outputs = take(outputs_size(wanted));
    for (int pin = 0; pin < wanted.outputs; ++pin)
        buffers_[buffers_count_++] = node.out[pin] = outputs + index(pin) * distance;

    if (contiguous(wanted)) {
        node.run = gathered;
        node.heard = heard_.get() + heard_taken_;
        heard_taken_ += index(wanted.inputs);
        for (int pin = 1; pin < wanted.inputs; ++pin) {
            node.heard[pin - 1] = node.in[pin];
            node.in[pin] = gathered + index(pin - 1) * distance;
        }
    } else if ((node.info->traits & VANTORO_CLEAR_OUTPUTS) != 0) {
        node.run = outputs;
        node.run_size = outputs_size(wanted);
    }
    return make_levels(node);
}

bool Program::make_levels(RunNode& node)
{
    LevelDetector_levels(node.block, &node.level_count);
    if (node.level_count == 0)
        return true;
    owned::Array<float> own;
    if (!owned::zeros(own, index(node.level_count)))
        return false;
    node.levels = own.release();
    return true;
}

// ---- parameters ----

int Program::apply(const RunNode& node, const float* vector)
{
    return Vantoro_param_apply(node.block, vector, node.length);
}

// Whether a vector would make the block allocate.
bool Program::resizes(const RunNode& node, const float* vector, int length)
{
    bool other = length != node.length;
    for (int i = 0; i < std::min(node.info->layout_count, length) && !other; ++i)
        other = sizes(*node.info, i) && vector[i] != node.posted[i];
    return other;
}

bool Program::accepts(const RunNode& node, const float* vector, int length) const
{
    return length > 0 &&
           Vantoro_param_check(node.info->type, node.inputs, node.outputs, vector, length, nullptr, 0) == RT_OK;
}

// For vectors of this length. Between two process calls, with nothing in the queue.
bool Program::make_room(int length)
{
    if (length <= longest_)
        return true;
    owned::Array<float> scratch;
    if (!owned::zeros(scratch, index(length)) || !queue_.reserve(index(length)))
        return false;
    scratch_ = std::move(scratch);
    longest_ = length;
    return true;
}

int Program::set(int n, const float* vector, int length)
{
    if (!node(n) || !accepts(*node(n), vector, length))
        return RT_ERR_VALUE;
    take_posts();  // what was accepted before comes before
    RunNode& found = nodes_[index(n)];
    const bool resized = resizes(found, vector, length);
    owned::Array<float> posted;
    if (!owned::zeros(posted, index(length)) || !make_room(length))
        return RT_ERR_MALLOC;
    std::copy_n(vector, length, posted.get());
    std::free(found.posted);
    found.posted = posted.release();
    found.length = length;
    const AtWork at_work(found.name);
    const int result = apply(found, found.posted);
    return result >= 0 && resized && found.quiet ? quiet_arithmetic()->prepare(found.quiet) : result;
}

int Program::post(int n, const float* vector, int length)
{
    const RunNode* found = node(n);
    if (!found || resizes(*found, vector, length) || !accepts(*found, vector, length))
        return RT_ERR_VALUE;
    if (!queue_.push(n, vector, length))
        return RT_ERR_NO_BUFFER;
    std::copy_n(vector, length, found->posted);
    return RT_OK;
}

int Program::post_entry(int n, int entry, float value)
{
    const RunNode* found = node(n);
    if (!found || entry < 0 || entry >= found->length || (sizes(*found->info, entry) && value != found->posted[entry]))
        return RT_ERR_VALUE;
    const float old = std::exchange(found->posted[entry], value);
    const bool good = accepts(*found, found->posted, found->length);
    if (good && queue_.push(n, found->posted, found->length))
        return RT_OK;
    found->posted[entry] = old;
    return good ? RT_ERR_NO_BUFFER : RT_ERR_VALUE;
}

void Program::take_posts()
{
    queue_.drain(scratch_.get(), [this](int n, int) {
        const RunNode& node = nodes_[index(n)];
        const AtWork at_work(node.name);
        apply(node.lender >= 0 && base ? base->nodes_[index(node.lender)] : node, scratch_.get());
    });
}

// ---- running ----

void Program::prepare(const RunNode& node) const
{
    if (node.run_size > 0) {
        std::fill_n(node.run, node.run_size, 0.0F);
        return;
    }
    for (int i = 0; i + 1 < node.inputs; ++i)
        std::copy_n(node.heard[i], block_size(), node.run + index(i) * index(block_size()));
}

int Program::run_node(const RunNode& node)
{
    if (node.run) [[unlikely]]
        prepare(node);
    int result = RT_OK;
    if (node.lender >= 0 && lender_) [[unlikely]]
        borrow(node);
    else if (!reliving_ || (node.info->traits & VANTORO_RANDOM) == 0)  // rand() belongs to what is heard
        result = std::min(node.quiet ? quiet_arithmetic()->process(node.quiet, node.in, node.out)
                                     : BlockAlgo_process(node.block, node.in, node.out),
                          0);                              // positive is a module's "done"
    const bool lent_then = reliving_ && node.lender >= 0;  // its detector is the other thread's
    if (node.levels && !lent_then) [[unlikely]] {
        int count = 0;
        const float* levels = LevelDetector_levels(block_of(node), &count);
        for (int i = 0; i < std::min(count, node.level_count); ++i)
            publish(node.levels[i], levels[i]);
    }
    if (node.past >= 0) [[unlikely]]
        for (int pin = 0; pin < node.outputs; ++pin)
            past_.write(block_, node.past + pin, node.out[pin]);
    return result;
}

const float* Program::ask(int n, int pin)
{
    if (!node(n) || pin < 0 || pin >= node(n)->outputs)
        return nullptr;
    nodes_[index(n)].asked = true;
    return node(n)->out[pin];
}

int Program::run()
{
    int result = RT_OK;
    failed_ = -1;
    for (int n = 0; n < nodes_count_ && result >= 0; ++n) {
        const RunNode& node = nodes_[index(n)];
        if (node.before >= 0)
            continue;
        node_at_work = node.name;
        result = node.after < 0 ? run_node(node) : run_chain(n);
        if (result < 0) [[unlikely]]
            failed_ = n;
    }
    node_at_work = nullptr;
    return result;
}

// Samples beyond this are no audio; a filter that takes one in may ring for minutes.
constexpr float kLoudest = 1e10F;

unsigned Program::hear(int ch, const float* samples)
{
    float* to = input(ch);
    std::uint32_t wrong = 0;
    for (int i = 0; i < block_size(); ++i) {
        const bool good = std::fabs(samples[i]) <= kLoudest;
        to[i] = good ? samples[i] : 0.0F;
        wrong += good ? 0U : 1U;
    }
    return wrong;
}

bool Program::sound()
{
    for (int ch = 0; ch < outputs_; ++ch)
        if (!finite(output(ch), block_size()))
            return false;
    if (nodes_count_ == 0)
        return true;
    looked_at_ = (looked_at_ + 1) % nodes_count_;
    return gave_finite(nodes_[index(looked_at_)]);
}

int Program::recover()
{
    int first = -1;
    for (int n = 0; n < nodes_count_; ++n) {
        RunNode& node = nodes_[index(n)];
        const bool heard = heard_finite(node), gave = gave_finite(node);
        node.faulty = !heard || !gave;
        if (heard && !gave && first < 0)
            first = n;
    }
    // Only now: what others heard is read from outputs and states.
    for (int n = 0; n < nodes_count_; ++n) {
        const RunNode& node = nodes_[index(n)];
        const AtWork at_work(node.name);
        if (!node.faulty)
            continue;
        if (node.quiet)
            quiet_arithmetic()->clear(node.quiet);
        else
            BlockAlgo_clear(node.block);
    }
    for (std::size_t b = 1; b < buffers_count_; ++b)
        if (!finite(buffers_[b], block_size()))
            std::fill_n(buffers_[b], block_size(), 0.0F);
    return first;
}

}  // namespace vgraph
