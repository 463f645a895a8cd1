// SPDX-License-Identifier: Apache-2.0
#include "io/program.h"

#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "io/unfinished.h"

extern char** environ;

namespace vantoro {

namespace {

std::runtime_error failure(const std::string& what) { return std::runtime_error(what + ": " + std::strerror(errno)); }

// A file in memory, so that no full disk comes between the two programs.
class MemoryFile {
public:
    explicit MemoryFile(const std::string& program) : program_(program), fd_(memfd_create(program.c_str(), MFD_CLOEXEC))
    {
        if (fd_ < 0)
            throw failure('\'' + program + "' cannot be started");
    }
    ~MemoryFile() { close(fd_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    int fd() const { return fd_; }

    void write(std::string_view text) const
    {
        for (ssize_t n = 0; !text.empty(); text.remove_prefix(static_cast<std::size_t>(n)))
            if (n = ::write(fd_, text.data(), text.size()); n < 0)
                throw failure('\'' + program_ + "' cannot be given its input");
        lseek(fd_, 0, SEEK_SET);
    }

    std::string read() const
    {
        std::string text(static_cast<std::size_t>(lseek(fd_, 0, SEEK_END)), '\0');
        std::size_t got = 0;
        for (ssize_t n = 1; n > 0; got += static_cast<std::size_t>(n))
            if (n = pread(fd_, text.data() + got, text.size() - got, static_cast<off_t>(got)); n < 0)
                throw failure("the output of '" + program_ + "' cannot be read");
        return text;
    }

private:
    std::string program_;
    int fd_;
};

pid_t start(const std::string& name, std::vector<std::string> arguments, int input, int output,
            const std::string& package)
{
    arguments.insert(arguments.begin(), name);
    std::vector<char*> list(arguments.size() + 1);  // ends with null
    std::ranges::transform(arguments, list.begin(), [](std::string& argument) { return argument.data(); });

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    pid_t child = 0;
    errno = posix_spawnp(&child, name.c_str(), &actions, nullptr, list.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (errno == ENOENT)
        throw std::runtime_error("the program '" + name + "' is missing; it comes with " + package + " (apt install " +
                                 package + ')');
    if (errno != 0)
        throw failure('\'' + name + "' cannot be started");
    return child;
}

void wait_for(const std::string& name, pid_t child)
{
    set_child(child);
    int state = 0;
    while (waitpid(child, &state, 0) < 0 && errno == EINTR) {
    }
    set_child(0);
    if (WIFSIGNALED(state))
        throw std::runtime_error('\'' + name + "' was ended by a signal: " + strsignal(WTERMSIG(state)));
    if (WEXITSTATUS(state) != 0)
        throw std::runtime_error('\'' + name + "' failed with status " + std::to_string(WEXITSTATUS(state)));
}

}  // namespace

std::string run_program(const std::string& name, std::vector<std::string> arguments, const std::string& input,
                        const std::string& package)
{
    const MemoryFile in(name);
    const MemoryFile out(name);
    in.write(input);
    wait_for(name, start(name, std::move(arguments), in.fd(), out.fd(), package));
    std::string output = out.read();
    if (output.empty())
        throw std::runtime_error('\'' + name + "' wrote nothing");
    return output;
}

}  // namespace vantoro
