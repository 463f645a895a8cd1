// SPDX-License-Identifier: Apache-2.0
#include "exit_trap.h"

#include <sanitizer/lsan_interface.h>

#include <cstddef>

std::jmp_buf* rig::g_exit_trap = nullptr;

namespace {

constexpr int kMost = 1024;  // allocations of one call
const void* g_allocated[kMost];
int g_count = 0;

}  // namespace

bool ends_process(const std::function<void()>& call)
{
    g_count = 0;
    return rig::until_exit(call);
}

extern "C" {
void* __real_calloc(std::size_t count, std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size)
{
    void* p = __real_calloc(count, size);
    if (rig::g_exit_trap && g_count < kMost)
        g_allocated[g_count++] = p;
    return p;
}

[[noreturn]] void __real_exit(int status);
[[noreturn]] void __wrap_exit(int status);
void __wrap_exit(int status)
{
    if (!rig::g_exit_trap)
        __real_exit(status);
    for (int i = 0; i < g_count; ++i)
        __lsan_ignore_object(g_allocated[i]);
    std::longjmp(*rig::g_exit_trap, 1);
}
}
