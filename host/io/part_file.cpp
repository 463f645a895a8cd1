// SPDX-License-Identifier: Apache-2.0
#include "io/part_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

namespace vantoro {

namespace fs = std::filesystem;

namespace {

// What the file had, or what a new one gets.
mode_t mode_for(const std::string& path)
{
    struct stat old {};
    if (stat(path.c_str(), &old) == 0)
        return old.st_mode & 0777U;
    const mode_t mask = umask(0);
    umask(mask);
    return 0666U & ~mask;
}

}  // namespace

PartFile::PartFile(const std::string& path) : path_(path)
{
    std::error_code none;
    if (fs::is_symlink(path, none))
        path_ = fs::weakly_canonical(path, none).string();
    part_ = path_ + ".XXXXXX.part";
    const int fd = mkostemps(part_.data(), 5, O_CLOEXEC);
    if (fd < 0)
        throw std::runtime_error(path_ + ": cannot be written: " + std::strerror(errno));
    fchmod(fd, mode_for(path_));
    close(fd);
}

PartFile::~PartFile()
{
    if (!part_.empty())
        unlink(part_.c_str());
}

void PartFile::commit()
{
    if (std::rename(part_.c_str(), path_.c_str()) != 0)
        throw std::runtime_error(path_ + ": cannot be written: " + std::strerror(errno));
    part_.clear();
}

std::string PartFile::refusal(const std::string& path)
{
    std::error_code none;
    const auto status = fs::status(path, none);
    return fs::exists(status) && !fs::is_regular_file(status) ? path + ": is not a regular file" : "";
}

}  // namespace vantoro
