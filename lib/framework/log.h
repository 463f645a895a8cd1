// SPDX-License-Identifier: Apache-2.0
// The one log line. The message is a literal, so the compiler checks its arguments.
#pragma once

namespace lbx {

// Formats and delivers one whole report in one call, so that lines of different threads never mix.
[[gnu::format(printf, 1, 2), gnu::cold]] void log_line(const char* format, ...);

// Reports `message` and returns `result`: the way out of a call, which then needs no stack frame.
[[gnu::cold]] int refuse(const char* func, int line, const char* message, int result);

}  // namespace lbx

// A report whose line number is documented names it, so that moving code never changes the text.
#define LBX_LOG_AS(func, line, message, ...) \
    lbx::log_line("LOG (%s(): ,%d), " message, func, line __VA_OPT__(, ) __VA_ARGS__)
#define LBX_LOG(message, ...) LBX_LOG_AS(__func__, __LINE__, message __VA_OPT__(, ) __VA_ARGS__)
