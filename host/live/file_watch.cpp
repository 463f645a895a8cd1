// SPDX-License-Identifier: Apache-2.0
#include "live/file_watch.h"

#include <utility>

namespace vantoro {

FileWatch::FileWatch(std::string path) : path_(std::move(path)), known_(look()), seen_(known_) {}

FileWatch::Version FileWatch::look() const
{
    struct stat found {};
    if (stat(path_.c_str(), &found) != 0)
        return {};  // between two names
    return {found.st_dev, found.st_ino, found.st_size, found.st_mtim};
}

bool FileWatch::saved()
{
    const Version now = look();
    const bool settled = now == std::exchange(seen_, now);
    if (!settled || now == known_ || now == Version{})
        return false;
    known_ = now;
    return true;
}

}  // namespace vantoro
