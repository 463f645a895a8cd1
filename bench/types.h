// SPDX-License-Identifier: Apache-2.0
// Every block type of the host's catalog, at work.
#pragma once

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "catalog/catalog.h"
#include "pins.h"
#include "support/every_block.h"

namespace bench {

// So many channels are the fewest pins with as many inputs and as many outputs; where a type has less of either, as
// many of the other. None: such a block is not.
inline std::optional<vantoro::PinCounts> pins_for(const vantoro::BlockType& type, int channels)
{
    std::optional<vantoro::PinCounts> best;
    const auto lacking = [&](vantoro::PinCounts p) { return p.inputs < channels || p.outputs < channels; };
    const auto cost = [&](vantoro::PinCounts p) { return std::pair(lacking(p), p.inputs + p.outputs); };
    for (const auto& pins : {vantoro::complete_pins(type, {}, channels), vantoro::complete_pins(type, channels, {})})
        if (pins && vantoro::pins_fit(type, *pins) && (!best || cost(*pins) < cost(*best)))
            best = pins;
    return best;
}

// The tests' vector, which makes every type work, with defaults for what further pins add.
inline std::vector<float> vector_for(const vantoro::BlockType& type, vantoro::PinCounts pins)
{
    const auto rows = rig::every_block();
    const auto row = std::ranges::find(rows, type.type, &rig::BlockCase::type);
    std::vector<float> vector = row == rows.end() ? std::vector<float>{} : row->vector;
    const std::vector<float> usual = vantoro::default_vector(type, pins);
    if (usual.size() > vector.size())
        vector.insert(vector.end(), usual.begin() + static_cast<std::ptrdiff_t>(vector.size()), usual.end());
    return vector;
}

// each(type) for every type that is processed: the host moves the audio of terminals.
template <class Each>
void each_type(Each each)
{
    for (const vantoro::BlockType* type : vantoro::every_type())
        if (!vantoro::is_terminal(*type))
            each(*type);
}

// each(type, pins, channels, samples): at three block sizes and with 1, 2 and 8 channels where a type's pins allow.
template <class Each>
void each_shape(Each each)
{
    each_type([&](const vantoro::BlockType& type) {
        std::optional<vantoro::PinCounts> before;
        for (const int channels : {1, 2, 8}) {
            const auto pins = pins_for(type, channels);
            if (!pins || pins == before)
                continue;
            before = pins;
            for (const int n : {16, 64, 256})
                each(type, *pins, channels, n);
        }
    });
}

// A control beside a signal stands still, as it mostly does.
inline void hold_controls(const vantoro::BlockType& type, vantoro::PinCounts pins, const Pins& p, int n)
{
    for (int pin = 0; pin + 1 < pins.inputs; ++pin)
        if (vantoro::is_control(type, pin, pins))
            std::fill_n(p.in[static_cast<std::size_t>(pin)], n, *p.in[static_cast<std::size_t>(pin)]);
}

}  // namespace bench
