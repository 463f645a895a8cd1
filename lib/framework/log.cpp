// SPDX-License-Identifier: Apache-2.0
#include "log.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>

#include "../common/common.h"

namespace {

// Two words that belong together, published by a sequence counter: odd while they change. A reader that saw a change
// reads again, so it never pairs one handler with another's user pointer, and no one holds a lock.
std::atomic<unsigned> g_version{0};
std::atomic<VantoroLogHandler> g_handler{nullptr};
std::atomic<void*> g_user{nullptr};

VantoroLogHandler current_handler(void*& user)
{
    for (;;) {
        const unsigned before = g_version.load();
        const VantoroLogHandler handler = g_handler.load();
        user = g_user.load();
        if (before % 2 == 0 && g_version.load() == before)
            return handler;
    }
}

}  // namespace

void lbx::log_line(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    void* user = nullptr;
    if (const VantoroLogHandler handler = current_handler(user)) {
        char line[1024];
        std::vsnprintf(line, sizeof line, format, args);
        handler(line, user);
    } else {
        std::vfprintf(stderr, format, args);
    }
    va_end(args);
}

int lbx::refuse(const char* func, int line, const char* message, int result)
{
    LBX_LOG_AS(func, line, "%s", message);
    return result;
}

void Vantoro_set_log_handler(VantoroLogHandler handler, void* user)
{
    g_version.fetch_add(1);
    g_handler.store(handler);
    g_user.store(user);
    g_version.fetch_add(1);
}
