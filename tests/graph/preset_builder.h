// SPDX-License-Identifier: Apache-2.0
// Presets for tests, written word by word as the header of the runtime documents them.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "vantoro.h"
#include "vantoro_graph.h"

namespace graph_test {

struct NodeRow {
    std::string name;
    int type;
    std::uint32_t outputs;
    std::vector<std::uint32_t> links;  // one an input pin
    std::vector<float> vector;
};

struct PresetRows {
    std::uint32_t rate = 48000, block = 64, inputs = 1;
    std::vector<NodeRow> nodes;
    std::vector<std::uint32_t> outputs;
};

using Words = std::vector<std::uint32_t>;

inline void seal(Words& words)
{
    words[VANTORO_PRESET_WORD_BYTES] = static_cast<std::uint32_t>(4 * words.size());
    words[VANTORO_PRESET_WORD_CRC] = Vantoro_preset_crc(words.data(), 4 * words.size());
}

inline Words preset_of(const PresetRows& rows)
{
    Words words(VANTORO_PRESET_HEADER), links, floats;
    std::string text;
    for (const NodeRow& node : rows.nodes) {
        words.insert(words.end(),
                     {static_cast<std::uint32_t>(node.type), static_cast<std::uint32_t>(node.links.size()),
                      node.outputs, static_cast<std::uint32_t>(floats.size()),
                      static_cast<std::uint32_t>(node.vector.size()), static_cast<std::uint32_t>(text.size())});
        links.insert(links.end(), node.links.begin(), node.links.end());
        for (const float v : node.vector)
            floats.push_back(std::bit_cast<std::uint32_t>(v));
        text += node.name + '\0';
    }
    links.insert(links.end(), rows.outputs.begin(), rows.outputs.end());
    text.resize((text.size() + 3) / 4 * 4);
    Words names(text.size() / 4);
    std::memcpy(names.data(), text.data(), text.size());
    const std::uint32_t header[] = {VANTORO_PRESET_MAGIC,
                                    VANTORO_PRESET_VERSION,
                                    0,
                                    0,
                                    rows.rate,
                                    rows.block,
                                    rows.inputs,
                                    static_cast<std::uint32_t>(rows.outputs.size()),
                                    static_cast<std::uint32_t>(rows.nodes.size()),
                                    static_cast<std::uint32_t>(links.size()),
                                    static_cast<std::uint32_t>(floats.size()),
                                    static_cast<std::uint32_t>(names.size())};
    std::copy(std::begin(header), std::end(header), words.begin());
    for (const Words* part : {&links, &floats, &names})
        words.insert(words.end(), part->begin(), part->end());
    seal(words);
    return words;
}

}  // namespace graph_test
