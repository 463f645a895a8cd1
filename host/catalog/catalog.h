// SPDX-License-Identifier: Apache-2.0
// The catalog: every block type with its pins and parameters, and the float vector built from named values.
//
// The catalog is data (one row a type, see catalog/); what follows from a row - defaults, checks, vectors, sheets - is
// computed here once for all types. A block's parameters are a JSON object:
//
//   {"type": "Gen_Peaking", "fc": 1000, "q": 0.7}                 numbers, flags (true or 1), choices by name or number
//   {"bands": [{"fc": 60, "boostDb": 3}, {"fc": 8000}]}           a table: an object a row; what is left out is default
//   {"curve": [[-60, -60], [0, -30]]}                             ... or an array a row, in the order of the columns
//   {"gains": [0, -3, -6]}                                        a table of one column: plain numbers
//   {"gains": [[0, -60], [-60, 0]]}                               ... or its matrix, a row per input
#pragma once

#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "support/nearest.h"
#include "support/problem.h"
#include "vantoro.h"

namespace vantoro {

// ---- pins ----

struct Pins {
    int inputs, outputs;
    friend bool operator==(const Pins&, const Pins&) = default;
};

struct PinRule {
    std::string_view text;  // "n + 1 -> n"
    Pins usual;             // where a schematic leaves the counts open
    bool (*fits)(Pins);
};

// What pins carry, where that is not simply the n-th signal. Pins first, first + every, ... up to `last`; a negative
// last counts from the end (-1: the last pin).
struct PinNote {
    enum class Side {
        input,
        output
    } side;
    int first, last, every;
    std::string_view name;     // "sidechain"
    std::string_view meaning;  // a sentence part; for controls: unit, range, how often it is read
    bool control;              // read as a value, not as audio
};

// ---- parameters ----

struct Choice {
    std::string_view name;
    int value;
};

// A length, or a limit, that follows from the pins.
enum class Per {
    none,
    input,
    output,
    input_pair,
    crosspoint,
    group
};

// One number of the vector.
struct Param {
    enum class Kind {
        real,
        integer,
        flag,
        choice
    } kind;
    std::string_view name;  // lower camel case
    std::string_view unit;  // "Hz", "dB", "ms"; empty: a plain number
    float usual;            // the default
    float min, max;         // bounds included; infinite: any value
    std::string_view help;
    std::span<const Choice> choices = {};
    Per below = Per::none;  // the value must be less than this count
};

// A part of the vector that repeats.
struct Table {
    enum class Order {
        rows,
        columns
    } order;  // row after row, or every value of a column before the next column
    std::string_view name;
    std::span<const Param> columns;
    int min, max;                // rows, where the schematic chooses their number
    Per per = Per::none;         // else: a row per ...
    std::string_view rows_of{};  // or as many rows and columns as these parameters say (one column only)
    std::string_view columns_of{};
    Per matrix = Per::none;             // one column only: shown as rows of this length
    std::span<const float> usual = {};  // default rows, row after row, where the schematic chooses
    std::string_view help{};
};

// The vector, entry by entry.
struct Slot {
    enum class Kind {
        value,
        count,
        table,
        first_of
    } kind;
    Param param{};                 // value
    const Table* table = nullptr;  // count: its rows; table: its values; first_of: where in the vector ...
    int column = 0;                // ... this column begins
};

// How a vector reaches the block.
enum class Delivery {
    none,      // the type has no parameters
    vector,    // BlockAlgo_param_reset, then BlockAlgo_param_update
    in_place,  // written into the block's own pParam: its parameter set ignores its argument
};

struct BlockType {
    int code;
    std::string_view name;  // the enumerator without EN_
    std::string_view summary;
    PinRule pins;
    std::span<const Slot> layout = {};
    std::span<const PinNote> notes = {};
    bool in_place = false;  // see Delivery
};

struct Category {
    int code;
    std::string_view title;
    std::span<const BlockType> types;
};

// ---- looking up ----

std::span<const Category> categories();
const BlockType* find_type(int code);
// By enumerator, with or without EN_, in any case, or by code (decimal or 0x...); null: unknown.
const BlockType* find_type(std::string_view name_or_code);
// At most three types: a word of whose name it is, in whose description it stands, or whose names come near.
std::vector<std::string> nearest_types(std::string_view name);

Delivery delivery_of(const BlockType& type);
// Completes what a schematic leaves open: the usual count if it fits what is given, else the smallest that fits. Empty:
// no such block has these pins.
std::optional<Pins> complete_pins(const BlockType& type, std::optional<int> inputs, std::optional<int> outputs);
const PinNote* note_of(const BlockType& type, PinNote::Side side, int pin, Pins pins);  // null: a plain signal

// ---- values ----

// Faults are reported with their place below the parameters: "/bands/3/q".

// The vector of a block of `type` with `pins` (which must fit). `params` is an object or null; absent values are
// defaults. Every fault is appended to `problems`; the vector is of use only when there is none.
std::vector<float> build_vector(const BlockType& type, Pins pins, const nlohmann::json& params,
                                std::vector<Problem>& problems);
std::vector<float> default_vector(const BlockType& type, Pins pins);
// The way back: every parameter of a vector that build_vector made, choices by name, matrices as arrays of rows.
nlohmann::json named_values(const BlockType& type, Pins pins, std::span<const float> vector);

// Changes one value of `params`: "gainDb", "bands[3].boostDb", "gains[2]", "gains[0][1]", or a whole table ("taps").
// `text` is a number, true or false, a choice, or JSON. Checks the value as build_vector does; with a fault `params`
// stays as it was and false is returned. `params` must be free of faults.
bool set_value(const BlockType& type, Pins pins, nlohmann::json& params, std::string_view path, std::string_view text,
               std::vector<Problem>& problems);

// Hands a vector to a block as its type wants it. Returns the first negative result, else 0.
int apply_vector(const BlockType& type, BlockAlgo& block, std::span<const float> vector);

// ---- output ----

std::string range_text(const Param& param);  // "a number from 0.01 to 16", "one of ...", "any number"
nlohmann::ordered_json to_json(const BlockType& type);
std::string sheet(const BlockType& type);  // everything about one type
std::string overview();                    // one line a type, by category

}  // namespace vantoro
