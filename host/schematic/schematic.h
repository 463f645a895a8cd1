// SPDX-License-Identifier: Apache-2.0
// A schematic: which blocks, how they are wired, what changes when. Read from JSON (docs/schematic.md), checked whole:
// every problem is found in one reading, and what comes out runs as it stands.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "catalog/catalog.h"

namespace vantoro {

inline constexpr int kMaxBlockSize = 65536;
inline constexpr int kMinRate = 1000;
inline constexpr int kMaxRate = 768000;
inline constexpr int kMaxPins = 1024;  // of one side of a block or terminal
inline constexpr int kMaxBlocks = 100000;

// What an input pin hears.
struct Source {
    static constexpr int kSilence = -2;
    static constexpr int kTerminal = -1;  // the schematic's input; `pin` is the channel
    int block = kSilence;                 // an index, or one of the above
    int pin = 0;
    int wire = -1;  // index in the document
};

struct Block {
    std::string id;
    std::string title;  // what pictures call it; empty: its id
    const BlockType* type;
    Pins pins;
    nlohmann::json params;        // by name, as written
    std::vector<float> vector;    // the same for the library
    std::vector<Source> sources;  // one an input pin
};

// A new vector for a block, before the first audio block that starts at or after `seconds`.
struct Change {
    double seconds;
    int block;
    std::vector<float> vector;
};

struct Schematic {
    std::string title;
    std::optional<int> rate;  // Hz; open: any
    int block_size = 64;
    int inputs = 0;               // channels of the terminal "input"
    bool hears_input = false;     // something is wired to it
    std::vector<Block> blocks;    // as written
    std::vector<Source> outputs;  // one a channel of the terminal "output"
    std::vector<int> order;       // block indices, every source before its listeners; as written where that leaves room
    std::vector<Change> changes;  // by time
};

// BLOCK.PARAM=VALUE[@SECONDS], as on the command line.
struct Setting {
    std::string text;
    double seconds = 0;  // 0: from the start
    std::string block, path, value;
};
// Throws UserError.
Setting parse_setting(std::string_view text);

// `channels`: what the terminal "input" carries; open: what the document says, or else what its wires ask for, or 2.
// Both throw UserError with everything that is wrong.
Schematic read_schematic(const std::string& path, std::optional<int> channels = {},
                         const std::vector<Setting>& settings = {});
Schematic parse_schematic(std::string_view text, std::optional<int> channels = {},
                          const std::vector<Setting>& settings = {});

}  // namespace vantoro
