// SPDX-License-Identifier: Apache-2.0
// The newest blocks of some signals, by their number. One thread writes, others read what it has written so far; a
// reader that is too slow is told so. Words are atomic, so that a block which is overwritten under its reader is wrong,
// but no race.
#pragma once

#include <atomic>
#include <bit>
#include <cstdint>
#include <cstring>

#include "../lib/framework/owned.h"

namespace vgraph {

class History {
public:
    // The least number of blocks that are kept; 0 keeps none.
    [[nodiscard]] bool reserve(int signals, int block, long blocks)
    {
        if (signals == 0 || blocks == 0)
            return true;
        block_ = static_cast<std::size_t>(block);
        stride_ = (block_ + 1) / 2;
        signals_ = static_cast<std::size_t>(signals);
        const std::size_t slots = std::bit_ceil(static_cast<std::size_t>(blocks) + kMargin);
        mask_ = slots - 1;
        return owned::zeros(words_, slots * signals_ * stride_);
    }
    bool kept() const { return words_ != nullptr; }
    // Blocks that can be read, at the most.
    std::int64_t depth() const { return kept() ? static_cast<std::int64_t>(mask_ + 1 - kMargin) : 0; }

    void write(std::int64_t block, int signal, const float* samples)
    {
        if (!kept())
            return;
        std::uint64_t* to = at(block, signal);
        for (std::size_t i = 0; i < stride_; ++i) {
            std::uint64_t pair = 0;
            std::memcpy(&pair, samples + 2 * i, 2 * i + 2 <= block_ ? sizeof pair : sizeof(float));
            std::atomic_ref(to[i]).store(pair, std::memory_order_relaxed);
        }
    }
    void read(std::int64_t block, int signal, float* samples) const
    {
        std::uint64_t* from = at(block, signal);
        for (std::size_t i = 0; i < stride_; ++i) {
            const std::uint64_t pair = std::atomic_ref(from[i]).load(std::memory_order_relaxed);
            std::memcpy(samples + 2 * i, &pair, 2 * i + 2 <= block_ ? sizeof pair : sizeof(float));
        }
    }
    // Whether a block that was read is what was written, when the writer has now finished `written` blocks.
    bool intact(std::int64_t block, std::int64_t written) const
    {
        return kept() && block >= 0 && block < written && written - block <= static_cast<std::int64_t>(mask_);
    }

private:
    static constexpr std::size_t kMargin = 16;  // blocks

    std::uint64_t* at(std::int64_t block, int signal) const
    {
        const std::size_t slot = static_cast<std::size_t>(block) & mask_;
        return words_.get() + (slot * signals_ + static_cast<std::size_t>(signal)) * stride_;
    }

    owned::Array<std::uint64_t> words_;  // two samples each
    std::size_t block_ = 0, stride_ = 0, signals_ = 0, mask_ = 0;
};

}  // namespace vgraph
