// SPDX-License-Identifier: Apache-2.0
// The engine: a schematic made into blocks of the library, their buffers, and one call that runs them all.
//
// Preparing allocates everything; process() allocates nothing and locks nothing. One thread at a time.
//
// Buffers. Every output pin has a buffer of its own, which it keeps from block to block: some blocks leave samples as
// they were, on purpose. A listener gets the pointer to that buffer, never a copy; unconnected pins share one of zeros.
// The buffers of one block stand in one run, and the runs in the order of processing. Neighbours are an odd number of
// 64-byte lines apart, so that any 64 of them in a row begin in different places of a 4 KiB page and do not evict each
// other from a cache whose sets repeat with the page.
// Some blocks address their data pins as one array without gaps (VANTORO_CONTIGUOUS_PINS): their outputs stand exactly
// one block size apart, and their inputs are copied into such an array before they run.
// Some do not write every output in every state and mean silence by it (VANTORO_CLEAR_OUTPUTS): their outputs are
// zeroed before each call, so that no old block repeats. What other blocks leave unwritten keeps its value, as
// documented.
//
// Numbers too small to be normal slow a processor down, and filters decay into them. While a block with such a state
// (VANTORO_DENORMALS) is in the graph, the engine computes with flush-to-zero, and gives the thread its old mode back
// after each call.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "schematic/schematic.h"

namespace vantoro {

// The library's log lines while it lives: each on standard error after the id of the block at work, or nowhere.
// One at a time.
class LibraryLog {
public:
    explicit LibraryLog(bool quiet);
    ~LibraryLog();
    LibraryLog(const LibraryLog&) = delete;
    LibraryLog& operator=(const LibraryLog&) = delete;

    // The block at work; borrowed. Null: none.
    static void at_work(const std::string* id) { id_ = id; }
    // Called before a line is written: a progress bar clears itself.
    static void before_line(void (*hook)()) { hook_ = hook; }

private:
    static void take(const char* line, void* quiet);
    static inline const std::string* id_ = nullptr;
    static inline void (*hook_)() = nullptr;
};

class Engine {
public:
    // Throws std::runtime_error when the library refuses a block.
    Engine(Schematic schematic, int rate);
    ~Engine();
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    const Schematic& schematic() const { return schematic_; }
    int rate() const { return pro_.nSamplingRate; }
    int block_size() const { return pro_.nBlockSize; }
    int inputs() const { return schematic_.inputs; }
    int outputs() const { return static_cast<int>(outputs_.size()); }

    // One buffer a channel, each of block_size() samples: the caller fills the inputs and reads the outputs.
    float* const* input() { return inputs_.data(); }
    const float* const* output() const { return outputs_.data(); }

    // Makes the changes that are due before the next block. May allocate and log.
    void change();
    // A new vector for the schematic's n-th block, from the next audio block on. May allocate and log.
    void set(int n, std::span<const float> vector) const { apply(nodes_[index(place_[index(n)])], vector); }
    // Changes that come after the blocks run so far.
    std::size_t changes_left() const { return schematic_.changes.size() - next_change_; }

    // Runs every block once. False when one failed; see failure().
    bool process();
    const std::string& failure() const { return failure_; }

    // What an output pin, or a channel of the input, holds since the last block.
    const float* signal(const Feed& source) const { return buffer_of(source); }

    // The library's record of the schematic's n-th block.
    const BlockAlgo& block(int n) const { return *nodes_[index(place_[index(n)])].algo; }

private:
    static std::size_t index(int n) { return static_cast<std::size_t>(n); }
    struct Destroy {
        void operator()(BlockAlgo* algo) const { BlockAlgo_destroy(algo); }
    };
    struct Free {
        void operator()(float* p) const { std::free(p); }
    };
    struct Copy {
        const float* from;
        float* to;
    };
    struct Node {
        std::unique_ptr<BlockAlgo, Destroy> algo{};
        float** in = nullptr;  // the arrays of pointers for process
        float** out = nullptr;
        const Block* block = nullptr;
        // What some types need before they run.
        float* silenced = nullptr;  // outputs to be zeroed
        std::size_t silenced_size = 0;
        std::vector<Copy> gathered{};  // inputs to be copied into one array
        bool prepared() const { return silenced_size > 0 || !gathered.empty(); }
    };

    std::size_t pitch(const Block& block) const;
    std::size_t outputs_size(const Block& block) const;
    std::size_t gather_size(const Block& block) const;
    void place_buffers();
    void make_node(Node& node, float**& pins);
    void gather(Node& node, float* array) const;
    void apply(const Node& node, std::span<const float> vector) const;
    float* buffer_of(const Feed& feed) const;
    void prepare(const Node& node) const;

    Schematic schematic_;
    BlockPro pro_;
    bool flush_to_zero_;
    std::size_t stride_;  // samples from buffer to buffer
    std::unique_ptr<float[], Free> arena_;
    float* silence_ = nullptr;
    std::vector<float*> first_output_;  // of each block of the schematic
    std::vector<float*> first_gather_;
    std::vector<float*> inputs_;
    std::vector<const float*> outputs_;
    std::vector<float*> pins_;  // what every Node::in and out points into
    std::vector<Node> nodes_;   // in the order of processing
    std::vector<int> place_;    // of each block of the schematic among them
    std::int64_t blocks_run_ = 0;
    std::size_t next_change_ = 0;
    std::string failure_;
};

}  // namespace vantoro
