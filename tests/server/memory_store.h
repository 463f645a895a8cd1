// SPDX-License-Identifier: Apache-2.0
// A schematic and its presets in memory.
#pragma once

#include <map>
#include <string>
#include <utility>

#include "control/store.h"
#include "support/problem.h"

struct MemoryStore : vantoro::Store {
    explicit MemoryStore(std::string content) : text(std::move(content)) {}

    std::string name() const override { return "room.json"; }
    std::uint64_t stamp() override { return std::hash<std::string>()(text); }
    std::string read() override { return text; }
    void write(std::string_view content) override
    {
        text = content;
        ++writes;
    }
    std::vector<std::string> presets() override
    {
        std::vector<std::string> names;
        for (const auto& [name, content] : files)
            names.push_back(name);
        return names;
    }
    std::string read_preset(const std::string& preset) override
    {
        if (!files.contains(preset))
            throw vantoro::UserError(preset + ": no such preset");
        return files[preset];
    }
    void write_preset(const std::string& preset, std::string_view content) override { files[preset] = content; }
    void remove_preset(const std::string& preset) override { files.erase(preset); }

    std::string text;
    std::map<std::string, std::string> files;
    int writes = 0;
};
