// SPDX-License-Identifier: Apache-2.0
#include "schematic/preset.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string>

#include "vantoro_graph.h"

namespace vantoro {

namespace {

using Words = std::vector<std::uint32_t>;

std::size_t index(int n) { return static_cast<std::size_t>(n); }

std::uint32_t word(std::size_t n) { return static_cast<std::uint32_t>(n); }

class Writer {
public:
    explicit Writer(const Schematic& schematic) : schematic_(schematic), first_output_(schematic.blocks.size())
    {
        std::uint32_t pin = 1 + word(index(schematic.inputs));
        for (const int b : schematic.order) {
            first_output_[index(b)] = pin;
            pin += word(index(schematic.blocks[index(b)].pins.outputs));
        }
        for (const int b : schematic.order)
            add(schematic.blocks[index(b)]);
        for (const Feed& feed : schematic.outputs)
            links_.push_back(pin_of(feed));
    }

    Words preset(int rate)
    {
        Words words(VANTORO_PRESET_HEADER);
        names_.resize((names_.size() + 3) / 4 * 4);
        Words names(names_.size() / 4);
        std::memcpy(names.data(), names_.data(), names_.size());
        for (const Words* part : {&nodes_, &links_, &floats_, &names})
            words.insert(words.end(), part->begin(), part->end());
        words[VANTORO_PRESET_WORD_MAGIC] = VANTORO_PRESET_MAGIC;
        words[VANTORO_PRESET_WORD_VERSION] = VANTORO_PRESET_VERSION;
        words[VANTORO_PRESET_WORD_BYTES] = word(words.size() * sizeof(std::uint32_t));
        words[VANTORO_PRESET_WORD_RATE] = word(index(rate));
        words[VANTORO_PRESET_WORD_BLOCK_SIZE] = word(index(schematic_.block_size));
        words[VANTORO_PRESET_WORD_INPUTS] = word(index(schematic_.inputs));
        words[VANTORO_PRESET_WORD_OUTPUTS] = word(schematic_.outputs.size());
        words[VANTORO_PRESET_WORD_NODES] = word(schematic_.order.size());
        words[VANTORO_PRESET_WORD_LINKS] = word(links_.size());
        words[VANTORO_PRESET_WORD_FLOATS] = word(floats_.size());
        words[VANTORO_PRESET_WORD_TEXT] = word(names.size());
        words[VANTORO_PRESET_WORD_CRC] = Vantoro_preset_crc(words.data(), words.size() * sizeof(std::uint32_t));
        return words;
    }

private:
    std::uint32_t pin_of(const Feed& feed) const
    {
        if (feed.block == Feed::kSilence)
            return 0;
        return word(index(feed.pin)) + (feed.block == Feed::kTerminal ? 1 : first_output_[index(feed.block)]);
    }

    void add(const Block& block)
    {
        nodes_.insert(nodes_.end(),
                      {word(index(block.type->type)), word(block.sources.size()), word(index(block.pins.outputs)),
                       word(floats_.size()), word(block.vector.size()), word(names_.size())});
        std::ranges::transform(block.sources, std::back_inserter(links_), [&](const Feed& f) { return pin_of(f); });
        std::ranges::transform(block.vector, std::back_inserter(floats_),
                               [](float v) { return std::bit_cast<std::uint32_t>(v); });
        names_ += block.id + '\0';
    }

    const Schematic& schematic_;
    std::vector<std::uint32_t> first_output_;  // the number of its pin, of each block
    Words nodes_, links_, floats_;
    std::string names_;
};

}  // namespace

std::vector<std::uint32_t> preset_of(const Schematic& schematic, int rate) { return Writer(schematic).preset(rate); }

}  // namespace vantoro
