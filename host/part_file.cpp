// SPDX-License-Identifier: Apache-2.0
#include "part_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>

namespace vantoro {

namespace fs = std::filesystem;

PartFile::PartFile(const std::string& path) : path_(path)
{
    std::error_code none;
    if (fs::is_symlink(path, none))
        path_ = fs::weakly_canonical(path, none).string();
    part_ = path_ + '.' + std::to_string(getpid()) + ".part";
    const int fd = open(part_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0)
        throw std::runtime_error(path_ + ": cannot be written: " + std::strerror(errno));
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
