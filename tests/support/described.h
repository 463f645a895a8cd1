// SPDX-License-Identifier: Apache-2.0
// Block types by their descriptions: vectors drawn from what a row says, and a bench on which to see whether it is
// true.
#pragma once

#include <span>
#include <vector>

#include "rig.h"
#include "support/every_block.h"

namespace rig {

// Every described type but the terminals, with the pins of the tests' list.
struct Described {
    const VantoroBlockInfo* info;
    const BlockCase* pins;
};
std::span<const Described> every_described();

bool has(const Described& type, VantoroTrait trait);
// Whether a pin is read as a value, not as audio.
bool is_control(const Described& type, int input);

// ---- vectors ----

using Vector = std::vector<float>;

Vector initial_vector(const Described& type);

// How many entries from the first on a block keeps in pParam as they were set.
std::size_t kept_entries(const Described& type, const Vector& vector);

// One value of a vector. Counts and places of tables are none.
struct Entry {
    std::size_t at;
    const VantoroParam* param;
    const VantoroSlot* slot;  // of the layout, or the table's
    int place;                // in the layout, or among the columns
    int row;                  // of the table
    const VantoroParam* as;   // what the choices of the vector make of it; null: it is not read
};
std::vector<Entry> entries_of(const Described& type, const Vector& vector);

// Whether the entry says how many rows or columns a table has, and so how long the vector is.
bool is_size(const Described& type, const Entry& entry);

// Vectors that the row calls good: the default, the one of the tests' list, and, from there, others drawn from the
// suggested ranges. With `fixed`, that entry (in every row) is `value` in all of them.
std::vector<Vector> good_vectors(const Described& type, int count, const Entry* fixed = nullptr, float value = 0);

// The vectors of a type with each choice of each choice parameter.
struct Scene {
    std::string name;  // "FILTER_1ST LS1st"
    std::vector<Vector> vectors;
};
std::vector<Scene> scenes_of(const Described& type, int count);

// ---- the bench ----

struct Conditions {
    int rate = 48000;
    int block = 64;
    float before = 0;    // what the outputs hold before each call
    bool apart = false;  // the pins do not follow each other in memory
};

// A block of the type on pins that stand in one array. The levels that a meter reads are more outputs, after its own.
class Bench {
public:
    explicit Bench(const Described& type, const Conditions& conditions = {});
    ~Bench();
    Bench(const Bench&) = delete;
    Bench& operator=(const Bench&) = delete;

    BlockAlgo* block() { return blk_; }
    const Described& type() const { return type_; }
    // Hands a vector over as a host does: by a parameter set and an update, or in place.
    int set(Vector vector);
    Outputs run(const Outputs& signal);

private:
    void meter(Outputs& result) const;

    const Described& type_;
    Conditions conditions_;
    BlockPro pro_;
    BlockAlgo* blk_;
    std::vector<float> arena_;
    std::vector<float*> in_, out_;
};

// Audio on the audio pins: noise, soft and loud, and silence. On the control pins values that select, hold and trigger.
Outputs scene_signal(const Described& type, int samples, int block = 64);
// The same on all audio pins, and on all controls.
Outputs constant_signal(const Described& type, int samples, float audio, float control);
// The signal, with the control pins of another.
Outputs with_controls(const Described& type, Outputs signal, const Outputs& controls);

// What a fresh block with this vector puts out for a signal. Begins with std::srand(kSeed): noise is drawn from rand().
inline constexpr unsigned kSeed = 7;
Outputs answer(const Described& type, const Vector& vector, const Outputs& signal, const Conditions& conditions = {});
bool same_bits(const Outputs& a, const Outputs& b);

}  // namespace rig
