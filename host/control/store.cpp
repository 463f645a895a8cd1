// SPDX-License-Identifier: Apache-2.0
#include "control/store.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "io/part_file.h"
#include "schematic/reader.h"

namespace vantoro {

namespace fs = std::filesystem;

bool good_preset_name(std::string_view name)
{
    constexpr std::size_t kLongest = 64;
    const auto good = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
    };
    return !name.empty() && name.size() <= kLongest && std::ranges::all_of(name, good);
}

namespace {

constexpr std::uint64_t kPrime = 0x100000001b3U;

// 0: there is no such file.
std::uint64_t stamp_of(const std::string& path)
{
    struct stat status {};
    if (stat(path.c_str(), &status) != 0)
        return 0;
    std::uint64_t stamp = 0;
    for (const std::int64_t part :
         {static_cast<std::int64_t>(status.st_ino), static_cast<std::int64_t>(status.st_size),
          static_cast<std::int64_t>(status.st_mtim.tv_sec), static_cast<std::int64_t>(status.st_mtim.tv_nsec)})
        stamp = stamp * kPrime + std::hash<std::int64_t>()(part) + 1;
    return stamp;
}

}  // namespace

FileSource Store::read_beside(const std::string& file) { throw UserError(file + ": there are no files here"); }

Folder::Folder(std::string path) : path_(std::move(path)) {}

std::uint64_t Folder::stamp()
{
    std::uint64_t stamp = stamp_of(path_);
    for (const std::string& file : others_)
        stamp = stamp * kPrime + stamp_of(file);
    return stamp;
}

std::string Folder::read() { return read_file(path_); }

FileSource Folder::read_beside(const std::string& file)
{
    others_.insert(beside(path_, file));
    return vantoro::read_beside(path_, file);
}

void Folder::write(std::string_view text) { write_file(path_, text); }

std::vector<std::string> Folder::presets()
{
    const fs::path path = path_;
    const std::string stem = path.stem().string() + '.', extension = path.extension().string();
    std::vector<std::string> names;
    std::error_code error;
    for (fs::directory_iterator it(path.has_parent_path() ? path.parent_path() : ".", error), end; !error && it != end;
         it.increment(error)) {
        const std::string file = it->path().filename().string();
        if (!file.starts_with(stem) || !file.ends_with(extension) || file.size() <= stem.size() + extension.size())
            continue;
        const std::string name = file.substr(stem.size(), file.size() - stem.size() - extension.size());
        std::error_code none;
        if (good_preset_name(name) && it->is_regular_file(none))
            names.push_back(name);
    }
    std::ranges::sort(names);
    return names;
}

std::string Folder::read_preset(const std::string& preset) { return read_file(file_of(preset)); }

void Folder::write_preset(const std::string& preset, std::string_view text) { write_file(file_of(preset), text); }

void Folder::remove_preset(const std::string& preset)
{
    std::error_code error;
    if (!fs::remove(file_of(preset), error))
        throw std::runtime_error(file_of(preset) + ": cannot be removed: " + error.message());
}

std::string Folder::file_of(const std::string& preset) const
{
    const fs::path path = path_;
    return (path.parent_path() / (path.stem().string() + '.' + preset + path.extension().string())).string();
}

}  // namespace vantoro
