// SPDX-License-Identifier: Apache-2.0
// What must not outlive the program, however it ends: unfinished files, and another program at work for it.
#pragma once

#include <string>

#include <sys/types.h>

namespace vantoro {

// At the start of the program. A signal that ends it (Ctrl-C, a hang-up, a closed pipe) first removes what is
// unfinished, then ends it as that signal does, so that a shell sees it. A file that grows beyond its limit is a failed
// write, not a signal. Signals that were ignored stay ignored.
void watch_signals();

// Makes a file whose name ends in ".XXXXXX.part" and fills the Xs in. Returns its descriptor, or -1 with errno.
// `name` is borrowed until it is forgotten.
int create_unfinished(std::string& name);
void forget_unfinished(const std::string& name);  // it was renamed, or removed

void set_child(pid_t child);  // 0: none

}  // namespace vantoro
