// SPDX-License-Identifier: Apache-2.0
#include "preset.h"

#include <cstdarg>
#include <cstdio>
#include <vantoro/common/block_info.h>

#include "../lib/framework/owned.h"
#include "arithmetic.h"

namespace vgraph {

namespace {

// CRC-32 of IEEE 802.3, reflected, bit by bit: a preset is checked once.
std::uint32_t crc32(const unsigned char* bytes, std::size_t count)
{
    constexpr std::uint32_t kPolynomial = 0xEDB88320U;
    std::uint32_t crc = ~0U;
    for (std::size_t i = 0; i < count; ++i) {
        crc ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1U) ^ ((crc & 1U) != 0 ? kPolynomial : 0U);
    }
    return ~crc;
}

bool within(std::uint32_t value, std::uint32_t min, std::uint32_t max) { return value >= min && value <= max; }

int check_header(const Preset& preset, std::size_t bytes, const Reason& reason)
{
    const auto word = [&](VantoroPresetWord at) { return preset.word(at); };
    if (word(VANTORO_PRESET_WORD_MAGIC) != VANTORO_PRESET_MAGIC)
        return reason.refuse("no preset: it begins with 0x%08x", word(VANTORO_PRESET_WORD_MAGIC));
    if (word(VANTORO_PRESET_WORD_VERSION) != VANTORO_PRESET_VERSION)
        return reason.refuse("version %u; this library reads version %u", word(VANTORO_PRESET_WORD_VERSION),
                             VANTORO_PRESET_VERSION);
    if (word(VANTORO_PRESET_WORD_BYTES) != bytes)
        return reason.refuse("%zu bytes; it should have %u", bytes, word(VANTORO_PRESET_WORD_BYTES));
    if (word(VANTORO_PRESET_WORD_CRC) != Vantoro_preset_crc(preset.bytes(), bytes))
        return reason.refuse("the checksum does not match: the preset is damaged");
    if (const std::uint32_t rate = word(VANTORO_PRESET_WORD_RATE); rate != 0 && !within(rate, kMinRate, kMaxRate))
        return reason.refuse("rate %u; %u to %u Hz, or 0", rate, kMinRate, kMaxRate);
    if (!within(word(VANTORO_PRESET_WORD_BLOCK_SIZE), 1, kMaxBlockSize))
        return reason.refuse("block size %u; 1 to %u", word(VANTORO_PRESET_WORD_BLOCK_SIZE), kMaxBlockSize);
    for (const auto side : {VANTORO_PRESET_WORD_INPUTS, VANTORO_PRESET_WORD_OUTPUTS})
        if (word(side) > kMaxChannels)
            return reason.refuse("%u channels; at most %u", word(side), kMaxChannels);
    if (word(VANTORO_PRESET_WORD_NODES) > kMaxNodes)
        return reason.refuse("%u nodes; at most %u", word(VANTORO_PRESET_WORD_NODES), kMaxNodes);
    if (4 * preset.words() != bytes)
        return reason.refuse("its parts have %llu bytes, the whole has %zu", 4ULL * preset.words(), bytes);
    return RT_OK;
}

// A name is a line of text that ends within the preset.
bool good_name(const Preset& preset, std::uint32_t at)
{
    const std::uint64_t size = std::uint64_t{4} * preset.word(VANTORO_PRESET_WORD_TEXT);
    for (std::uint64_t i = at; i < size; ++i) {
        const auto c = static_cast<unsigned char>(preset.text()[i]);
        if (c == 0)
            return i > at;
        if (c < ' ' || c == 0x7f)
            return false;
    }
    return false;
}

int check_block_size(const VantoroBlockInfo& info, std::uint32_t size, const char* name, const Reason& reason)
{
    if (size % static_cast<std::uint32_t>(info.block_multiple) != 0)
        return reason.refuse("%s: %s needs a block size that is a multiple of %d", name, info.name,
                             info.block_multiple);
    if (size > static_cast<std::uint32_t>(info.max_block))
        return reason.refuse("%s: %s takes blocks of at most %d samples", name, info.name, info.max_block);
    return RT_OK;
}

// Its vector, copied to where floats are aligned.
int check_vector(const Preset& preset, const Node& node, const char* name, const Reason& reason)
{
    owned::Array<float> vector;
    if (!owned::zeros(vector, node.length))
        return reason.refuse("memory is short");
    preset.copy_floats(node.vector, node.length, vector.get());
    char why[160];
    if (Vantoro_param_check(node.type, node.inputs, node.outputs, vector.get(), static_cast<int>(node.length), why,
                            sizeof why) != RT_OK)
        return reason.refuse("%s: %s", name, why);
    return RT_OK;
}

int check_node(const Preset& preset, std::uint32_t at, const Reason& reason)
{
    const Node node = preset.node(at);
    if (!good_name(preset, node.name))
        return reason.refuse("node %u has no name", at);
    const char* name = preset.text() + node.name;
    const VantoroBlockInfo* info = Vantoro_block_info(node.type);
    if (!info || (node.type & 0xff00) == EN_IN || (node.type & 0xff00) == EN_OUT)
        return reason.refuse("%s: %d is no block type of this library", name, node.type);
    if (node.quiet && Vantoro_graph_quiet(node.type) == 0)
        return reason.refuse("%s: %s has no quiet arithmetic%s", name, info->name,
                             quiet_arithmetic() ? "" : " in this build");
    for (const int pins : {node.inputs, node.outputs})
        if (pins < 0 || pins > static_cast<int>(kMaxChannels))
            return reason.refuse("%s: %d pins; at most %u", name, pins, kMaxChannels);
    if (!Vantoro_pins_fit(info->pins, node.inputs, node.outputs))
        return reason.refuse("%s: %d -> %d pins; %s takes %s", name, node.inputs, node.outputs, info->name,
                             info->pins->text);
    if (std::uint64_t{node.vector} + node.length > preset.word(VANTORO_PRESET_WORD_FLOATS))
        return reason.refuse("%s: its parameters lie outside of the preset", name);
    if (check_block_size(*info, preset.word(VANTORO_PRESET_WORD_BLOCK_SIZE), name, reason) != RT_OK)
        return RT_ERR_VALUE;
    return check_vector(preset, node, name, reason);
}

// Bounds what a few bytes can make a device allocate.
int check_size(std::uint64_t pins, std::uint64_t buffers, std::uint32_t block_size, const Reason& reason)
{
    const std::uint64_t bytes = buffers * block_size * sizeof(float);
    if (pins <= kMaxPins && bytes <= kMaxBufferBytes)
        return RT_OK;
    return reason.refuse("%llu pins and %llu MiB of buffers; at most %u and %llu",
                         static_cast<unsigned long long>(pins), static_cast<unsigned long long>(bytes >> 20U), kMaxPins,
                         static_cast<unsigned long long>(kMaxBufferBytes >> 20U));
}

}  // namespace

int Reason::refuse(const char* format, ...) const
{
    if (text && size > 0) {
        std::va_list args;
        va_start(args, format);
        std::vsnprintf(text, size, format, args);
        va_end(args);
    }
    return RT_ERR_VALUE;
}

int check(const void* bytes, std::size_t count, const Reason& reason)
{
    if (!bytes || count < std::size_t{4} * VANTORO_PRESET_HEADER)
        return reason.refuse("%zu bytes are no preset", bytes ? count : 0);
    const Preset preset(bytes);
    if (check_header(preset, count, reason) != RT_OK)
        return RT_ERR_VALUE;
    const std::uint32_t links = preset.word(VANTORO_PRESET_WORD_LINKS);
    std::uint64_t heard = 0, pins = 0, buffers = std::uint64_t{1} + preset.word(VANTORO_PRESET_WORD_INPUTS);
    // A node hears what stands before it: so nothing runs in a circle.
    const auto check_links = [&](const char* name, std::uint64_t count_of) {
        for (std::uint64_t i = 0; i < count_of; ++i, ++heard)
            if (heard >= links || preset.link(heard) >= buffers)
                return reason.refuse("%s: input %llu hears a pin that is not there", name,
                                     static_cast<unsigned long long>(i));
        return static_cast<int>(RT_OK);
    };
    for (std::uint32_t n = 0; n < preset.word(VANTORO_PRESET_WORD_NODES); ++n) {
        if (check_node(preset, n, reason) != RT_OK)
            return RT_ERR_VALUE;
        const Node node = preset.node(n);
        const auto outputs = static_cast<std::uint64_t>(node.outputs);
        pins += static_cast<std::uint64_t>(node.inputs) + outputs;
        if (check_links(preset.text() + node.name, static_cast<std::uint64_t>(node.inputs)) != RT_OK ||
            check_size(pins, buffers += outputs, preset.word(VANTORO_PRESET_WORD_BLOCK_SIZE), reason) != RT_OK)
            return RT_ERR_VALUE;
    }
    if (check_links("output", preset.word(VANTORO_PRESET_WORD_OUTPUTS)) != RT_OK)
        return RT_ERR_VALUE;
    return heard == links
               ? static_cast<int>(RT_OK)
               : reason.refuse("%u links; the nodes have %llu", links, static_cast<unsigned long long>(heard));
}

}  // namespace vgraph

unsigned Vantoro_preset_crc(const void* preset, size_t bytes)
{
    constexpr std::size_t kCovered = std::size_t{4} * VANTORO_PRESET_WORD_RATE;
    return bytes < kCovered ? 0 : vgraph::crc32(static_cast<const unsigned char*>(preset) + kCovered, bytes - kCovered);
}

int Vantoro_graph_quiet(int type) { return vgraph::quiet_arithmetic() ? vgraph::quiet_arithmetic()->takes(type) : 0; }

int Vantoro_graph_check(const void* preset, size_t bytes, char* why, size_t n)
{
    return vgraph::check(preset, bytes, {why, n});
}
