// SPDX-License-Identifier: Apache-2.0
// The graph: the program that runs, the one it is fading to, and the hand-over between two threads.
#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstring>
#include <numbers>
#include <utility>

#include "cache_lines.h"
#include "flush_to_zero.h"
#include "program.h"

using vgraph::History;
using vgraph::Meters;
using vgraph::Program;

struct VantoroGraph {
    ~VantoroGraph();

    int process();
    int run_on(Program& program, bool metered);
    void mend(Program& program);
    void blame(const Program& program, int node);
    void begin_fade();
    bool caught_up();
    void crossfade();
    void hand_over();
    void measure();
    void feed_taps();
    void start_base();
    void retire(Program* program);
    void free_retired();
    Program* release();

    // The graph's own buffers, so that they stay where they are across a swap.
    owned::Array<float> arena;
    owned::Array<float*> in, out;
    int inputs_count = 0, outputs_count = 0;  // the same for all that is swapped in; any thread
    int filled = 0;                           // frames of the block that Vantoro_graph_run is filling

    VantoroGraphFaults faults = {0, 0, -1};  // audio thread
    std::array<char, 64> blamed{};           // audio thread: a node's name, which may outlast its program

    Program* now = nullptr;                  // audio thread
    Program* coming = nullptr;               // audio thread: fading in
    long faded = 0;                          // audio thread: frames of the fade
    std::atomic<Program*> waiting{nullptr};  // swapped in, not yet taken
    std::atomic<Program*> retired{nullptr};  // a list, newest first
    std::atomic<Program*> playing{nullptr};  // what `now` is, for the control thread
    Program* newest = nullptr;               // control thread: where posts go
    Program* begun = nullptr;                // control thread: the newest that the audio thread is known to have taken

    // What was heard, for those that follow.
    long kept = 0;  // blocks
    History inputs;
    std::atomic<std::int64_t> clock{0};  // blocks processed

    std::atomic<bool> metering{false};
    struct Tap {
        History past;
        std::int64_t since = 0;            // control thread: block of its beginning
        std::atomic<std::int64_t> end{0};  // block
        std::atomic<bool> on{false};
    };
    Tap taps[vgraph::kTaps];
};

namespace {

std::size_t index(int n) { return static_cast<std::size_t>(n); }

int samples(const VantoroGraph& graph) { return graph.newest->block_size(); }

bool make_buffers(VantoroGraph& graph)
{
    const Program& program = *graph.newest;
    const std::size_t stride = vgraph::odd_lines(index(program.block_size()));
    graph.inputs_count = program.inputs();
    graph.outputs_count = program.outputs();
    const std::size_t channels = index(program.inputs()) + index(program.outputs());
    if (!owned::silence(graph.arena, stride * channels) || !owned::zeros(graph.in, index(program.inputs())) ||
        !owned::zeros(graph.out, index(program.outputs())))
        return false;
    float* next = graph.arena.get();
    for (int ch = 0; ch < program.inputs(); ++ch, next += stride)
        graph.in[index(ch)] = next;
    for (int ch = 0; ch < program.outputs(); ++ch, next += stride)
        graph.out[index(ch)] = next;
    return true;
}

bool make_meters(Program& program)
{
    if (program.meters.load(std::memory_order_relaxed))
        return true;
    auto* meters = owned::make<Meters>();
    if (!meters || !meters->reserve(program.signals() + program.outputs())) {
        owned::unmake(meters);
        return false;
    }
    program.meters.store(meters, std::memory_order_release);
    return true;
}

bool alike(const VantoroGraph& a, const VantoroGraph& b)
{
    const Program& from = *a.newest;
    const Program& to = *b.newest;
    return &a != &b && from.rate() == to.rate() && from.block_size() == to.block_size() &&
           from.inputs() == to.inputs() && from.outputs() == to.outputs();
}

}  // namespace

VantoroGraph::~VantoroGraph()
{
    free_retired();
    for (Program* program : {waiting.load(), coming, now})
        owned::unmake(program);
}

void VantoroGraph::retire(Program* program)
{
    program->next_retired = retired.load(std::memory_order_relaxed);
    while (!retired.compare_exchange_weak(program->next_retired, program, std::memory_order_release,
                                          std::memory_order_relaxed)) {
    }
}

void VantoroGraph::free_retired()
{
    Program* program = retired.exchange(nullptr, std::memory_order_acquire);
    while (program) {
        Program* next = program->next_retired;
        owned::unmake(program);
        program = next;
    }
}

// The program hears what the graph hears.
int VantoroGraph::run_on(Program& program, bool metered)
{
    const vgraph::FlushToZero mode(program.flushes());
    program.take_posts();
    unsigned wrong = 0;
    for (int ch = 0; ch < program.inputs(); ++ch)
        wrong += program.hear(ch, in[index(ch)]);
    if (&program == now)  // the one that fades in hears the same
        faults.inputs += wrong;
    const int result = program.live(clock.load(std::memory_order_relaxed), &program == coming ? now : nullptr, metered);
    if (result >= 0 && !program.sound()) [[unlikely]]
        mend(program);
    if (result < 0) [[unlikely]]
        blame(program, program.failed());
    return result;
}

// After a number that is not finite: what of the outputs is not finite is silent for this block, the next one plays.
void VantoroGraph::mend(Program& program)
{
    faults.node = program.recover();
    blame(program, faults.node);
    ++faults.blocks;
}

void VantoroGraph::blame(const Program& program, int node)
{
    const vgraph::RunNode* found = program.node(node);
    const char* name = found ? found->name : "";
    const std::size_t length = std::min(std::strlen(name), blamed.size() - 1);
    *std::copy_n(name, length, blamed.begin()) = 0;
}

// Hands out the newest program of a graph that does not run.
Program* VantoroGraph::release()
{
    Program* program = std::exchange(newest, nullptr);
    for (Program** holder : {&now, &coming})
        if (*holder == program)
            *holder = nullptr;
    if (waiting.load() == program)
        waiting.store(nullptr);
    return program;
}

void VantoroGraph::begin_fade()
{
    if (coming || !waiting.load(std::memory_order_relaxed))
        return;
    coming = waiting.exchange(nullptr, std::memory_order_acquire);
    faded = 0;
    if (coming->base == now)
        return;
    coming->unlend();
    coming->skip_to(clock.load(std::memory_order_relaxed));
}

// The blocks since it was handed over, a few at a time. What is not kept any more is left out.
bool VantoroGraph::caught_up()
{
    constexpr int kMost = 2;  // in one block's time
    const std::int64_t present = clock.load(std::memory_order_relaxed);
    if (present - coming->heard() > inputs.depth())
        coming->skip_to(present);
    for (int i = 0; i < kMost && coming->heard() < present; ++i)
        coming->relive(coming->heard(), inputs, *now);
    return coming->heard() == present;
}

void VantoroGraph::hand_over()
{
    coming->take_over(*now);
    Meters* from = now->meters.load(std::memory_order_acquire);
    Meters* to = coming->meters.load(std::memory_order_acquire);
    for (int ch = 0; from && to && ch < now->inputs(); ++ch)
        to->carry(1 + ch, *from, 1 + ch);
    for (int ch = 0; from && to && ch < now->outputs(); ++ch)
        to->carry(coming->signals() + ch, *from, now->signals() + ch);
    playing.store(coming, std::memory_order_release);
    retire(now);
    now = coming;
    coming = nullptr;
}

void VantoroGraph::measure()
{
    Meters* meters = now->meters.load(std::memory_order_acquire);
    if (!meters)
        return;
    meters->turn();
    meters->add(1, now->buffers() + 1, now->signals() - 1, now->block_size());
    meters->add(now->signals(), out.get(), now->outputs(), now->block_size());
}

void VantoroGraph::feed_taps()
{
    const std::int64_t block = clock.load(std::memory_order_relaxed);
    for (int slot = 0; slot < vgraph::kTaps; ++slot) {
        Tap& tap = taps[slot];
        if (!tap.on.load(std::memory_order_acquire))
            continue;
        const int signal = now->tapped[slot].load(std::memory_order_relaxed), channel = signal - now->signals();
        tap.past.write(block, 0, channel >= 0 ? out[index(channel)] : now->signal(signal));
        tap.end.store(block + 1, std::memory_order_release);
    }
}

// From `now` to `coming` along a raised cosine.
void VantoroGraph::crossfade()
{
    const int n = now->block_size();
    const long fade_frames = coming->fade_frames;
    for (int i = 0; i < n; ++i, ++faded) {
        const double way = faded >= fade_frames ? 1.0 : static_cast<double>(faded) / static_cast<double>(fade_frames);
        const auto share = static_cast<float>(0.5 - 0.5 * std::cos(std::numbers::pi * way));
        for (int ch = 0; ch < now->outputs(); ++ch) {
            const float from = now->output(ch)[i], to = coming->output(ch)[i];
            out[index(ch)][i] = share >= 1.0F ? to : std::fma(share, to - from, from);
        }
    }
    if (faded >= fade_frames)
        hand_over();
}

int VantoroGraph::process()
{
    const std::int64_t block = clock.load(std::memory_order_relaxed);
    const bool metered = metering.load(std::memory_order_relaxed);  // once: what is not measured may not be written
    for (int ch = 0; ch < now->inputs(); ++ch)
        inputs.write(block, ch, in[index(ch)]);
    begin_fade();
    int result = run_on(*now, metered);
    const bool both = coming && caught_up();
    if (both)
        result = std::min(result, run_on(*coming, metered));
    for (int ch = 0; ch < now->outputs(); ++ch)
        if (result < 0)
            std::fill_n(out[index(ch)], now->block_size(), 0.0F);
        else if (!both)
            std::copy_n(now->output(ch), now->block_size(), out[index(ch)]);
    if (both && result >= 0)
        crossfade();
    if (metered)
        measure();
    feed_taps();
    clock.store(block + 1, std::memory_order_release);
    return result;
}

// What the next program follows: the newest that plays or fades in. One that still waits is dropped.
void VantoroGraph::start_base()
{
    Program* dropped = waiting.exchange(nullptr, std::memory_order_acq_rel);
    if (dropped)
        owned::unmake(dropped);
    else
        begun = newest;
    newest = begun;
}

// ---- the C interface ----

VantoroGraph* Vantoro_graph_create(const void* preset, size_t bytes, int rate)
{
    if (Vantoro_graph_check(preset, bytes, nullptr, 0) != RT_OK)
        return nullptr;
    const vgraph::Preset view(preset);
    const auto named = static_cast<int>(view.word(VANTORO_PRESET_WORD_RATE));
    const int used = rate != 0 ? rate : named;
    if (used < static_cast<int>(vgraph::kMinRate) || used > static_cast<int>(vgraph::kMaxRate) ||
        (named != 0 && named != used))
        return nullptr;
    auto* graph = owned::make<VantoroGraph>();
    if (!graph)
        return nullptr;
    graph->now = graph->newest = graph->begun = Program::create(view, used);
    graph->playing = graph->now;
    if (graph->now && make_buffers(*graph))
        return graph;
    owned::unmake(graph);
    return nullptr;
}

void Vantoro_graph_destroy(VantoroGraph* graph) { owned::unmake(graph); }

int Vantoro_graph_rate(const VantoroGraph* graph) { return graph->newest->rate(); }
int Vantoro_graph_block_size(const VantoroGraph* graph) { return samples(*graph); }
int Vantoro_graph_inputs(const VantoroGraph* graph) { return graph->newest->inputs(); }
int Vantoro_graph_outputs(const VantoroGraph* graph) { return graph->newest->outputs(); }
int Vantoro_graph_nodes(const VantoroGraph* graph) { return graph->newest->nodes(); }

const char* Vantoro_graph_node_name(const VantoroGraph* graph, int node)
{
    const vgraph::RunNode* found = graph->newest->node(node);
    return found ? found->name : nullptr;
}

int Vantoro_graph_find(const VantoroGraph* graph, const char* name)
{
    for (int n = 0; n < graph->newest->nodes(); ++n)
        if (std::strcmp(graph->newest->node(n)->name, name) == 0)
            return n;
    return -1;
}

int Vantoro_graph_vector(const VantoroGraph* graph, int node, float* vector, int max)
{
    const vgraph::RunNode* found = graph->newest->node(node);
    if (!found)
        return 0;
    std::copy_n(found->posted, std::clamp(max, 0, found->length), vector);
    return found->length;
}

const BlockAlgo* Vantoro_graph_block(const VantoroGraph* graph, int node)
{
    const vgraph::RunNode* found = graph->now->node(node);
    return found ? found->block : nullptr;
}

const float* Vantoro_graph_signal(const VantoroGraph* graph, int node, int pin) { return graph->now->ask(node, pin); }

float* Vantoro_graph_input(VantoroGraph* graph, int channel)
{
    return channel >= 0 && channel < graph->inputs_count ? graph->in[index(channel)] : nullptr;
}

const float* Vantoro_graph_output(const VantoroGraph* graph, int channel)
{
    return channel >= 0 && channel < graph->outputs_count ? graph->out[index(channel)] : nullptr;
}

int Vantoro_graph_process(VantoroGraph* graph) { return graph->process(); }

int Vantoro_graph_failed(const VantoroGraph* graph) { return graph->now->failed(); }

const char* Vantoro_graph_blamed(const VantoroGraph* graph) { return graph->blamed.data(); }

void Vantoro_graph_faults(const VantoroGraph* graph, VantoroGraphFaults* faults) { *faults = graph->faults; }

int Vantoro_graph_set(VantoroGraph* graph, int node, const float* vector, int length)
{
    return graph->newest->set(node, vector, length);
}

// The output that belongs to frame `p` of a block is frame p + 1 of the block before, so that the last frame of a block
// can be answered by its first.
int Vantoro_graph_run(VantoroGraph* graph, const float* const* in, float* const* out, int frames)
{
    const int block = graph->now->block_size(), last = block - 1;
    const int inputs = graph->now->inputs(), outputs = graph->now->outputs();
    int result = RT_OK;
    for (int done = 0; done < frames;) {
        const int at = graph->filled, n = std::min(frames - done, block - at), early = std::min(n, last - at);
        for (int ch = 0; ch < inputs; ++ch)
            std::copy_n(in[ch] + done, n, graph->in[index(ch)] + at);
        for (int ch = 0; ch < outputs; ++ch)
            std::copy_n(graph->out[index(ch)] + at + 1, early, out[ch] + done);
        graph->filled += n;
        if (graph->filled == block) {
            graph->filled = 0;
            result = std::min(result, graph->process());
            for (int ch = 0; ch < outputs; ++ch)
                out[ch][done + early] = graph->out[index(ch)][0];
        }
        done += n;
    }
    return result;
}

int Vantoro_graph_latency(const VantoroGraph* graph) { return samples(*graph) - 1; }

int Vantoro_graph_post(VantoroGraph* graph, int node, const float* vector, int length)
{
    return graph->newest->post(node, vector, length);
}

int Vantoro_graph_post_entry(VantoroGraph* graph, int node, int entry, float value)
{
    return graph->newest->post_entry(node, entry, value);
}

int Vantoro_graph_swap(VantoroGraph* graph, VantoroGraph* next, float ms)
{
    constexpr float kLongestMs = 10000;
    if (!(ms >= 0 && ms <= kLongestMs) || !alike(*graph, *next))
        return RT_ERR_VALUE;
    graph->start_base();
    if (graph->metering.load(std::memory_order_relaxed) && !make_meters(*next->newest))
        return RT_ERR_MALLOC;
    graph->newest = next->release();
    graph->newest->fade_frames = std::lround(static_cast<double>(ms) * graph->newest->rate() / 1000);
    graph->waiting.store(graph->newest, std::memory_order_release);
    owned::unmake(next);
    graph->free_retired();
    return RT_OK;
}

int Vantoro_graph_replay(VantoroGraph* graph, const float* const* in, int frames)
{
    const int block = samples(*graph);
    int result = RT_OK;
    for (int at = 0; at + block <= frames && result >= 0; at += block) {
        for (int ch = 0; ch < graph->now->inputs(); ++ch)
            std::copy_n(in[ch] + at, block, graph->in[index(ch)]);
        result = graph->process();
    }
    for (int ch = 0; ch < graph->now->outputs(); ++ch)
        std::fill_n(graph->out[index(ch)], block, 0.0F);
    return result;
}

int Vantoro_graph_keep(VantoroGraph* graph, float seconds)
{
    constexpr float kLongest = 60;  // seconds
    if (!(seconds >= 0 && seconds <= kLongest))
        return RT_ERR_VALUE;
    Program& program = *graph->newest;
    const auto blocks =
        static_cast<long>(seconds * static_cast<float>(program.rate()) / static_cast<float>(program.block_size()));
    if (!graph->inputs.reserve(program.inputs(), program.block_size(), blocks) || !program.keep(blocks))
        return RT_ERR_MALLOC;
    graph->kept = blocks;
    return RT_OK;
}

int Vantoro_graph_follow(VantoroGraph* graph, VantoroGraph* next, int frames, int blocks)
{
    if (!alike(*graph, *next))
        return RT_ERR_VALUE;
    Program& to = *next->newest;
    if (!to.base) {
        graph->start_base();
        if (!to.keep(graph->kept) || !to.lend(*graph->begun))
            return RT_ERR_MALLOC;
        to.skip_to(0);
    }
    if (to.base != graph->begun)
        return RT_ERR_VALUE;
    const auto present = [&] { return std::min(graph->clock.load(std::memory_order_acquire), to.base->heard()); };
    const auto missing = [&] { return present() - to.heard(); };
    const std::int64_t most = std::min<std::int64_t>(frames / to.block_size(), graph->kept);
    if (missing() > most)
        to.skip_to(present() - most);
    int result = RT_OK;
    for (int i = 0; i < blocks && result >= 0 && missing() > 0; ++i)
        result = to.relive(to.heard(), graph->inputs, *to.base);
    return result < 0 ? result : static_cast<int>(missing());
}

int Vantoro_graph_settled(const VantoroGraph* graph)
{
    return graph->playing.load(std::memory_order_acquire) == graph->newest && graph->newest->posts_taken() ? 1 : 0;
}

// ---- meters ----

int Vantoro_graph_signal_number(const VantoroGraph* graph, int node, int pin)
{
    const Program& program = *graph->newest;
    if (node == VANTORO_GRAPH_INPUT)
        return pin >= 0 && pin < program.inputs() ? 1 + pin : 0;
    if (node == VANTORO_GRAPH_OUTPUT)
        return pin >= 0 && pin < program.outputs() ? program.signals() + pin : 0;
    const vgraph::RunNode* found = program.node(node);
    return found && pin >= 0 && pin < found->outputs ? found->first_signal + pin : 0;
}

int Vantoro_graph_meters(VantoroGraph* graph, VantoroGraphMeter* meters, int max, VantoroGraphSpan* span)
{
    Program* program = graph->playing.load(std::memory_order_acquire);
    *span = {0, program == graph->newest ? 1 : 0};
    Meters* found = program->meters.load(std::memory_order_relaxed);
    if (!found || !graph->metering.load(std::memory_order_relaxed)) {
        if (make_meters(*graph->newest) && make_meters(*program))
            graph->metering.store(true, std::memory_order_relaxed);
        return 0;
    }
    const int signals = program->signals() + program->outputs();
    span->blocks = found->take(meters, std::min(max, signals), program->block_size());
    return span->blocks > 0 ? signals : 0;
}

void Vantoro_graph_meters_off(VantoroGraph* graph) { graph->metering.store(false, std::memory_order_relaxed); }

int Vantoro_graph_tap(VantoroGraph* graph, int slot, int signal)
{
    constexpr long kSamples = 1L << 16;
    Program& program = *graph->newest;
    if (slot < 0 || slot >= vgraph::kTaps || signal >= program.signals() + program.outputs())
        return RT_ERR_VALUE;
    VantoroGraph::Tap& tap = graph->taps[slot];
    program.tapped[slot].store(std::max(signal, 0));
    tap.since = graph->clock.load() + 1;  // the block that runs now may not write this signal
    if (signal >= 0 && !tap.past.kept() &&
        !tap.past.reserve(1, program.block_size(), kSamples / program.block_size() + 1))
        return RT_ERR_MALLOC;
    tap.on.store(signal >= 0, std::memory_order_release);
    return RT_OK;
}

int Vantoro_graph_tapped(const VantoroGraph* graph, int slot, float* samples, int count)
{
    if (slot < 0 || slot >= vgraph::kTaps || count < 1 || !graph->taps[slot].past.kept())
        return RT_ERR_VALUE;
    const VantoroGraph::Tap& tap = graph->taps[slot];
    const int block = graph->newest->block_size();
    const std::int64_t end = tap.end.load(std::memory_order_acquire), blocks = (count + block - 1) / block;
    if (blocks > tap.past.depth() || end - blocks < tap.since)
        return RT_ERR_VALUE;
    owned::Array<float> one;
    if (!owned::zeros(one, index(block)))
        return RT_ERR_MALLOC;
    int skipped = static_cast<int>(blocks) * block - count;  // of the oldest block
    for (std::int64_t b = end - blocks; b < end; ++b, skipped = 0) {
        tap.past.read(b, 0, one.get());
        samples = std::copy(one.get() + skipped, one.get() + block, samples);
    }
    return tap.past.intact(end - blocks, tap.end.load(std::memory_order_acquire)) ? RT_OK : RT_ERR_VALUE;
}

void Vantoro_graph_collect(VantoroGraph* graph) { graph->free_retired(); }

int Vantoro_graph_levels(const VantoroGraph* graph, int node, float* levels, int max)
{
    const vgraph::RunNode* found = graph->newest->node(node);
    if (!found)
        return 0;
    for (int i = 0; i < std::min(found->level_count, max); ++i)
        levels[i] = std::atomic_ref(found->levels[i]).load(std::memory_order_relaxed);
    return found->level_count;
}

const char* Vantoro_graph_node_at_work(void) { return vgraph::node_at_work; }
