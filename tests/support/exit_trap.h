// SPDX-License-Identifier: Apache-2.0
// Runs library code whose documented answer to some arguments is to end the process, and comes back instead.
#pragma once

#include <csetjmp>
#include <functional>

namespace rig {

// Set while until_exit runs: exit() of the library jumps there.
extern std::jmp_buf* g_exit_trap;

// True when `body` reached exit(). Objects that body makes with destructors are then lost: make them outside.
inline bool until_exit(const std::function<void()>& body)
{
    std::jmp_buf trap;
    g_exit_trap = &trap;
    const bool ended = setjmp(trap) != 0;
    if (!ended)
        body();
    g_exit_trap = nullptr;
    return ended;
}

}  // namespace rig
