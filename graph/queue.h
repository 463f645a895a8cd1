// SPDX-License-Identifier: Apache-2.0
// Vectors on their way from the control thread to the audio thread: one writer, one reader, no lock.
#pragma once

#include <atomic>
#include <bit>
#include <cstdint>

#include <utility>

#include "../lib/framework/owned.h"

namespace vgraph {

class Queue {
public:
    // Room for at least two messages of `longest` floats. Neither side is at work, and nothing is in it.
    [[nodiscard]] bool reserve(std::size_t longest)
    {
        constexpr std::size_t kLeast = 4096;
        const std::size_t wanted = 2 * (longest + kHead);
        const std::size_t size = std::bit_ceil(wanted < kLeast ? kLeast : wanted);
        owned::Array<std::uint32_t> words;
        if (!owned::zeros(words, size))
            return false;
        words_ = std::move(words);
        mask_ = size - 1;
        return true;
    }

    // Writer: whether all was taken.
    bool empty() const { return read_.load(std::memory_order_acquire) == written_.load(std::memory_order_relaxed); }

    // Writer: false when there is no room.
    bool push(int node, const float* vector, int length)
    {
        const std::size_t end = written_.load(std::memory_order_relaxed);
        const std::size_t needed = static_cast<std::size_t>(length) + kHead;
        if (needed > mask_ + 1 - (end - read_.load(std::memory_order_acquire)))
            return false;
        words_[end & mask_] = static_cast<std::uint32_t>(node);
        words_[(end + 1) & mask_] = static_cast<std::uint32_t>(length);
        for (int i = 0; i < length; ++i)
            words_[(end + kHead + static_cast<std::size_t>(i)) & mask_] = std::bit_cast<std::uint32_t>(vector[i]);
        written_.store(end + needed, std::memory_order_release);
        return true;
    }

    // Reader: take(node, length) for every message that was there at the call, its floats in `scratch`.
    template <class Take>
    void drain(float* scratch, Take take)
    {
        std::size_t at = read_.load(std::memory_order_relaxed);
        const std::size_t end = written_.load(std::memory_order_acquire);
        while (at != end) {
            const auto node = static_cast<int>(words_[at & mask_]);
            const auto length = static_cast<int>(words_[(at + 1) & mask_]);
            for (int i = 0; i < length; ++i)
                scratch[i] = std::bit_cast<float>(words_[(at + kHead + static_cast<std::size_t>(i)) & mask_]);
            at += static_cast<std::size_t>(length) + kHead;
            take(node, length);
        }
        read_.store(end, std::memory_order_release);
    }

private:
    static constexpr std::size_t kHead = 2;

    owned::Array<std::uint32_t> words_;
    std::size_t mask_ = 0;
    alignas(64) std::atomic<std::size_t> written_{0};  // counts on, never wraps back
    alignas(64) std::atomic<std::size_t> read_{0};
};

}  // namespace vgraph
