// SPDX-License-Identifier: Apache-2.0
// Every block type of the host's catalog, at work.
#pragma once

#include <algorithm>
#include <optional>
#include <vector>

#include "catalog.h"
#include "support/every_block.h"

namespace bench {

// Pins for so many channels: outputs, or inputs where the outputs do not grow with them. None: such a block is not.
inline std::optional<vantoro::Pins> pins_for(const vantoro::BlockType& type, int channels)
{
    const auto fits = [&](std::optional<vantoro::Pins> pins) { return pins && type.pins.fits(*pins); };
    if (const auto pins = vantoro::complete_pins(type, {}, channels); fits(pins))
        return pins;
    if (const auto pins = vantoro::complete_pins(type, channels, {}); fits(pins))
        return pins;
    return {};
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
