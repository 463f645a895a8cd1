// SPDX-License-Identifier: Apache-2.0
// Arbitrary bytes as a loudspeaker's response file under a response check, which writes its table into a directory of
// its own.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "vantoro.h"

namespace {

namespace fs = std::filesystem;

void drop(const char*, void*) {}

// Where the tables go, until the fuzzer ends. Its own paths are relative to the directory before.
class Directory {
public:
    Directory()
    {
        std::string name = (fs::temp_directory_path() / "speaker-XXXXXX").string();
        dir_ = ::mkdtemp(name.data());
    }
    ~Directory() { fs::remove_all(dir_); }
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;

    void enter() const { fs::current_path(dir_); }
    void leave() const { fs::current_path(before_); }

private:
    fs::path before_ = fs::current_path(), dir_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const int file = ::memfd_create("speaker", 0);
    static const std::string path = "/proc/self/fd/" + std::to_string(file);
    if (::ftruncate(file, 0) != 0 || ::pwrite(file, data, size, 0) != static_cast<ssize_t>(size))
        std::abort();
    Vantoro_set_log_handler(drop, nullptr);
    static const Directory directory;
    directory.enter();
    const int result = filter_response_check(nullptr, 0, 2000, 50, path.c_str());
    directory.leave();
    if (result != 0)
        std::abort();  // whatever the file holds, there is a table
    return 0;
}
