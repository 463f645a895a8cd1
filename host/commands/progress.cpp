// SPDX-License-Identifier: Apache-2.0
#include "commands/progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "engine/engine.h"

namespace vantoro {

using Clock = std::chrono::steady_clock;

Progress::Progress(std::optional<std::int64_t> frames) : frames_(frames), on_(isatty(STDERR_FILENO) != 0)
{
    if (on_)
        LibraryLog::before_line(clear);
}

Progress::~Progress()
{
    if (on_)
        clear();
    LibraryLog::before_line(nullptr);
}

void Progress::clear() { std::fputs("\r\033[K", stderr); }

void Progress::show(std::int64_t done, int rate)
{
    constexpr std::chrono::milliseconds kInterval{100};
    constexpr int kWidth = 40;
    if (!on_)
        return;
    const auto now = Clock::now();
    if (now - shown_ < kInterval)
        return;
    shown_ = now;
    if (frames_ && *frames_ > 0) {
        const double part = std::min(1.0, static_cast<double>(done) / static_cast<double>(*frames_));
        const std::string bar(static_cast<std::size_t>(part * kWidth), '#');
        std::fprintf(stderr, "\r[%-*s] %3.0f %%", kWidth, bar.c_str(), 100 * part);
    } else {
        std::fprintf(stderr, "\r%.1f s", static_cast<double>(done) / rate);
    }
    std::fflush(stderr);
}

}  // namespace vantoro
