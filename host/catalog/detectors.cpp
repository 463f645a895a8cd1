// SPDX-License-Identifier: Apache-2.0
#include "catalog/categories.h"
#include "catalog/rows.h"

namespace vantoro::rows {
namespace {

constexpr PinNote kIndexPin[] = {control(0, "index", "into the table, sample by sample")};
constexpr PinNote kIndexPins[] = {control(0, "x", "column, sample by sample"),
                                  control(1, "y", "row, sample by sample")};

constexpr Slot kMeasure = value(flag("enable", 1, "0 keeps the level as it is"));
constexpr Slot kRmstc = value(real("rmstc", "ms", 200, "time constant of the mean square"));
constexpr Slot kHoldTime = value(real("holdTime", "ms", 0, "before a level may fall"));
constexpr Slot kDecayTime = value(real("decayTime", "ms", 200, "kept, not used"));
constexpr Slot kLevel[] = {kMeasure, kRmstc, kHoldTime, kDecayTime};

constexpr Choice kBandType[] = {NAMED(Detector_BP), NAMED(Detector_LP), NAMED(Detector_HP)};
constexpr Param kBand[] = {
    choice("type", kBandType, 0, "band-pass, low-pass, high-pass"),
    real("fc", "Hz", 1000, "corner or centre"),
    real("q", "", 1, "Q; Detector_BP: octaves"),
};
constexpr float kOneBand[] = {0, 1000, 1};
constexpr Table kBands = list("bands", kBand, 1, 10, kOneBand, "measured side by side");
constexpr Slot kMultiLevel[] = {kMeasure, kRmstc, kHoldTime, kDecayTime, count(kBands), entries(kBands)};

constexpr Param kEntry[] = {real("value", "", 0, "")};
constexpr float kOneToSix[] = {1, 2, 3, 4, 5, 6};
constexpr Table kByIndex = list("table", kEntry, 1, kMany, kOneToSix, "indexes beyond it take its ends");
constexpr Slot kLookupIndex[] = {count(kByIndex), entries(kByIndex)};
constexpr Table kByLevel = list("table", kEntry, 1, kMany, kOneToSix,
                                "-90 to 6 dB; between them the last two entries are drawn out to a line");
constexpr Slot kLookupRms[] = {kRmstc, kHoldTime, kDecayTime, count(kByLevel), entries(kByLevel)};

constexpr Param kDbEntry[] = {real("value", "dB", 0, "")};
constexpr Table kGrid{.order = Table::Order::rows,
                      .name = "table",
                      .columns = kDbEntry,
                      .min = 0,
                      .max = 0,
                      .rows_of = "rows",
                      .columns_of = "columns",
                      .help = "a row for each y"};
constexpr Slot kLookup2d[] = {
    value(flag("db", 0, "1 puts out the dB values, 0 their linear gains")),
    value(whole("columns", 2, {1, 256}, "entries for x")),
    value(whole("rows", 3, {1, 256}, "entries for y")),
    entries(kGrid),
};
static_assert(std::size(kLevel) == kLevelDetectorsModuleSize);
static_assert(std::size(kBand) == kMultiLevelDetectorsFilterParamSize);

constexpr BlockType kTypes[] = {
    {EN_DETECTORS_SINGLE_BAND, "DETECTORS_SINGLE_BAND", "level meter", kOneOne, kLevel},
    {EN_DETECTORS_SEVEN_BAND, "DETECTORS_SEVEN_BAND", "level meter in seven bands, 100 Hz to 10 kHz", kOneOne, kLevel},
    {EN_DETECTORS_MULTI_BAND, "DETECTORS_MULTI_BAND", "level meter in bands of choice", kOneOne, kMultiLevel},
    {EN_DETECTORS_LOOKUP_INDEX, "DETECTORS_LOOKUP_INDEX", "table by index", kOneOne, kLookupIndex, kIndexPin},
    {EN_DETECTORS_LOOKUP_RMS, "DETECTORS_LOOKUP_RMS", "table by level", kOneOne, kLookupRms},
    {EN_DETECTORS_LOOKUP_2D, "DETECTORS_LOOKUP_2D", "table by column and row", kTwoOne, kLookup2d, kIndexPins},
};

}  // namespace

constinit const Category kDetectors{EN_DETECTORS, "Level detectors and tables", kTypes};

}  // namespace vantoro::rows
