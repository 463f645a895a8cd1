// SPDX-License-Identifier: Apache-2.0
// The graph: the program that runs, the one it is fading to, and the hand-over between two threads.
#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <numbers>
#include <utility>

#include "flush_to_zero.h"
#include "program.h"

using vgraph::Array;
using vgraph::Program;

struct VantoroGraph {
    ~VantoroGraph();

    int process();
    int run_on(Program& program);
    void mend(Program& program);
    void begin_fade();
    void crossfade();
    void retire(Program* program);
    void free_retired();
    Program* release();

    // The graph's own buffers, so that they stay where they are across a swap.
    Array<float> arena;
    Array<float*> in, out;
    int filled = 0;  // frames of the block that Vantoro_graph_run is filling

    VantoroGraphFaults faults = {0, 0, -1};  // audio thread

    Program* now = nullptr;                  // audio thread
    Program* coming = nullptr;               // audio thread: fading in
    long faded = 0;                          // audio thread: frames of the fade
    std::atomic<Program*> waiting{nullptr};  // swapped in, not yet taken
    std::atomic<Program*> retired{nullptr};  // a list, newest first
    Program* newest = nullptr;               // control thread: where posts go
};

namespace {

std::size_t index(int n) { return static_cast<std::size_t>(n); }

int samples(const VantoroGraph& graph) { return graph.newest->block_size(); }

bool make_buffers(VantoroGraph& graph)
{
    const Program& program = *graph.newest;
    const std::size_t stride = vgraph::odd_lines(index(program.block_size()));
    const std::size_t channels = index(program.inputs()) + index(program.outputs());
    if (!vgraph::silence(graph.arena, stride * channels) || !vgraph::zeros(graph.in, index(program.inputs())) ||
        !vgraph::zeros(graph.out, index(program.outputs())))
        return false;
    float* next = graph.arena.get();
    for (int ch = 0; ch < program.inputs(); ++ch, next += stride)
        graph.in[index(ch)] = next;
    for (int ch = 0; ch < program.outputs(); ++ch, next += stride)
        graph.out[index(ch)] = next;
    return true;
}

}  // namespace

VantoroGraph::~VantoroGraph()
{
    free_retired();
    for (Program* program : {waiting.load(), coming, now})
        vgraph::unmake(program);
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
        vgraph::unmake(program);
        program = next;
    }
}

// The program hears what the graph hears.
int VantoroGraph::run_on(Program& program)
{
    const vgraph::FlushToZero mode(program.flushes());
    program.take_posts();
    unsigned wrong = 0;
    for (int ch = 0; ch < program.inputs(); ++ch)
        wrong += program.hear(ch, in[index(ch)]);
    if (&program == now)  // the one that fades in hears the same
        faults.inputs += wrong;
    const int result = program.run();
    if (result >= 0 && !program.sound()) [[unlikely]]
        mend(program);
    return result;
}

// After a number that is not finite: what of the outputs is not finite is silent for this block, the next one plays.
void VantoroGraph::mend(Program& program)
{
    faults.node = program.recover();
    ++faults.blocks;
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
    if (faded < fade_frames)
        return;
    retire(now);
    now = coming;
    coming = nullptr;
}

int VantoroGraph::process()
{
    begin_fade();
    int result = run_on(*now);
    if (coming)
        result = std::min(result, run_on(*coming));
    if (result < 0) {
        for (int ch = 0; ch < now->outputs(); ++ch)
            std::fill_n(out[index(ch)], now->block_size(), 0.0F);
        return result;
    }
    if (coming) {
        crossfade();
        return RT_OK;
    }
    for (int ch = 0; ch < now->outputs(); ++ch)
        std::copy_n(now->output(ch), now->block_size(), out[index(ch)]);
    return RT_OK;
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
    auto* graph = vgraph::make<VantoroGraph>();
    if (!graph)
        return nullptr;
    graph->now = graph->newest = Program::create(view, used);
    if (graph->now && make_buffers(*graph))
        return graph;
    vgraph::unmake(graph);
    return nullptr;
}

void Vantoro_graph_destroy(VantoroGraph* graph) { vgraph::unmake(graph); }

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

const float* Vantoro_graph_signal(const VantoroGraph* graph, int node, int pin)
{
    const vgraph::RunNode* found = graph->now->node(node);
    return found && pin >= 0 && pin < found->block->nOutputs ? found->out[pin] : nullptr;
}

float* Vantoro_graph_input(VantoroGraph* graph, int channel)
{
    return channel >= 0 && channel < graph->newest->inputs() ? graph->in[index(channel)] : nullptr;
}

const float* Vantoro_graph_output(const VantoroGraph* graph, int channel)
{
    return channel >= 0 && channel < graph->newest->outputs() ? graph->out[index(channel)] : nullptr;
}

int Vantoro_graph_process(VantoroGraph* graph) { return graph->process(); }

int Vantoro_graph_failed(const VantoroGraph* graph) { return graph->now->failed(); }

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
    const Program& from = *graph->newest;
    const Program& to = *next->newest;
    if (graph == next || !(ms >= 0 && ms <= kLongestMs) || from.rate() != to.rate() ||
        from.block_size() != to.block_size() || from.inputs() != to.inputs() || from.outputs() != to.outputs())
        return RT_ERR_VALUE;
    graph->newest = next->release();
    graph->newest->fade_frames = std::lround(static_cast<double>(ms) * graph->newest->rate() / 1000);
    vgraph::unmake(graph->waiting.exchange(graph->newest, std::memory_order_acq_rel));
    vgraph::unmake(next);
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
