// SPDX-License-Identifier: Apache-2.0
// Parts: sub-schematics with parameters and pins of their own. A use is taken apart while it is read: its blocks become
// blocks of the schematic, "tweeter/eq", and its terminals nodes that pass every channel on.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/problem.h"

namespace vantoro {

struct Draft;
class Definitions;

// One side of a part: the count of its pins, which may be open, and their names, if they have some.
struct PartSide {
    std::optional<int> count{};
    std::vector<std::string> names{};
};

// A part as it is written, checked when it is used first.
struct PartText {        // NOLINT(bugprone-exception-escape): a move of JSON throws nothing
    std::string where;   // of its object in its text: "/parts/driver"; in a file of its own it is the whole: ""
    std::string file{};  // empty: it stands in the document
    std::string text{};  // of the file
    nlohmann::json body{};
    std::vector<std::string> order{};  // of its blocks
    PartSide inputs{}, outputs{};
    std::size_t size = 0;  // characters, about
    bool good = false, used = false;
};

// Where blocks and wires stand: the document, or one use of a part.
struct Scope {
    std::string prefix{};            // of the ids of its blocks: "tweeter/"
    const PartText* part = nullptr;  // null: the document
    int outer = 0;                   // the scope in which it is used
    int first_wire = 0;              // number of its first wire
};

// What the steps of reading know of parts.
struct Parts {
    nlohmann::json written = nlohmann::json::object();  // "parts" of the document
    std::map<std::string, std::vector<std::string>> order{};
    std::map<std::string, PartText> read{};  // those that are used
    std::vector<Scope> scopes{1};            // the document is the first
    std::map<std::string, int> owners{};     // the scopes in which blocks and uses of parts stand, by the ids they get
    std::size_t size = 0;                    // characters of all uses, about
    std::vector<Problem> warnings{};         // of names that parts do not use
};

// Reads the use of a part: `use`, without expressions, stands as `id` in the scope `outer`.
void use_part(const std::string& id, const nlohmann::json& use, int outer, Draft& draft);

// Problems that stand in parts get the places that they have in the part's own text, once each, and say where the part
// is used. `text` is the document's.
void place_in_parts(std::string_view text, Draft& draft);

// Warnings.
std::vector<Problem> unused_parts(const Parts& parts);

}  // namespace vantoro
