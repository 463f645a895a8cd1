// SPDX-License-Identifier: Apache-2.0
// A schematic while it is read: what the document says, and what is wrong with it. Each step of reading notes what it
// finds and goes on with the rest.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <nlohmann/json.hpp>

#include "schematic/definitions.h"
#include "schematic/node.h"
#include "schematic/parts.h"
#include "schematic/reader.h"
#include "schematic/schematic.h"

namespace vantoro {

class Fields;

struct Draft {
    const ReadOptions& options;
    std::vector<Problem> problems{};
    Definitions definitions{};
    std::vector<Problem> unresolved{};  // expressions that are wrong
    Schematic out{};
    std::optional<int> inputs{}, outputs{};  // channels, as the document says
    bool quiet = false;                      // the arithmetic of blocks that do not name one
    std::unordered_map<std::string, int> ids{};
    std::vector<Node> nodes{};             // the blocks, then "input" and "output", then the sides of parts
    std::vector<nlohmann::json> params{};  // of each block
    std::vector<Wire> wires{};
    int wires_written = 0;  // also those that are wrong
    Parts parts{};
    std::unordered_map<std::string, int> uses{};  // of parts, by the ids they get: index of the first of two sides
    std::vector<Node> sides{};                    // of the uses
    struct Override {
        std::string place, block, path;
        nlohmann::json value;
    };
    std::vector<Override> overrides{};  // values inside parts that their uses change, the outermost use last

    int input() const { return static_cast<int>(out.blocks.size()); }  // nodes
    int output() const { return input() + 1; }
    std::optional<int> rate() const { return out.rate ? out.rate : options.rate; }
    std::optional<Pace> pace() const { return rate() ? std::optional(Pace(*rate(), out.block_size)) : std::nullopt; }
    void fault(std::string where, const nlohmann::json& value, std::string wanted);
    // A file that stands `where`; none, and a problem, if it cannot be had.
    std::optional<FileSource> read_file(const std::string& name, const std::string& where, std::vector<Problem>& found);
    // What to say where no block has this id, in the scope whose blocks have this prefix.
    std::string no_block(const std::string& id, const std::string& prefix = {});
    // Whether a block or a use may have this id.
    bool is_taken(const std::string& id) const { return ids.contains(id) || uses.contains(id); }

    std::size_t file_bytes = 0, file_values = 0;   // of all files that were read
    std::map<std::string, std::string> unknown{};  // ids asked for, and what they may stand for
    std::shared_ptr<Suggestions> suggestions = std::make_shared<Suggestions>();
};

// Seconds from the start.
inline bool good_moment(double seconds)
{
    constexpr double kMaxSeconds = 1e9;
    return seconds >= 0 && seconds <= kMaxSeconds;
}

// Whether "arithmetic" says "quiet"; open: it is not there, or wrong.
std::optional<bool> read_arithmetic(const Fields& fields);

// The steps. The blocks and the wires of a scope, by its number; names are those that its expressions may use.
void read_blocks(const nlohmann::json& blocks, const std::vector<std::string>& order, int scope, Definitions& names,
                 Draft& draft);
void read_wires(const nlohmann::json& wires, int number, Draft& draft);
bool wire_up(Draft& draft);  // false: too large to go on
void build_vectors(Draft& draft);
void read_changes(const nlohmann::json& changes, Draft& draft);

}  // namespace vantoro
