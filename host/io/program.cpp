// SPDX-License-Identifier: Apache-2.0
#include "io/program.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>

extern char** environ;

namespace vantoro {

namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

File holding(const std::string& text)
{
    File file(std::tmpfile(), std::fclose);
    if (!file || std::fwrite(text.data(), 1, text.size(), file.get()) != text.size() || std::fflush(file.get()) != 0 ||
        std::fseek(file.get(), 0, SEEK_SET) != 0)
        throw std::runtime_error("a temporary file cannot be written: " + std::string(std::strerror(errno)));
    return file;
}

}  // namespace

void run_program(const std::string& name, std::vector<std::string> arguments, const std::string& input,
                 const std::string& output, const std::string& package)
{
    const File text = holding(input);
    arguments.insert(arguments.begin(), name);
    std::vector<char*> list(arguments.size() + 1);  // ends with null
    std::ranges::transform(arguments, list.begin(), [](std::string& argument) { return argument.data(); });

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, fileno(text.get()), STDIN_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    pid_t child = 0;
    const int error = posix_spawnp(&child, name.c_str(), &actions, nullptr, list.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error == ENOENT)
        throw std::runtime_error("the program '" + name + "' is missing; it comes with " + package + " (apt install " +
                                 package + ')');
    if (error != 0)
        throw std::runtime_error('\'' + name + "' cannot be started: " + std::strerror(error));
    int state = 0;
    while (waitpid(child, &state, 0) < 0 && errno == EINTR) {
    }
    if (!WIFEXITED(state) || WEXITSTATUS(state) != 0)
        throw std::runtime_error('\'' + name + "' failed");
}

}  // namespace vantoro
