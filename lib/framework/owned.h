// SPDX-License-Identifier: Apache-2.0
// Memory of what is built on the blocks: arrays of zeros that free themselves. No exceptions: a null array is short
// memory.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>

#include "cache_line.h"

namespace owned {

struct Free {
    void operator()(void* p) const { std::free(p); }
};
template <class T>
using Array = std::unique_ptr<T[], Free>;

// False when memory is short. At least one element, so that null means just that.
template <class T>
[[nodiscard]] bool zeros(Array<T>& array, std::size_t count)
{
    array.reset(static_cast<T*>(std::calloc(count + 1, sizeof(T))));
    return array != nullptr;
}

// A run of samples for buffers, from the start of a line on.
[[nodiscard]] inline bool silence(Array<float>& array, std::size_t samples)
{
    constexpr std::size_t line = lbx::kLine;
    const std::size_t size = (samples + line) / line * line;
    array.reset(static_cast<float*>(std::aligned_alloc(line * sizeof(float), size * sizeof(float))));
    if (array)
        std::fill_n(array.get(), size, 0.0F);
    return array != nullptr;
}

// An object, without the operators of the C++ run-time library; null when memory is short.
template <class T>
T* make()
{
    void* memory = std::aligned_alloc(alignof(T), (sizeof(T) + alignof(T) - 1) / alignof(T) * alignof(T));
    return memory ? ::new (memory) T : nullptr;
}
template <class T>
void unmake(T* object)
{
    if (object)
        object->~T();
    std::free(object);
}

}  // namespace owned
