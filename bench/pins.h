// SPDX-License-Identifier: Apache-2.0
// Blocks and their pins, as every program here runs them.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <vantoro/vantoro.h>

namespace bench {

constexpr int kBlock = 64;

// Pins filled with noise, laid out as the engine lays out its buffers: an odd number of cache lines apart.
struct Pins {
    static constexpr std::size_t kLine = 16;  // floats
    std::vector<float> memory;
    std::vector<float*> in, out;

    Pins(int inputs, int outputs, int n)
    {
        const std::size_t stride = ((static_cast<std::size_t>(n) + kLine - 1) / kLine | 1U) * kLine;
        const auto pins = static_cast<std::size_t>(inputs + outputs);
        memory.resize(pins * stride + kLine);
        std::uint32_t seed = 1;
        for (float& x : memory)
            x = static_cast<float>(static_cast<std::int32_t>(seed = seed * 1664525U + 1013904223U)) * 0x1p-31F;
        const auto address = reinterpret_cast<std::uintptr_t>(memory.data());
        float* first = memory.data() + (0U - address) % (kLine * sizeof(float)) / sizeof(float);
        for (std::size_t p = 0; p < pins; ++p)
            (p < static_cast<std::size_t>(inputs) ? in : out).push_back(first + p * stride);
    }
};

// A block with a context of its own.
struct Block {
    BlockPro pro;
    std::unique_ptr<BlockAlgo, int (*)(BlockAlgo*)> algo;

    Block(int type, int inputs, int outputs, int n)
        : pro{48000, 32, n, 0, 0}, algo(BlockAlgo_init(&pro, inputs, outputs, type), BlockAlgo_destroy)
    {}
    void set(std::vector<float> vector)
    {
        Vantoro_param_apply(algo.get(), vector.data(), static_cast<int>(vector.size()));
    }
    void process(const Pins& pins)
    {
        BlockAlgo_process(algo.get(), const_cast<float**>(pins.in.data()), const_cast<float**>(pins.out.data()));
    }
};

}  // namespace bench
