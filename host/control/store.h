// SPDX-License-Identifier: Apache-2.0
// Where a schematic is kept, with its presets: files, or the memory of a test.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "schematic/reader.h"

namespace vantoro {

class Store {
public:
    virtual ~Store() = default;

    virtual std::string name() const = 0;  // for people
    // Another number when the text may be another, or that of a file beside it that was read.
    virtual std::uint64_t stamp() = 0;
    // Those that read throw UserError, those that write std::runtime_error.
    virtual std::string read() = 0;
    virtual FileSource read_beside(const std::string& file);  // that the schematic names; in memory there are none
    virtual void write(std::string_view text) = 0;

    virtual std::vector<std::string> presets() = 0;  // sorted
    virtual std::string read_preset(const std::string& preset) = 0;
    virtual void write_preset(const std::string& preset, std::string_view text) = 0;
    virtual void remove_preset(const std::string& preset) = 0;
};

// 1 to 64 of A-Z a-z 0-9 _ -
bool good_preset_name(std::string_view name);

// A file "room.json" and its presets beside it, "room.day.json". What is written appears whole or not at all.
class Folder : public Store {
public:
    explicit Folder(std::string path);

    std::string name() const override { return path_; }
    std::uint64_t stamp() override;
    std::string read() override;
    FileSource read_beside(const std::string& file) override;
    void write(std::string_view text) override;
    std::vector<std::string> presets() override;
    std::string read_preset(const std::string& preset) override;
    void write_preset(const std::string& preset, std::string_view text) override;
    void remove_preset(const std::string& preset) override;

private:
    std::string file_of(const std::string& preset) const;

    std::string path_;
    std::set<std::string> others_;  // paths of the files beside it that were read
};

}  // namespace vantoro
