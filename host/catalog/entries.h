// SPDX-License-Identifier: Apache-2.0
// A vector read entry by entry: what each number of it is called, what it means, and whether it may change while the
// block runs.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "catalog/layout.h"

namespace vantoro {

struct VectorEntry {
    std::string name;  // "fc", "bands[3].boostDb", "gains[0][1]"; of a count: "bands"
    float value;
    const VantoroParam* param;  // null: the number of a table's rows, or the place of a column
    Meaning meaning;            // under the choices of this vector
    const VantoroTable* table;  // null: no part of one
    std::size_t row, column;
    bool sizes;  // another value makes the block allocate: no running graph takes it
};
// In the order of the vector, as many as it has numbers.
std::vector<VectorEntry> entries_of(const BlockType& type, PinCounts pins, std::span<const float> vector);

// "1000 Hz", "Gen_Param", "true"
std::string value_text(const VectorEntry& entry);

}  // namespace vantoro
