// SPDX-License-Identifier: Apache-2.0
// What vectors need of the C++ runtime, for programs that link a C library without one.
#include <cstdlib>
#include <new>

// NOLINTBEGIN(misc-new-delete-overloads): only what is called
void* operator new(std::size_t size)
{
    void* p = std::malloc(size);
    return p ? p : (std::abort(), nullptr);
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
// NOLINTEND(misc-new-delete-overloads)

namespace std {
void __throw_length_error(const char*) { std::abort(); }
void __throw_bad_alloc() { std::abort(); }
void __throw_bad_array_new_length() { std::abort(); }
}  // namespace std
