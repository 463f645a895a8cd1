// SPDX-License-Identifier: Apache-2.0
// A preset as the runtime reads it: bytes in, views out. Nothing here trusts a number before it is checked.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "vantoro_graph.h"

namespace vgraph {

inline constexpr std::uint32_t kMinRate = 1000, kMaxRate = 768000;  // Hz
inline constexpr std::uint32_t kMaxBlockSize = 65536;
inline constexpr std::uint32_t kMaxChannels = 1024;  // of one side of a node or of the graph
inline constexpr std::uint32_t kMaxNodes = 100000;
inline constexpr std::uint32_t kMaxPins = 1000000;  // of all nodes
inline constexpr std::uint64_t kMaxBufferBytes = std::uint64_t{2} << 30U;

struct Node {
    int type;
    bool quiet;
    int inputs, outputs;
    std::uint32_t vector, length;  // in floats
    std::uint32_t name;            // in the text
};

// The parts of a preset whose sizes agree with its bytes.
class Preset {
public:
    Preset(const void* bytes) : bytes_(static_cast<const unsigned char*>(bytes)) {}

    std::uint32_t word(std::uint64_t at) const
    {
        std::uint32_t value;
        std::memcpy(&value, bytes_ + 4 * at, sizeof value);
        return value;
    }
    Node node(std::uint32_t at) const
    {
        const std::uint64_t w = VANTORO_PRESET_HEADER + std::uint64_t{VANTORO_PRESET_NODE} * at;
        const std::uint32_t type = word(w + VANTORO_PRESET_NODE_TYPE);
        return {static_cast<int>(type & ~std::uint32_t{VANTORO_PRESET_QUIET}),
                (type & VANTORO_PRESET_QUIET) != 0,
                static_cast<int>(word(w + VANTORO_PRESET_NODE_INPUTS)),
                static_cast<int>(word(w + VANTORO_PRESET_NODE_OUTPUTS)),
                word(w + VANTORO_PRESET_NODE_VECTOR),
                word(w + VANTORO_PRESET_NODE_LENGTH),
                word(w + VANTORO_PRESET_NODE_NAME)};
    }
    std::uint32_t link(std::uint64_t at) const { return word(links_at() + at); }
    void copy_floats(std::uint32_t from, std::uint32_t count, float* to) const
    {
        if (count > 0)
            std::memcpy(to, bytes_ + 4 * (floats_at() + from), std::size_t{4} * count);
    }
    const char* text() const
    {
        return reinterpret_cast<const char*>(bytes_) + 4 * (floats_at() + word(VANTORO_PRESET_WORD_FLOATS));
    }

    const unsigned char* bytes() const { return bytes_; }
    std::uint64_t links_at() const
    {
        return VANTORO_PRESET_HEADER + std::uint64_t{VANTORO_PRESET_NODE} * word(VANTORO_PRESET_WORD_NODES);
    }
    std::uint64_t floats_at() const { return links_at() + word(VANTORO_PRESET_WORD_LINKS); }
    // Of the whole, as the header says.
    std::uint64_t words() const
    {
        return floats_at() + word(VANTORO_PRESET_WORD_FLOATS) + std::uint64_t{word(VANTORO_PRESET_WORD_TEXT)};
    }

private:
    const unsigned char* bytes_;
};

// Where a reason is written to, cut to its size.
struct Reason {
    char* text;
    std::size_t size;

    // Always RT_ERR_VALUE.
    [[gnu::format(printf, 2, 3)]] int refuse(const char* format, ...) const;
};

// RT_OK for a preset that can be run.
int check(const void* bytes, std::size_t count, const Reason& reason);

}  // namespace vgraph
