// SPDX-License-Identifier: Apache-2.0
// A schematic: which blocks, how they are wired, what changes when. One that schematic/reader.h returns runs as it
// stands.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "catalog/catalog.h"

namespace vantoro {

inline constexpr int kMaxBlockSize = 65536;
inline constexpr int kMinRate = 1000;  // Hz
inline constexpr int kMaxRate = 768000;
inline constexpr int kDefaultRate = 48000;  // Hz, where nothing says another
inline constexpr int kMaxPins = 1024;       // of one side of a block or terminal
inline constexpr int kMaxBlocks = 100000;

// What an input pin hears.
struct Feed {
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
    PinCounts pins;
    std::vector<float> vector;  // its parameters
    std::vector<Feed> sources;  // one per input pin
    bool quiet = false;         // runs in the second arithmetic
};

// A new vector for a block, before the first audio block that starts at or after `seconds`.
struct Change {
    double seconds;
    int block;
    std::vector<float> vector;
    std::string place;  // where it is written: steps of a ramp have one
};

struct Schematic {
    std::string title;
    std::optional<int> rate;  // Hz; open: any
    int block_size = 64;
    int inputs = 0;               // channels of the terminal "input"
    bool hears_input = false;     // something is wired to it
    std::vector<Block> blocks;    // as written
    std::vector<Feed> outputs;    // one per channel of the terminal "output"
    std::vector<int> order;       // block indices, every source before its listeners; as written where that leaves room
    std::vector<Change> changes;  // by time
    std::vector<std::string> files;  // it was read from: its own, where it has one, then those of parts and tables
};

// What a pin hears, in words: "eq.1", "input.0", "silence".
inline std::string feed_text(const Schematic& schematic, const Feed& feed)
{
    if (feed.block == Feed::kSilence)
        return "silence";
    return (feed.block == Feed::kTerminal ? "input" : schematic.blocks[static_cast<std::size_t>(feed.block)].id) + '.' +
           std::to_string(feed.pin);
}

}  // namespace vantoro
