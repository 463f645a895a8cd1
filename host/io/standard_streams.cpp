// SPDX-License-Identifier: Apache-2.0
#include "io/standard_streams.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

namespace vantoro {

void open_standard_streams()
{
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(fd, F_GETFD) < 0 && open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY) < 0)
            std::abort();  // a system without /dev/null
    // More than any command prints, so that it is written once, at the end, where the cause of a failure is known.
    static char held_back[1 << 20];
    std::setvbuf(stdout, held_back, _IOFBF, sizeof held_back);
}

void finish_standard_output()
{
    errno = 0;
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return;
    const std::string cause = errno != 0 ? std::strerror(errno) : "it was cut short";
    throw std::runtime_error("standard output: cannot be written: " + cause);
}

}  // namespace vantoro
