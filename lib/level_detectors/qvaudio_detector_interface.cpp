// SPDX-License-Identifier: Apache-2.0
#include "../common/category.h"
#include "../framework/dispatch.h"
#include "level_detectors.h"
#include "lookup_table.h"

namespace {
constexpr lbx::BlockOps kDETECTOR[] = {
    {EN_DETECTORS_SINGLE_BAND, LBX_OPS(SingleLevelDetector)}, {EN_DETECTORS_SEVEN_BAND, LBX_OPS(SevenLevelDetector)},
    {EN_DETECTORS_MULTI_BAND, LBX_OPS(MultiLevelDetector)},   {EN_DETECTORS_LOOKUP_INDEX, LBX_OPS(LookUpTable_Index)},
    {EN_DETECTORS_LOOKUP_RMS, LBX_OPS(LookUpTable_RMS)},      {EN_DETECTORS_LOOKUP_2D, LBX_OPS(LookUpTable_2D)},
};
}  // namespace

LBX_CATEGORY(DETECTOR, kDETECTOR, "wrong input type in DETECTOR\n", 1)
