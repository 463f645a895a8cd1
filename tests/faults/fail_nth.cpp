// SPDX-License-Identifier: Apache-2.0
// Preloaded under a program, makes one call fail that opens, writes, flushes, closes or renames a file: the one of
// number $FAIL_NTH, with ENOSPC. The file $FAIL_MARK then gets the call's name. Calls before and after it succeed,
// though no write writes everything at once. Zeros at length leave a hole, so that a file may be large. Programs that
// it starts are left alone.
#include <dlfcn.h>
#include <fcntl.h>
#include <stdio_ext.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

int g_left = 0;  // calls up to the one that fails
const char* g_mark = nullptr;

__attribute__((constructor)) void start()
{
    if (const char* nth = std::getenv("FAIL_NTH"))
        g_left = std::atoi(nth);
    g_mark = std::getenv("FAIL_MARK");
    unsetenv("LD_PRELOAD");
}

bool fails(const char* call)
{
    if (g_left <= 0 || --g_left > 0)
        return false;
    const long fd = syscall(SYS_openat, AT_FDCWD, g_mark, O_WRONLY | O_CREAT, 0600);
    syscall(SYS_write, fd, call, std::strlen(call));
    syscall(SYS_close, fd);
    errno = ENOSPC;
    return true;
}

template <class F>
F next(const char* name)
{
    return reinterpret_cast<F>(dlsym(RTLD_NEXT, name));
}

bool writes(int flags) { return (flags & O_ACCMODE) != O_RDONLY; }

// A file without a name is lost with its descriptor anyway.
bool has_name(int fd)
{
    struct stat status {};
    return fstat(fd, &status) == 0 && status.st_nlink > 0;
}

bool leaves_hole(int fd, const char* bytes, size_t size)
{
    return size > 16384 && bytes[0] == 0 && std::memcmp(bytes, bytes + 1, size - 1) == 0 &&
           ftruncate(fd, lseek(fd, 0, SEEK_CUR) + static_cast<off_t>(size)) == 0 &&
           lseek(fd, static_cast<off_t>(size), SEEK_CUR) >= 0;
}

}  // namespace

#pragma GCC diagnostic ignored "-Wmissing-declarations"
extern "C" {

int open(const char* path, int flags, ...)
{
    return writes(flags) && fails("open") ? -1 : next<int (*)(const char*, int, int)>("open")(path, flags, 0600);
}

int mkostemps(char* name, int suffix, int flags)
{
    return fails("open") ? -1 : next<int (*)(char*, int, int)>("mkostemps")(name, suffix, flags);
}

ssize_t write(int fd, const void* bytes, size_t size)
{
    const auto real = next<ssize_t (*)(int, const void*, size_t)>("write");
    if (fd != STDERR_FILENO && fails("write"))
        return -1;
    if (leaves_hole(fd, static_cast<const char*>(bytes), size))
        return static_cast<ssize_t>(size);
    return real(fd, bytes, size > 1 ? size - 1 : size);  // a caller has to go on with the rest
}

int fsync(int fd) { return fails("fsync") ? -1 : next<int (*)(int)>("fsync")(fd); }

int close(int fd)
{
    const int flags = fcntl(fd, F_GETFL);
    const bool counts = flags >= 0 && writes(flags) && has_name(fd);
    const int result = next<int (*)(int)>("close")(fd);
    return counts && fails("close") ? -1 : result;
}

int rename(const char* from, const char* to)
{
    return fails("rename") ? -1 : next<int (*)(const char*, const char*)>("rename")(from, to);
}

int fflush(std::FILE* file)
{
    return file == stdout && __fpending(file) > 0 && fails("flush") ? EOF : next<int (*)(std::FILE*)>("fflush")(file);
}

}  // extern "C"
