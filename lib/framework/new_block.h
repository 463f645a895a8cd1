// SPDX-License-Identifier: Apache-2.0
// Allocation and ownership. Every byte the library holds comes from zeros(), resize() or new_block().
#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <type_traits>

#include "../common/block_types.h"

// Set-up, report and release are cold: so is, by the compiler's own reckoning, every function that cannot but call one
// of them, and what is cold is compiled for size and stands away from the kernels.
namespace lbx {

// n records of `size` zero bytes each; null for n <= 0, and when memory is short.
[[gnu::cold]] void* zeroed(std::ptrdiff_t n, std::size_t size);

// A zero-filled array. n <= 0 is a legal empty array (null). False, with p null, when memory is short.
template <class T>
[[nodiscard]] bool zeros(T*& p, std::ptrdiff_t n)
{
    static_assert(std::is_trivially_copyable_v<T>);
    p = static_cast<T*>(zeroed(n, sizeof(T)));
    return p != nullptr || n <= 0;
}

// Grows or shrinks an array; the new tail is zeroed. n <= 0 frees it and leaves null. On failure p is untouched.
template <class T>
[[nodiscard]] bool resize(T*& p, std::ptrdiff_t old_n, std::ptrdiff_t n)
{
    static_assert(std::is_trivially_copyable_v<T>);
    if (n <= 0) {
        std::free(p);
        p = nullptr;
        return true;
    }
    auto* grown = static_cast<T*>(::reallocarray(p, static_cast<std::size_t>(n), sizeof(T)));
    if (!grown)
        return false;
    p = grown;
    if (n > old_n)
        std::memset(p + old_n, 0, static_cast<std::size_t>(n - old_n) * sizeof(T));
    return true;
}

// A block under construction: leaving init early runs the module's own destroy. Records start zero-filled and freeing
// null does nothing, so one destroy serves the finished and the half-built block alike.
using NewBlock = std::unique_ptr<BlockAlgo, int (*)(BlockAlgo*)>;

// Frees what the record owns (AlgoCore, pParam and the three states) and the record. Null is ignored. Always RT_OK.
[[gnu::cold, gnu::visibility("hidden")]] int free_block(BlockAlgo* blk);

[[gnu::cold]] NewBlock new_block(int nInputs, int nOutputs, BlockPro* pro, int type,
                                 int (*destroy)(BlockAlgo*) = free_block);

// The module's zeroed record, hung on AlgoCore. Null when memory is short, also for the block itself.
template <class Core>
[[nodiscard]] Core* new_core(BlockAlgo* blk)
{
    Core* core = nullptr;
    if (blk && zeros(core, 1))
        blk->AlgoCore = core;
    return core;
}
template <class Core>
[[nodiscard]] Core* new_core(NewBlock& blk)
{
    return new_core<Core>(blk.get());
}

template <class Core>
Core* core_of(const BlockAlgo* blk)
{
    return static_cast<Core*>(blk->AlgoCore);
}

// Frees an array and forgets it.
template <class T>
void drop(T*& p)
{
    std::free(p);
    p = nullptr;
}

}  // namespace lbx
