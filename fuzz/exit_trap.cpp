// SPDX-License-Identifier: Apache-2.0
#include "support/exit_trap.h"

std::jmp_buf* rig::g_exit_trap = nullptr;

extern "C" {
[[noreturn]] void __real_exit(int status);
[[noreturn]] void __wrap_exit(int status);
void __wrap_exit(int status)
{
    if (rig::g_exit_trap)
        std::longjmp(*rig::g_exit_trap, 1);
    __real_exit(status);
}
}
