// SPDX-License-Identifier: Apache-2.0
#include "io/part_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <utility>

#include "io/unfinished.h"

namespace vantoro {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kBuffer = 65536;

std::optional<struct stat> status_of(const std::string& path)
{
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? std::optional(status) : std::nullopt;
}

bool writes_directly(const std::string& path)
{
    const auto status = status_of(path);
    return path == "-" || (status && !S_ISREG(status->st_mode));
}

// The file that a path leads to, whether it exists or not. Sets errno and returns nothing for a loop of links.
std::optional<fs::path> followed(fs::path path)
{
    constexpr int kMostLinks = 40;
    std::error_code none;
    for (int links = 0; fs::is_symlink(path, none); ++links) {
        if (links == kMostLinks) {
            errno = ELOOP;
            return {};
        }
        path = path.parent_path() / fs::read_symlink(path, none);
    }
    return path;
}

bool same_file(const std::string& a, const std::string& b)
{
    const auto x = status_of(a);
    const auto y = status_of(b);
    if (x && y)
        return S_ISREG(x->st_mode) && x->st_dev == y->st_dev && x->st_ino == y->st_ino;
    const auto to = followed(a);
    const auto other = followed(b);
    std::error_code none;
    return !x && !y && to && other && fs::weakly_canonical(*to, none) == fs::weakly_canonical(*other, none);
}

// What the file had, or what a new one gets.
mode_t mode_for(const std::string& path)
{
    if (const auto old = status_of(path))
        return old->st_mode & 0777U;
    const mode_t mask = umask(0);
    umask(mask);
    return 0666U & ~mask;
}

}  // namespace

// ---- opening ----

PartFile::PartFile(const std::string& path, Access access) : name_(path == "-" ? "standard output" : path)
{
    buffer_.reserve(kBuffer);
    if (writes_directly(path))
        open_directly(path, access);
    else
        open_beside(path);
}

void PartFile::open_beside(const std::string& path)
{
    const auto place = followed(path);
    if (!place)
        fail(errno);
    place_ = place->string();
    part_ = place_ + ".XXXXXX.part";
    fd_ = create_unfinished(part_);
    if (fd_ < 0)
        fail(errno);
    fchmod(fd_, mode_for(place_));
}

void PartFile::open_directly(const std::string& path, Access access)
{
    fd_ = path == "-" ? fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0) : open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    if (fd_ < 0)
        fail(errno);
    if (access == Access::stream || lseek(fd_, 0, SEEK_CUR) >= 0)
        return;
    std::FILE* temporary = std::tmpfile();
    target_ = std::exchange(fd_, temporary ? fcntl(fileno(temporary), F_DUPFD_CLOEXEC, 0) : -1);
    const int error = errno;
    if (temporary)
        std::fclose(temporary);
    if (fd_ < 0)
        fail(error);
}

PartFile::~PartFile()
{
    for (const int fd : {fd_, target_})
        if (fd >= 0)
            close(fd);
    if (part_.empty())
        return;
    unlink(part_.c_str());
    forget_unfinished(part_);
}

// ---- writing ----

void PartFile::keep(bool done) noexcept
{
    if (!done && error_ == 0)
        error_ = errno;
}

void PartFile::put(const char* bytes, std::size_t size) noexcept
{
    while (size > 0 && error_ == 0) {
        const ssize_t n = ::write(fd_, bytes, size);
        if (n < 0 && errno == EINTR)
            continue;
        keep(n >= 0);
        bytes += std::max<ssize_t>(n, 0);
        size -= static_cast<std::size_t>(std::max<ssize_t>(n, 0));
    }
}

bool PartFile::flush() noexcept
{
    put(buffer_.data(), buffer_.size());
    buffer_.clear();
    return error_ == 0;
}

bool PartFile::write(const void* bytes, std::size_t size) noexcept
{
    if (buffer_.size() + size > kBuffer)
        flush();
    if (size >= kBuffer)
        put(static_cast<const char*>(bytes), size);
    else
        buffer_.append(static_cast<const char*>(bytes), size);
    position_ += static_cast<std::int64_t>(size);
    size_ = std::max(size_, position_);
    return error_ == 0;
}

std::int64_t PartFile::seek(std::int64_t offset, int whence) noexcept
{
    const std::int64_t from = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? position_ : size_;
    if (flush())
        keep(lseek(fd_, from + offset, SEEK_SET) >= 0);
    return error_ == 0 ? position_ = from + offset : -1;
}

void PartFile::check() const
{
    if (error_ != 0)
        fail(error_);
}

// The temporary file, as it is now, to where it was meant to go.
void PartFile::deliver() noexcept
{
    keep(lseek(fd_, 0, SEEK_SET) == 0);
    const int from = std::exchange(fd_, std::exchange(target_, -1));
    while (error_ == 0) {
        buffer_.resize(kBuffer);
        const ssize_t n = ::read(from, buffer_.data(), kBuffer);
        keep(n >= 0);
        buffer_.resize(static_cast<std::size_t>(std::max<ssize_t>(n, 0)));
        if (n <= 0)
            break;
        flush();
    }
    close(from);
}

void PartFile::commit()
{
    flush();
    if (target_ >= 0)
        deliver();
    if (!part_.empty() && error_ == 0)
        keep(fsync(fd_) == 0);
    keep(close(std::exchange(fd_, -1)) == 0);
    check();
    if (part_.empty())
        return;
    if (std::rename(part_.c_str(), place_.c_str()) != 0)
        fail(errno);
    forget_unfinished(part_);
    part_.clear();
}

void PartFile::fail(int error) const
{
    throw std::runtime_error(name_ + ": cannot be written: " + std::strerror(error));
}

// ---- asking ----

std::string PartFile::refusal(const std::string& path, const std::vector<Kept>& kept)
{
    if (path.empty() || path == "-")
        return "";
    const auto status = status_of(path);
    if (status && S_ISDIR(status->st_mode))
        return path + ": is a directory";
    if (status && euidaccess(path.c_str(), W_OK) != 0)
        return path + ": cannot be written: " + std::strerror(errno);
    const auto place = followed(path);
    if (!place)
        return path + ": cannot be written: " + std::strerror(errno);
    const fs::path folder = place->has_parent_path() ? place->parent_path() : ".";
    if (!writes_directly(path) && euidaccess(folder.c_str(), W_OK | X_OK) != 0)
        return path + ": its folder cannot be written: " + std::strerror(errno);
    for (const Kept& one : kept)
        if (!one.path.empty() && same_file(path, one.path))
            return path + ": would overwrite " + one.what;
    return "";
}

void write_file(const std::string& path, std::string_view content)
{
    PartFile file(path);
    file.write(content);
    file.commit();
}

}  // namespace vantoro
