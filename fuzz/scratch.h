// SPDX-License-Identifier: Apache-2.0
// A directory of its own for what a target writes into the current one, until the fuzzer ends. The fuzzer's own paths
// are relative to the directory before.
#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

class Scratch {
public:
    Scratch()
    {
        std::string name = (std::filesystem::temp_directory_path() / "fuzz-XXXXXX").string();
        if (!::mkdtemp(name.data()))
            std::abort();
        dir_ = name;
    }
    ~Scratch() { std::filesystem::remove_all(dir_); }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    void enter() const { std::filesystem::current_path(dir_); }
    void leave() const { std::filesystem::current_path(before_); }

private:
    std::filesystem::path before_ = std::filesystem::current_path(), dir_;
};

template <class Body>
void in_scratch(const Body& body)
{
    static const Scratch scratch;
    scratch.enter();
    body();
    scratch.leave();
}
