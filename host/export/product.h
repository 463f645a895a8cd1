// SPDX-License-Identifier: Apache-2.0
// A schematic on its way into C: what its blocks and parameters are called there, and which of them may change.
#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "catalog/entries.h"
#include "schematic/schematic.h"

namespace vantoro {

// A parameter that C code can name: one entry of a vector, or a column of a long table.
struct Parameter {
    std::string name;           // "eq_band3_boost_db"
    std::string constant;       // "ROOM_EQ_BAND3_BOOST_DB": its entry
    std::string argument;       // "db", "hz"; "value" without a unit
    std::string help;           // "eq.bands[3].boostDb: dB, -24 to 12"
    const VantoroParam* param;  // what it is under the choices of the schematic
    std::size_t entry;          // of the vector
    std::size_t rows, stride;   // rows > 1: one entry per row, so far apart
    bool settable;              // it is read, and a running graph takes other values
};

struct ProductNode {
    const Block* block;
    std::string name, constant;  // "eq", "ROOM_EQ"
    std::vector<VectorEntry> entries;
    std::vector<Parameter> parameters;
};

struct Product {
    std::string name, constant;  // "room", "ROOM"
    std::string file;            // the schematic's, without its folder
    const Schematic& schematic;
    int rate;                        // Hz; 0: any
    std::vector<ProductNode> nodes;  // in order of processing
};

// Throws UserError unless `name` can begin identifiers of C. The schematic must outlive the product.
Product make_product(const std::string& name, const std::string& path, const Schematic& schematic, int rate);

// A table with more rows is set by row, without a name for each.
inline constexpr std::size_t kMostNamedRows = 32;

}  // namespace vantoro
