// SPDX-License-Identifier: Apache-2.0
// The one way in which the program writes a file. It appears whole or not at all: written under another name beside its
// place, flushed to the disk, closed, and then renamed. What stood there before stays as it was until then.
// What is not a regular file (a device, a fifo, standard output) is written directly.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vantoro {

class PartFile {
public:
    enum class Access {
        stream,
        seek,  // what cannot seek gets everything with commit(), by way of a temporary file
    };
    // "-": standard output. Links are followed, also to a file that does not exist yet. Throws like check().
    explicit PartFile(const std::string& path, Access access = Access::stream);
    ~PartFile();  // without commit() it is removed
    PartFile(const PartFile&) = delete;
    PartFile& operator=(const PartFile&) = delete;

    // None of these throws: libsndfile calls them. The first failure is kept, and nothing is written after it.
    bool write(const void* bytes, std::size_t size) noexcept;
    bool write(std::string_view text) noexcept { return write(text.data(), text.size()); }
    bool flush() noexcept;
    std::int64_t seek(std::int64_t offset, int whence) noexcept;  // as lseek
    const std::string& name() const { return name_; }             // in messages
    std::int64_t position() const { return position_; }
    std::int64_t size() const { return size_; }

    // Throws std::runtime_error when something failed so far: the file and the cause.
    void check() const;
    void commit();  // after the last byte; throws like check()

    // What the user wants to keep: "the schematic", and where it is.
    struct Kept {
        const char* what;
        std::string path;  // empty: nothing
    };
    // Why `path` must not be written, or empty: it cannot be, or it is one of `kept` by whatever name or link.
    static std::string refusal(const std::string& path, const std::vector<Kept>& kept);

private:
    void open_beside(const std::string& path);
    void open_directly(const std::string& path, Access access);
    void put(const char* bytes, std::size_t size) noexcept;
    void deliver() noexcept;
    void keep(bool done) noexcept;
    [[noreturn]] void fail(int error) const;

    std::string name_;
    std::string place_, part_;  // where it is renamed to, and the name until then; empty: written directly
    int fd_ = -1;
    int target_ = -1;  // where a temporary file goes
    int error_ = 0;    // errno of the first failure
    std::string buffer_;
    std::int64_t position_ = 0, size_ = 0;
};

void write_file(const std::string& path, std::string_view content);

}  // namespace vantoro
