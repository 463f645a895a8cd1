// SPDX-License-Identifier: Apache-2.0
#include "live/console.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <string_view>

#include "support/printable.h"
#include "vantoro.h"
#include "vantoro_graph.h"

namespace vantoro {

Console::Console(bool quiet) : quiet_(quiet), terminal_(isatty(STDERR_FILENO) != 0) {}

Console::~Console() { clear(); }

void Console::clear()
{
    if (shown_)
        std::fputs("\r\033[K", stderr);
    shown_ = false;
}

void Console::plain(const std::string& line)
{
    const std::lock_guard lock(mutex_);
    clear();
    std::fprintf(stderr, "%s\n", printable(line).c_str());
}

void Console::say(const std::string& line) { plain("vantoro: " + line); }

void Console::note(const std::string& line)
{
    if (!quiet_)
        say(line);
}

void Console::status(const std::string& text)
{
    if (quiet_)
        return;
    const std::lock_guard lock(mutex_);
    clear();
    std::fprintf(stderr, terminal_ ? "%s" : "%s\n", text.c_str());
    shown_ = terminal_;
    std::fflush(stderr);
}

// ---- log ----

namespace {

constexpr std::size_t kLineSize = 240, kLines = 64;

thread_local bool t_audio = false;

struct Line {
    std::array<char, kLineSize> text;
};

}  // namespace

// From one audio thread to the drain.
struct LiveLog::Queue {
    std::array<Line, kLines> lines{};
    std::atomic<std::size_t> written{0}, read{0}, lost{0};
};

LiveLog::LiveLog(Console& console, bool quiet) : console_(console), quiet_(quiet), queue_(std::make_unique<Queue>())
{
    Vantoro_set_log_handler(take, this);
}

LiveLog::~LiveLog()
{
    Vantoro_set_log_handler(nullptr, nullptr);
    drain();
}

void LiveLog::mark_audio_thread() { t_audio = true; }

void LiveLog::take(const char* line, void* self)
{
    auto& log = *static_cast<LiveLog*>(self);
    if (log.quiet_)
        return;
    std::string_view text = line;
    text = text.substr(0, text.find_last_not_of('\n') + 1);
    const char* node = Vantoro_graph_node_at_work();
    std::string_view who = node ? node : "libvantoro";
    if (!t_audio) {
        log.console_.plain(std::string(who) + ": " + std::string(text));
        return;
    }
    Queue& queue = *log.queue_;
    const std::size_t at = queue.written.load(std::memory_order_relaxed);
    if (at - queue.read.load(std::memory_order_acquire) == kLines) {
        queue.lost.fetch_add(1, std::memory_order_relaxed);
        return;
    }
    std::size_t used = 0;
    for (const std::string_view part : {who, std::string_view(": "), text})
        for (const char c : part)
            if (used + 1 < kLineSize)
                queue.lines[at % kLines].text[used++] = c;
    queue.lines[at % kLines].text[used] = 0;
    queue.written.store(at + 1, std::memory_order_release);
}

void LiveLog::drain()
{
    std::size_t at = queue_->read.load(std::memory_order_relaxed);
    for (; at != queue_->written.load(std::memory_order_acquire); queue_->read.store(++at, std::memory_order_release))
        console_.plain(queue_->lines[at % kLines].text.data());
    if (const std::size_t lost = queue_->lost.exchange(0); lost > 0)
        console_.say(std::to_string(lost) + " more lines of the library's log");
}

}  // namespace vantoro
