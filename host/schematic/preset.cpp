// SPDX-License-Identifier: Apache-2.0
#include "schematic/preset.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <string>
#include <utility>

#include "support/printable.h"
#include "support/problem.h"
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
        if (!names.empty())
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
        nodes_.insert(nodes_.end(), {word(index(block.type->type)) | (block.quiet ? word(VANTORO_PRESET_QUIET) : 0),
                                     word(block.sources.size()), word(index(block.pins.outputs)), word(floats_.size()),
                                     word(block.vector.size()), word(names_.size())});
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

// A preset that the runtime takes.
class Reader {
public:
    explicit Reader(std::string_view bytes) : words_(bytes.size() / sizeof(std::uint32_t))
    {
        std::memcpy(words_.data(), bytes.data(), words_.size() * sizeof(std::uint32_t));
        link_ = VANTORO_PRESET_HEADER + words_[VANTORO_PRESET_WORD_NODES] * VANTORO_PRESET_NODE;
        floats_ = link_ + words_[VANTORO_PRESET_WORD_LINKS];
        names_ = bytes.substr(sizeof(std::uint32_t) * (floats_ + words_[VANTORO_PRESET_WORD_FLOATS]));
    }

    Schematic schematic()
    {
        if (words_[VANTORO_PRESET_WORD_RATE] != 0)
            out_.rate = number(VANTORO_PRESET_WORD_RATE);
        out_.block_size = number(VANTORO_PRESET_WORD_BLOCK_SIZE);
        out_.inputs = number(VANTORO_PRESET_WORD_INPUTS);
        feeds_.push_back({});
        for (int ch = 0; ch < out_.inputs; ++ch)
            feeds_.push_back({Feed::kTerminal, ch});
        for (int n = 0; n < number(VANTORO_PRESET_WORD_NODES); ++n)
            add(n);
        out_.outputs = heard_by(number(VANTORO_PRESET_WORD_OUTPUTS));
        return std::move(out_);
    }

private:
    int number(std::size_t at) const { return static_cast<int>(words_[at]); }

    std::vector<Feed> heard_by(int pins)
    {
        std::vector<Feed> feeds;
        for (int pin = 0; pin < pins; ++pin) {
            feeds.push_back(feeds_[words_[link_++]]);
            out_.hears_input = out_.hears_input || feeds.back().block == Feed::kTerminal;
        }
        return feeds;
    }

    void add(int n)
    {
        const std::size_t at = VANTORO_PRESET_HEADER + index(n) * VANTORO_PRESET_NODE;
        const std::size_t length = words_[at + VANTORO_PRESET_NODE_LENGTH];
        Block& block = out_.blocks.emplace_back();
        block.id = printable(names_.substr(words_[at + VANTORO_PRESET_NODE_NAME]).data());
        block.type = find_type(number(at + VANTORO_PRESET_NODE_TYPE) & ~VANTORO_PRESET_QUIET);
        block.quiet = (number(at + VANTORO_PRESET_NODE_TYPE) & VANTORO_PRESET_QUIET) != 0;
        block.pins = {number(at + VANTORO_PRESET_NODE_INPUTS), number(at + VANTORO_PRESET_NODE_OUTPUTS)};
        block.vector.resize(length);
        if (length > 0)
            std::memcpy(block.vector.data(), &words_[floats_ + words_[at + VANTORO_PRESET_NODE_VECTOR]],
                        length * sizeof(float));
        block.sources = heard_by(block.pins.inputs);
        for (int pin = 0; pin < block.pins.outputs; ++pin)
            feeds_.push_back({n, pin});
        out_.order.push_back(n);
    }

    Words words_;
    std::size_t link_, floats_;  // the next link; the first float
    std::string_view names_;
    std::vector<Feed> feeds_;  // by the numbers of links
    Schematic out_;
};

}  // namespace

std::vector<std::uint32_t> preset_of(const Schematic& schematic, int rate) { return Writer(schematic).preset(rate); }

std::string bytes_of(const std::vector<std::uint32_t>& preset)
{
    std::string bytes(preset.size() * sizeof preset[0], '\0');
    std::memcpy(bytes.data(), preset.data(), bytes.size());
    return bytes;
}

Schematic schematic_of(std::string_view preset)
{
    std::array<char, 256> why{};
    if (Vantoro_graph_check(preset.data(), preset.size(), why.data(), why.size()) != RT_OK)
        throw UserError(why.data());
    return Reader(preset).schematic();
}

bool is_preset(std::string_view bytes)
{
    const std::uint32_t magic = VANTORO_PRESET_MAGIC;
    return bytes.size() >= sizeof magic && std::memcmp(bytes.data(), &magic, sizeof magic) == 0;
}

}  // namespace vantoro
