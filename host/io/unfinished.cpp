// SPDX-License-Identifier: Apache-2.0
#include "io/unfinished.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>

namespace vantoro {

namespace {

constexpr std::size_t kMost = 4;  // files at one time
std::array<std::atomic<const char*>, kMost> g_names{};
std::atomic<pid_t> g_child{0};

void clean_up()
{
    for (auto& name : g_names)
        if (const char* path = name.exchange(nullptr))
            unlink(path);
    if (const pid_t child = g_child.exchange(0))
        kill(child, SIGTERM);
}

// The default action is back when this runs, and takes effect when it returns.
void end_by(int signal)
{
    const int error = errno;
    clean_up();
    errno = error;
    raise(signal);
}

class SignalsHeld {
public:
    SignalsHeld()
    {
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_BLOCK, &all, &old_);
    }
    ~SignalsHeld() { sigprocmask(SIG_SETMASK, &old_, nullptr); }
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;

private:
    sigset_t old_{};
};

}  // namespace

void watch_signals()
{
    std::atexit(clean_up);  // the library ends the program on a few misuses
    std::signal(SIGXFSZ, SIG_IGN);
    struct sigaction ours {};
    ours.sa_handler = end_by;
    ours.sa_flags = static_cast<int>(SA_RESETHAND);
    sigfillset(&ours.sa_mask);
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM, SIGXCPU}) {
        struct sigaction old {};
        sigaction(signal, nullptr, &old);
        if (old.sa_handler != SIG_IGN)
            sigaction(signal, &ours, nullptr);
    }
}

int create_unfinished(std::string& name)
{
    constexpr int kSuffix = 5;  // ".part"
    const SignalsHeld held;
    const int fd = mkostemps(name.data(), kSuffix, O_CLOEXEC);
    if (fd < 0)
        return fd;
    for (auto& slot : g_names)
        if (const char* none = nullptr; slot.compare_exchange_strong(none, name.c_str()))
            break;
    return fd;
}

void forget_unfinished(const std::string& name)
{
    for (auto& slot : g_names) {
        const char* ours = name.c_str();
        slot.compare_exchange_strong(ours, nullptr);
    }
}

void set_child(pid_t child) { g_child = child; }

}  // namespace vantoro
