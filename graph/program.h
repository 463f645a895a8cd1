// SPDX-License-Identifier: Apache-2.0
// A preset made into blocks and buffers.
//
// Every output pin has a buffer of its own, which it keeps from block to block: some blocks leave samples as they were,
// on purpose. A listener gets the pointer to that buffer, never a copy; pins that hear nothing share one of zeros. The
// buffers of one node stand in one run, and the runs in order of processing. Neighbours are an odd number of 64-byte
// lines apart (odd_lines).
//
// What a type's description asks for is done before it runs: its pins gathered in one array without gaps
// (VANTORO_CONTIGUOUS_PINS), its outputs cleared (VANTORO_CLEAR_OUTPUTS), denormal numbers flushed for the whole graph
// while one node makes them (VANTORO_DENORMALS).
#pragma once

#include <atomic>
#include <cstdint>
#include <vantoro/common/block_info.h>

#include "../lib/framework/owned.h"
#include "arithmetic.h"
#include "history.h"
#include "meter.h"
#include "preset.h"
#include "queue.h"

namespace vgraph {

inline constexpr int kTaps = 16;

struct RunNode {
    BlockAlgo* block;     // audio thread, once the program runs
    BlockPro* pro;        // of the block, which it goes with when it is taken over
    VantoroQuiet* quiet;  // of the block too; null: it runs in the documented arithmetic
    int inputs, outputs;
    const VantoroBlockInfo* info;
    const char* name;
    float** in;  // the arrays of pointers for process
    float** out;
    const float** heard;   // contiguous pins: where the gathered inputs come from
    float* run;            // gathered inputs, or outputs to clear
    std::size_t run_size;  // in samples
    float* posted;         // the vector accepted last
    int length;            // of it
    float* levels;         // owned: of a detector, after each block; both threads reach it through atomics
    int level_count;
    const std::uint32_t* links;  // what the inputs hear, by signal number
    int first_signal;            // of the outputs
    int past;                    // its outputs in Program::past: the first, or -1
    int lender;                  // node of the program before that runs this one until it is taken over, or -1
    // In a chain of filters, see chain.cpp:
    int before, after;  // nodes, or -1
    int place;          // its own among Program::chained_
    bool cut;           // its outputs are read from outside: they are written although only `after` hears them
    bool asked;         // for good
    bool faulty;        // found by recover()
};

// The name of the node that the calling thread is making, setting or running; null: none.
extern constinit thread_local const char* node_at_work;

// Whether a block's state may last longer than what a program that follows hears again: only such blocks are lent.
bool remembers(const VantoroBlockInfo& info);

// Whether no sample is infinite or NaN.
bool finite(const float* samples, int n);

class Program {
public:
    // Null when memory is short or the library refuses a block of a checked preset.
    static Program* create(const Preset& preset, int rate);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    int inputs() const { return inputs_; }
    int outputs() const { return outputs_; }
    int nodes() const { return nodes_count_; }
    int rate() const { return pro_.nSamplingRate; }
    int block_size() const { return pro_.nBlockSize; }
    const RunNode* node(int n) const
    {
        return n >= 0 && n < nodes_count_ ? &nodes_[static_cast<std::size_t>(n)] : nullptr;
    }
    bool flushes() const { return flushes_; }
    // By the numbers of links: silence, inputs, output pins.
    int signals() const { return static_cast<int>(buffers_count_); }
    const float* const* buffers() const { return buffers_.get(); }
    const float* signal(int n) const { return buffers_[static_cast<std::size_t>(n)]; }

    float* input(int ch) const { return in_[static_cast<std::size_t>(ch)]; }
    const float* output(int ch) const { return out_[static_cast<std::size_t>(ch)]; }

    // Control thread.
    bool posts_taken() const { return queue_.empty(); }
    int post(int node, const float* vector, int length);
    int post_entry(int node, int entry, float value);

    // Audio thread. hear(): takes a channel's samples; those that are no audio become 0. Returns how many. sound():
    // whether the outputs are finite, and the pins and levels of one node, each block another. recover(): clears every
    // node that heard or gave a number that is not finite, and returns the first that made one of finite inputs, or -1.
    unsigned hear(int ch, const float* samples);
    void take_posts();
    int set(int node, const float* vector, int length);
    int recover();
    bool sound();
    int failed() const { return failed_; }
    // An output pin, which is written from the next block on whoever else hears it. Null: no such pin.
    const float* ask(int n, int pin);

    // Following another program, see follow.cpp. Control thread: keep() reserves the past of this program; lend() finds
    // the nodes of `from` that go on in this one. Audio thread: unlend() and take_over(), between two blocks.
    [[nodiscard]] bool keep(long blocks);
    [[nodiscard]] bool lend(const Program& from);
    void unlend();
    void take_over(Program& old);
    // Both return the result of the first node that fails, or RT_OK. relive(): one block of the past; `from` has what
    // the nodes gave that it lends. live(): one block of the present; `from` has run it already. Null: nothing is lent.
    // `metered`: every output is read.
    int relive(std::int64_t block, const History& inputs, const Program& from);
    int live(std::int64_t block, const Program* from, bool metered);
    // The next block to hear.
    std::int64_t heard() const { return present_.load(std::memory_order_acquire); }
    void skip_to(std::int64_t block) { present_.store(block, std::memory_order_release); }

    Program* next_retired = nullptr;       // while swapped out
    long fade_frames = 0;                  // of the fade to this program
    const Program* base = nullptr;         // that this one follows
    std::atomic<Meters*> meters{nullptr};  // owned
    std::atomic<int> tapped[kTaps] = {};   // signal numbers; 0: none

    Program() = default;  // empty: see create

private:
    [[nodiscard]] bool build(const Preset& preset, int rate);
    [[nodiscard]] bool reserve(const Preset& preset);
    [[nodiscard]] bool make_node(const Preset& preset, std::uint32_t n, std::uint64_t& link);
    [[nodiscard]] bool make_levels(RunNode& node);
    bool contiguous(const Node& node) const;
    std::size_t outputs_size(const Node& node) const;
    std::size_t gather_size(const Node& node) const;
    float* take(std::size_t samples);
    static int apply(const RunNode& node, const float* vector);
    static bool resizes(const RunNode& node, const float* vector, int length);
    [[nodiscard]] bool make_room(int length);
    bool accepts(const RunNode& node, const float* vector, int length) const;
    void prepare(const RunNode& node) const;
    int run_node(const RunNode& node);
    void borrow(const RunNode& node) const;
    BlockAlgo* block_of(const RunNode& node) const;
    bool same_node(const RunNode& node, const RunNode& other, const int* same) const;
    int run();
    // Chains and what runs in them, see chain.cpp.
    [[nodiscard]] bool make_chains(std::size_t links);
    [[nodiscard]] bool count_listeners(owned::Array<int>& listeners, std::size_t links) const;
    bool follows(const RunNode& node, const RunNode& before, const int* listeners) const;
    int giver_of(int signal) const;
    void listen(bool metered);
    bool writes(const RunNode& node) const { return node.after < 0 || node.cut; }
    int end_of_piece(int n) const;
    int run_chain(int head);
    int run_heard(int first, int end) const;  // heard_chain.cpp
    bool pins_finite(const float* const* pins, int count) const;
    bool heard_finite(const RunNode& node) const;
    bool gave_finite(const RunNode& node) const;

    BlockPro pro_ = {};
    std::size_t stride_ = 0;  // samples from buffer to buffer
    int inputs_ = 0, outputs_ = 0, nodes_count_ = 0;
    bool flushes_ = false;
    owned::Array<float> arena_;
    std::size_t taken_ = 0;
    owned::Array<float*> buffers_;  // by the numbers of links
    std::size_t buffers_count_ = 0;
    owned::Array<float*> in_;
    owned::Array<const float*> out_;
    owned::Array<float*> pins_;  // of all RunNode::in and out
    std::size_t pins_taken_ = 0;
    owned::Array<const float*> heard_;
    std::size_t heard_taken_ = 0;
    owned::Array<float> scratch_;  // as long as the longest vector
    int longest_ = 0, failed_ = -1, looked_at_ = 0;
    owned::Array<char> text_;
    owned::Array<RunNode> nodes_;
    owned::Array<BlockAlgo*> chained_;  // the blocks, those of a chain in a row
    owned::Array<int> inner_;           // nodes that another one follows
    int inner_count_ = 0;
    Queue queue_;

    History past_;                          // outputs of the nodes that may be lent
    std::atomic<std::int64_t> present_{0};  // the next block to hear, counted as the graph counts
    std::int64_t block_ = 0;                // the one that runs
    const Program* lender_ = nullptr;       // while a block runs
    bool reliving_ = false;
    owned::Array<std::uint32_t> links_;
};

}  // namespace vgraph
