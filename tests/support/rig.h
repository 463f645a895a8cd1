// SPDX-License-Identifier: Apache-2.0
// What tests share: a block with its pins, the captured log, and a hand on the allocator.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "signals.h"
#include "vantoro.h"

namespace rig {

// Every log line of the process while it lives.
class Log {
public:
    Log();
    ~Log();
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    const std::vector<std::string>& lines() const { return lines_; }
    // The messages: each line from after "LOG (<function>(): ,<line>), ".
    std::vector<std::string> messages() const;
    std::string all() const;   // the lines in one text
    std::string text() const;  // the messages in one text, a '|' between them
    void clear() { lines_.clear(); }

private:
    static void take(const char* line, void* self);
    std::vector<std::string> lines_;
};

// The allocator seen by the library and the test. Counts calls; the k-th call from now (0 = the next) can fail, once.
struct Allocator {
    static long calls();
    static long touched();       // calls, and calls of free
    static long touched_here();  // the same, by this thread
    static void fail_at(long k);
    static void fail_never();
};

// The samples of one pin between two canaries, 64-byte aligned.
class Pin {
public:
    explicit Pin(int samples);
    float* data() { return data_; }
    std::span<float> samples() { return {data_, static_cast<std::size_t>(size_)}; }
    bool intact() const;  // nothing was written outside

private:
    int size_;
    std::vector<float> storage_;
    float* data_;
};

// What came out, by pin. A temporary hands its pin over, so that `for (float v : blk.run(x)[0])` does not dangle.
struct Outputs : std::vector<std::vector<float>> {
    using vector::vector;
    std::vector<float>& operator[](std::size_t pin) & { return vector::operator[](pin); }
    const std::vector<float>& operator[](std::size_t pin) const& { return vector::operator[](pin); }
    std::vector<float> operator[](std::size_t pin) && { return std::move(vector::operator[](pin)); }
};

// A block of `type` with pins of its own and a context of its own; fails the test that tries to use a refused block.
class Rig {
public:
    struct Context {
        int rate = 48000;
        int block = 64;
        int bits = 16;
    };

    Rig(int type, int inputs, int outputs) : Rig(type, inputs, outputs, Context{}) {}
    Rig(int type, int inputs, int outputs, Context context);
    ~Rig();
    Rig(const Rig&) = delete;
    Rig& operator=(const Rig&) = delete;

    explicit operator bool() const { return blk_ != nullptr; }
    BlockAlgo* operator->() { return blk_; }
    BlockAlgo* block() { return blk_; }
    template <class Core>
    Core& core()
    {
        return *static_cast<Core*>(blk_->AlgoCore);
    }
    const BlockPro& context() const { return pro_; }

    int set(std::vector<float> vector);  // param_reset, with a copy that dies afterwards
    int update() { return BlockAlgo_param_update(blk_); }
    int invoke() { return BlockAlgo_param_invoke(blk_); }

    std::span<float> in(int pin) { return in_[static_cast<std::size_t>(pin)].samples(); }
    std::span<float> out(int pin) { return out_[static_cast<std::size_t>(pin)].samples(); }
    void fill(int pin, float value);
    void fill(int pin, std::initializer_list<float> values);  // repeats the last value
    void fill_noise(int first_pin = 0);                       // the pins from there on, each with its own
    // Output pin and input pin in one buffer from now on.
    void alias(int out_pin, int in_pin);

    // Blocks of the same input; gives the last one's result. Fails the test when process writes outside a buffer,
    // changes an input that is no output too, or allocates.
    int process(int blocks = 1);
    // Runs `signal[pin]` (equal lengths, a multiple of the block; one at least, for its length) through the block and
    // returns the outputs.
    Outputs run(const std::vector<std::vector<float>>& signal);

private:
    int process_one();

    BlockPro pro_;
    BlockAlgo* blk_;
    std::vector<Pin> in_, out_;
    std::vector<float*> in_ptr_, out_ptr_;
};

}  // namespace rig
