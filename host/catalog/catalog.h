// SPDX-License-Identifier: Apache-2.0
// The catalog: the library's descriptions of its block types as the program uses them. It finds types, completes pin
// counts, makes float vectors from named values and back, and shows all of it as text and as JSON.
//
// What a type is, stands in the library (lib/common/block_info.h) and nowhere here. A block's parameters are a JSON
// object:
//
//   {"type": "Gen_Peaking", "fc": 1000, "q": 0.7}                 numbers, flags (true or 1), choices by name or number
//   {"fc": "1.2 kHz", "q": 0.7}                                   or with a unit of the parameter's kind
//   {"bands": [{"fc": 60, "boostDb": 3}, {"fc": 8000}]}           a table: an object a row; what is left out is default
//   {"curve": [[-60, -60], [0, -30]]}                             ... or an array a row, in the order of the columns
//   {"gains": [0, -3, -6]}                                        a table of one column: plain numbers
//   {"gains": [[0, -60], [-60, 0]]}                               ... or its matrix, a row per input
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "common/block_info.h"
#include "support/problem.h"
#include "vantoro.h"

namespace vantoro {

using BlockType = VantoroBlockInfo;

// ---- types ----

// In the order of their codes.
std::span<const BlockType* const> every_type();
// By enumerator, with or without EN_, in any case, or by code (decimal or 0x...); null: unknown.
const BlockType* find_type(int code);
const BlockType* find_type(std::string_view name_or_code);
// At most three types: a word of whose name it is, in whose description it stands, or whose names come near.
std::vector<std::string> nearest_types(std::string_view name);

inline bool has_trait(const BlockType& type, VantoroTrait trait) { return (type.traits & unsigned{trait}) != 0; }
// Has a second arithmetic, in this build.
bool has_quiet(const BlockType& type);
// Stands for the host's own inputs or outputs: nothing that a schematic lists among its blocks.
inline bool is_terminal(const BlockType& type) { return has_trait(type, VANTORO_TERMINAL); }

// ---- pins ----

struct PinCounts {
    int inputs, outputs;
    friend bool operator==(const PinCounts&, const PinCounts&) = default;
};
enum class PinSide {
    input,
    output
};

inline PinCounts initial_pins(const BlockType& type) { return {type.pins->initial_inputs, type.pins->initial_outputs}; }
inline bool pins_fit(const BlockType& type, PinCounts pins)
{
    return Vantoro_pins_fit(type.pins, pins.inputs, pins.outputs) != 0;
}
// Completes what is open: the initial count if it fits what is given, else the smallest that fits. Empty: no such block
// has these pins.
std::optional<PinCounts> complete_pins(const BlockType& type, std::optional<int> inputs, std::optional<int> outputs);
// What the pin is called; null: a plain signal.
const VantoroPin* note_of(const BlockType& type, PinSide side, int pin, PinCounts pins);
bool is_control(const BlockType& type, int input, PinCounts pins);

// ---- values ----

// Problems are reported with their place below the parameters: "/bands/3/q". A warning is about a number that the block
// takes, but not as it reads: the library limits it, truncates it, does not read it, or makes nonsense of it.

// What a block runs in, as far as it is known.
struct Pace {
    int rate;            // Hz
    int block_size = 0;  // samples; 0: open
    Pace(int rate_hz, int samples = 0) : rate(rate_hz), block_size(samples) {}
};

// The vector of a block of `type` with `pins` (which must fit). `params` is an object or null; absent values are
// defaults. Every problem is appended to `problems`; the vector is of use when none of them is an error. With a pace
// it is given to check_vector, too.
std::vector<float> build_vector(const BlockType& type, PinCounts pins, const nlohmann::json& params,
                                std::vector<Problem>& problems, std::optional<Pace> pace = {});
std::vector<float> default_vector(const BlockType& type, PinCounts pins);
// Warns of what the numbers of a vector do at this pace and with one another: frequencies that are not below half the
// rate, speeds that blocks of this size do not follow, filters that are unstable; defaults too.
void check_vector(const BlockType& type, PinCounts pins, std::span<const float> vector, Pace pace,
                  std::vector<Problem>& problems);
// The way back: every parameter of a vector that build_vector made, choices by name, matrices as arrays of rows.
nlohmann::json named_values(const BlockType& type, PinCounts pins, std::span<const float> vector);

// Changes one value of `params`: "gainDb", "bands[3].boostDb", "gains[2]", "gains[0][1]", or a whole table ("taps").
// `text` is a number, true or false, a choice, or JSON. Checks the value as build_vector does, and warns of it and of
// what it does to others; with an error `params` stays as it was and false is returned. `params` must be free of
// errors.
bool set_value(const BlockType& type, PinCounts pins, nlohmann::json& params, std::string_view path,
               std::string_view text, std::vector<Problem>& problems, std::optional<Pace> pace = {});

// ---- output ----

std::string range_text(const VantoroParam& param);  // "a number from 0.01 to 16", "one of ...", "any number"
nlohmann::ordered_json to_json(const BlockType& type);
nlohmann::ordered_json catalog_json();     // of every type
std::string sheet(const BlockType& type);  // everything about one type
std::string overview();                    // one line a block type, by category
// JSON schema of the `params` of blocks of one type.
nlohmann::ordered_json params_schema(const BlockType& type);

}  // namespace vantoro
