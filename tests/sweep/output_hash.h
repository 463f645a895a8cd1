// SPDX-License-Identifier: Apache-2.0
// What a block puts out, as one number. Without test framework and rig, so that it runs on any C library.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "support/every_block.h"
#include "support/signals.h"
#include "vantoro.h"

namespace sweep {

// FNV-1a over 32-bit words. NaN counts as NaN, whatever its sign and payload: those differ between CPUs.
class Hash {
public:
    void add(std::uint32_t word)
    {
        const bool is_nan = (word & 0x7fffffffU) > 0x7f800000U;
        hash_ = (hash_ ^ (is_nan ? 0x7fc00000U : word)) * 0x100000001b3U;
    }
    unsigned long long value() const { return hash_; }

private:
    std::uint64_t hash_ = 0xcbf29ce484222325U;
};

using Signal = std::vector<std::vector<float>>;

inline std::vector<float*> pins_of(Signal& signal)
{
    std::vector<float*> pins;
    for (std::vector<float>& pin : signal)
        pins.push_back(pin.data());
    return pins;
}

// The signal's outputs. A block finds in its output buffers what it left there, as some expect.
inline Signal run(BlockAlgo* blk, Signal signal, int outputs, std::size_t samples)
{
    const auto block = static_cast<std::size_t>(blk->block_pro->nBlockSize);
    Signal buffers(static_cast<std::size_t>(outputs), std::vector<float>(block)), result(buffers.size());
    std::vector<float*> in = pins_of(signal), out = pins_of(buffers);
    for (std::size_t start = 0; start < samples; start += block) {
        BlockAlgo_process(blk, in.data(), out.data());
        for (std::size_t pin = 0; pin < result.size(); ++pin)
            result[pin].insert(result[pin].end(), buffers[pin].begin(), buffers[pin].end());
        for (float*& pin : in)
            pin += block;
    }
    return result;
}

// Adds every bit that a block with this vector (empty: as created) puts out for a fixed stimulus of some blocks.
inline void hash_outputs(Hash& hash, const rig::BlockCase& row, std::vector<float> vector, BlockPro pro, int blocks)
{
    std::srand(1);  // the white noise draws from the C library's sequence
    BlockAlgo* blk = BlockAlgo_init(&pro, row.inputs, row.outputs, row.type);
    if (!vector.empty())
        BlockAlgo_param_reset(blk, vector.data());
    BlockAlgo_param_update(blk);
    const int samples = blocks * pro.nBlockSize;
    const Signal out = run(blk, rig::stimulus(row.inputs, samples), row.outputs, static_cast<std::size_t>(samples));
    BlockAlgo_destroy(blk);
    for (const std::vector<float>& pin : out)
        for (const std::uint32_t word : rig::bits(pin))
            hash.add(word);
}

}  // namespace sweep
