// SPDX-License-Identifier: Apache-2.0
// Every block type of the host's catalog, at work.
#pragma once

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "catalog/catalog.h"
#include "support/every_block.h"

namespace bench {

// So many channels are the fewest pins with as many inputs and as many outputs; where a type has less of either, as
// many of the other. None: such a block is not.
inline std::optional<vantoro::Pins> pins_for(const vantoro::BlockType& type, int channels)
{
    std::optional<vantoro::Pins> best;
    const auto lacking = [&](vantoro::Pins p) { return p.inputs < channels || p.outputs < channels; };
    const auto cost = [&](vantoro::Pins p) { return std::pair(lacking(p), p.inputs + p.outputs); };
    for (const auto& pins : {vantoro::complete_pins(type, {}, channels), vantoro::complete_pins(type, channels, {})})
        if (pins && type.pins.fits(*pins) && (!best || cost(*pins) < cost(*best)))
            best = pins;
    return best;
}

// Terminals are not processed: the host moves their audio.
inline bool is_terminal(const vantoro::BlockType& type)
{
    return (type.code & 0xff00) == EN_IN || (type.code & 0xff00) == EN_OUT;
}

// The tests' vector, which makes every type work, with defaults for what further pins add.
inline std::vector<float> vector_for(const vantoro::BlockType& type, vantoro::Pins pins)
{
    const auto rows = rig::every_block();
    const auto row = std::ranges::find(rows, type.code, &rig::BlockCase::type);
    std::vector<float> vector = row == rows.end() ? std::vector<float>{} : row->vector;
    const std::vector<float> usual = vantoro::default_vector(type, pins);
    if (usual.size() > vector.size())
        vector.insert(vector.end(), usual.begin() + static_cast<std::ptrdiff_t>(vector.size()), usual.end());
    return vector;
}

// each(type) for every type.
template <class Each>
void each_type(Each each)
{
    for (const vantoro::Category& category : vantoro::categories())
        for (const vantoro::BlockType& type : category.types)
            each(type);
}

}  // namespace bench
