// SPDX-License-Identifier: Apache-2.0
// The text equaliser's bands, and which response reads what.
#pragma once

#include "section_info.h"
#include "text_eq.h"

namespace lbx::text_eq {

using namespace lbx::info;

inline constexpr VantoroReading kAsShelf[] = {reads(kTextFilterQ_Slp, kSlope)};
inline constexpr VantoroReading kAsFirstOrder[] = {not_read(kTextFilterQ_Slp)};
inline constexpr VantoroReading kAsPass[] = {reads(kTextFilterBoostDB, kPassGainDb)};
inline constexpr VantoroReading kByQ[] = {not_read(kTextFilterBoostDB)};
inline constexpr VantoroReading kByWidth[] = {not_read(kTextFilterBoostDB), reads(kTextFilterQ_Slp, kBandwidth)};

inline constexpr VantoroChoice kResponses[] = {
    LBX_CHOICE(Text_Param),
    LBX_CHOICE(Text_LS2nd, kAsShelf),
    LBX_CHOICE(Text_HS2nd, kAsShelf),
    LBX_CHOICE(Text_LP, kAsPass),
    LBX_CHOICE(Text_HP, kAsPass),
    LBX_CHOICE(Text_BP, kByWidth),
    LBX_CHOICE(Text_BS, kByWidth),
    LBX_CHOICE(Text_APF, kByQ),
    LBX_CHOICE(Text_Peaking, kByQ),
    LBX_CHOICE(Text_Notch, kByQ),
    LBX_CHOICE(Text_LS1st, kAsFirstOrder),
    LBX_CHOICE(Text_HS1st, kAsFirstOrder),
};

inline constexpr VantoroParam kColumns[] = {
    flag("enable", 1, "0 skips the band"),
    flag("polarity", 0, "kept, not used").flagged(VANTORO_UNUSED),
    choice("type", kResponses, Text_Param, "response"),
    kSectionBoostDb,
    corner_hz("fc", 1000, "corner or centre"),
    kQuality.starting_at(0.71F),
    gain_db("gainDb", 0, {-50, 24}, "gain of the band"),
};

inline constexpr InitialRow kOneBand = initial_row(kColumns);
inline constexpr VantoroTable kBands = list("bands", kColumns, 0, kManyRows, kOneBand.values, "in order of processing");
inline constexpr VantoroSlot kLayout[] = {count(kBands), rows(kBands)};

void linear_model(const BlockAlgo* blk, const Paths& paths);

}  // namespace lbx::text_eq
