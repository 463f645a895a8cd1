// SPDX-License-Identifier: Apache-2.0
// The engine: a schematic on the graph runtime, with its changes at their times.
//
// Preparing allocates everything; process() allocates nothing and locks nothing. One thread at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "schematic/schematic.h"
#include "vantoro_graph.h"

namespace vantoro {

// The library's log lines while it lives: each on standard error after the id of the block at work, or nowhere.
// One at a time.
class LibraryLog {
public:
    explicit LibraryLog(bool quiet);
    ~LibraryLog();
    LibraryLog(const LibraryLog&) = delete;
    LibraryLog& operator=(const LibraryLog&) = delete;

    // Called before a line is written: a progress bar clears itself.
    static void before_line(void (*hook)()) { hook_ = hook; }

private:
    static void take(const char* line, void* quiet);
    static inline void (*hook_)() = nullptr;
};

class Engine {
public:
    // Throws std::runtime_error when the runtime or the library refuses a block.
    Engine(Schematic schematic, int rate);

    const Schematic& schematic() const { return schematic_; }
    int rate() const { return Vantoro_graph_rate(graph_.get()); }
    int block_size() const { return schematic_.block_size; }
    int inputs() const { return schematic_.inputs; }
    int outputs() const { return static_cast<int>(outputs_.size()); }

    // One buffer a channel, each of block_size() samples: the caller fills the inputs and reads the outputs.
    float* const* input() { return inputs_.data(); }
    const float* const* output() const { return outputs_.data(); }

    // Makes the changes that are due before the next block. May allocate and log. Throws std::runtime_error when the
    // library refuses one.
    void change();
    // A new vector for the schematic's n-th block, from the next audio block on. As change().
    void set(int n, std::span<const float> vector);
    // Changes that come after the blocks run so far.
    std::size_t changes_left() const { return schematic_.changes.size() - next_change_; }
    std::size_t changes_not_made() const;  // as they are written: a ramp is one

    // Runs every block once. False when one failed; see failure().
    bool process();
    const std::string& failure() const { return failure_; }

    // Whether the input or a block's output was not finite so far; what and where, for people.
    bool faulty() const;
    std::string fault() const;

    // What an output pin, or a channel of the input, holds since the last block.
    const float* signal(const Feed& source) const;

    // The library's record of the schematic's n-th block.
    const BlockAlgo& block(int n) const { return *Vantoro_graph_block(graph_.get(), node_of(n)); }

private:
    struct Destroy {
        void operator()(VantoroGraph* graph) const { Vantoro_graph_destroy(graph); }
    };
    int node_of(int n) const { return node_[static_cast<std::size_t>(n)]; }

    Schematic schematic_;
    std::unique_ptr<VantoroGraph, Destroy> graph_;
    std::vector<int> node_;  // of each block of the schematic
    std::vector<float*> inputs_;
    std::vector<const float*> outputs_;
    std::int64_t blocks_run_ = 0;
    std::size_t next_change_ = 0;
    std::string failure_;
};

}  // namespace vantoro
