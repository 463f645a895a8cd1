// SPDX-License-Identifier: Apache-2.0
// Notices that a file was saved, however its editor does that.
#pragma once

#include <sys/stat.h>

#include <string>

namespace vantoro {

class FileWatch {
public:
    explicit FileWatch(std::string path);

    // True once for each version of the file that two calls in a row have found alike: so one that is still being
    // written is left alone. To be called a few times a second.
    bool saved();

private:
    struct Version {
        dev_t device;
        ino_t number;
        off_t size;
        timespec changed;
        bool operator==(const Version& o) const
        {
            return device == o.device && number == o.number && size == o.size && changed.tv_sec == o.changed.tv_sec &&
                   changed.tv_nsec == o.changed.tv_nsec;
        }
    };
    Version look() const;

    std::string path_;
    Version known_, seen_;
};

}  // namespace vantoro
