// SPDX-License-Identifier: Apache-2.0
// The tests' list of every block: pins that each type accepts and a parameter vector that makes it work. A type that
// is missing here fails the sweep over all codes.
#pragma once

#include <span>
#include <vector>

namespace rig {

struct BlockCase {
    int type;
    int inputs, outputs;
    std::vector<float> vector;     // empty: the type has no parameters
    std::vector<int> counts = {};  // entries that say how long the vector is, or where in it an array starts
};

std::span<const BlockCase> every_block();

}  // namespace rig
