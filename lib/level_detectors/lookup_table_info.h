// SPDX-License-Identifier: Apache-2.0
// The tables' parameters.
#pragma once

#include "hold_level_info.h"
#include "lookup_table.h"

namespace lbx::lookup_table {

using namespace lbx::info;

inline constexpr VantoroParam kEntry[] = {real("value", "", 0, {-100, 100}, "what is put out")};
inline constexpr float kOneToSix[] = {1, 2, 3, 4, 5, 6};

inline constexpr VantoroTable kByIndex =
    list("table", kEntry, 1, kManyRows, kOneToSix, "counted from 0; an index beyond it takes its end");
inline constexpr VantoroSlot kIndexLayout[] = {count(kByIndex), rows(kByIndex)};

inline constexpr VantoroTable kByLevel =
    list("table", kEntry, 1, kManyRows, kOneToSix,
         "the first up to -90 dB, the last from 6 dB on; between them the line through the last two");
inline constexpr VantoroSlot kRmsLayout[] = {value(hold::kRmstc), value(hold::kHoldTime), value(hold::kDecayTime),
                                             count(kByLevel), rows(kByLevel)};

inline constexpr VantoroRange kSide = {1, 256};  // the library takes any; 256 x 256 are as many as kManyRows
inline constexpr VantoroParam kDb = flag("db", 0, "1 puts out the dB values, 0 their linear gains");
inline constexpr VantoroParam kColumns =
    whole("columns", 2, kSide, "entries for x").valid_in(kSide).flagged(VANTORO_SIZES);
inline constexpr VantoroParam kRowCount =
    whole("rows", 3, kSide, "entries for y").valid_in(kSide).flagged(VANTORO_SIZES);
inline constexpr VantoroParam kDbEntry[] = {real("value", "dB", 0, {-100, 24}, "what is put out, or its level")};
inline constexpr VantoroTable kGrid = grid(kLookUpTable2DY, kLookUpTable2DX, "table", kDbEntry, "a row for each y");
inline constexpr VantoroSlot k2DLayout[] = {value(kDb), value(kColumns), value(kRowCount), rows(kGrid)};

}  // namespace lbx::lookup_table
