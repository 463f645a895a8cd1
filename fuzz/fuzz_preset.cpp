// SPDX-License-Identifier: Apache-2.0
// Any bytes as a preset: checked, and what passes is made, run, given other parameters and destroyed. The checksum and
// the size are put right first, or nothing would get past them.
#include <cstring>
#include <vector>

#include "vantoro_graph.h"

namespace {

// A graph of gigabytes is legal, but not for a fuzzer.
bool affordable(const std::vector<unsigned>& words)
{
    constexpr unsigned kMostSamples = 1U << 20U;
    unsigned long long pins = words[VANTORO_PRESET_WORD_INPUTS] + 2ULL * words[VANTORO_PRESET_WORD_LINKS];
    for (unsigned n = 0; n < words[VANTORO_PRESET_WORD_NODES]; ++n)
        pins += words[VANTORO_PRESET_HEADER + VANTORO_PRESET_NODE * n + VANTORO_PRESET_NODE_OUTPUTS];
    return pins * words[VANTORO_PRESET_WORD_BLOCK_SIZE] <= kMostSamples;
}

void play(VantoroGraph* graph)
{
    constexpr int kBlocks = 3, kMostFloats = 4096;
    for (int ch = 0; ch < Vantoro_graph_inputs(graph); ++ch)
        Vantoro_graph_input(graph, ch)[0] = 1;
    for (int block = 0; block < kBlocks; ++block) {
        Vantoro_graph_process(graph);
        for (int node = 0; node < Vantoro_graph_nodes(graph); ++node) {
            float vector[kMostFloats];
            const int length = Vantoro_graph_vector(graph, node, vector, kMostFloats);
            if (length > 0 && length <= kMostFloats)
                Vantoro_graph_post(graph, node, vector, length);
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    constexpr int kRate = 48000;
    std::vector<unsigned> words(size / sizeof(unsigned));
    if (words.size() < VANTORO_PRESET_HEADER)
        return 0;
    std::memcpy(words.data(), data, words.size() * sizeof(unsigned));
    const std::size_t bytes = words.size() * sizeof(unsigned);
    words[VANTORO_PRESET_WORD_MAGIC] = VANTORO_PRESET_MAGIC;
    words[VANTORO_PRESET_WORD_VERSION] = VANTORO_PRESET_VERSION;
    words[VANTORO_PRESET_WORD_BYTES] = static_cast<unsigned>(bytes);
    words[VANTORO_PRESET_WORD_CRC] = Vantoro_preset_crc(words.data(), bytes);
    char why[64];
    if (Vantoro_graph_check(words.data(), bytes, why, sizeof why) != 0 || !affordable(words))
        return 0;
    if (VantoroGraph* graph = Vantoro_graph_create(words.data(), bytes, words[VANTORO_PRESET_WORD_RATE] ? 0 : kRate)) {
        play(graph);
        Vantoro_graph_destroy(graph);
    }
    return 0;
}
