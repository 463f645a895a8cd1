// SPDX-License-Identifier: Apache-2.0
// The graphical equaliser's bands, and which response reads what.
#pragma once

#include "graphical_eq.h"
#include "section_info.h"

namespace lbx::graphical_eq {

using namespace lbx::info;

inline constexpr VantoroReading kAsShelf[] = {reads(kFilterQ, kSlope)};
inline constexpr VantoroReading kAsPass[] = {reads(kFilterBoostDB, kPassGainDb)};
inline constexpr VantoroReading kByCorner[] = {not_read(kFilterBoostDB), not_read(kFilterQ)};

inline constexpr VantoroChoice kResponses[] = {
    LBX_CHOICE(GraphicalEQ_Param),
    LBX_CHOICE(GraphicalEQ_LS, kAsShelf),
    LBX_CHOICE(GraphicalEQ_HS, kAsShelf),
    LBX_CHOICE(GraphicalEQ_LP, kAsPass),
    LBX_CHOICE(GraphicalEQ_HP, kAsPass),
    LBX_CHOICE(GraphicalEQ_BUTTER_LP, kByCorner),
    LBX_CHOICE(GraphicalEQ_BUTTER_HP, kByCorner),
    LBX_CHOICE(GraphicalEQ_BESSEL_LP, kByCorner),
    LBX_CHOICE(GraphicalEQ_BESSEL_HP, kByCorner),
};

inline constexpr VantoroParam kColumns[] = {
    corner_hz("fc", 1000, "corner or centre"),
    kSectionBoostDb.starting_at(5),
    kQuality.starting_at(1.41F),
    choice("type", kResponses, GraphicalEQ_Param, "response"),
    flag("bypass", 0, "1 skips the band"),
};

inline constexpr InitialRow kOneBand = initial_row(kColumns);
inline constexpr VantoroTable kBands = list("bands", kColumns, 0, kManyRows, kOneBand.values, "in order of processing");
inline constexpr VantoroSlot kLayout[] = {count(kBands), rows(kBands)};

void linear_model(const BlockAlgo* blk, const Paths& paths);

}  // namespace lbx::graphical_eq
