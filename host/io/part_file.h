// SPDX-License-Identifier: Apache-2.0
// A file that appears whole or not at all: written under another name beside its place, then renamed. What stood there
// before stays as it was until then.
#pragma once

#include <string>

namespace vantoro {

class PartFile {
public:
    explicit PartFile(const std::string& path);  // creates it, empty. Links are followed
    ~PartFile();                                 // without commit() it is removed
    PartFile(const PartFile&) = delete;
    PartFile& operator=(const PartFile&) = delete;

    const std::string& path() const { return path_; }
    const std::string& part() const { return part_; }  // the name to write to
    void commit();                                     // after the last byte was written and the file closed

    // Why `path` cannot be replaced at all, or empty.
    static std::string refusal(const std::string& path);

private:
    std::string path_, part_;
};

}  // namespace vantoro
