// SPDX-License-Identifier: Apache-2.0
// Arbitrary bytes as a loudspeaker's response file under a response check, which writes its table into a directory of
// its own.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "scratch.h"
#include "vantoro.h"

namespace {

void drop(const char*, void*) {}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const int file = ::memfd_create("speaker", 0);
    static const std::string path = "/proc/self/fd/" + std::to_string(file);
    if (::ftruncate(file, 0) != 0 || ::pwrite(file, data, size, 0) != static_cast<ssize_t>(size))
        std::abort();
    Vantoro_set_log_handler(drop, nullptr);
    int result = 1;
    in_scratch([&] { result = filter_response_check(nullptr, 0, 2000, 50, path.c_str()); });
    if (result != 0)
        std::abort();  // whatever the file holds, there is a table
    return 0;
}
