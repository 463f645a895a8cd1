// SPDX-License-Identifier: Apache-2.0
#include "../common/category.h"
#include "../framework/dispatch.h"
#include "level_detectors.h"
#include "lookup_table.h"

namespace {
constexpr lbx::BlockOps kDETECTOR[] = {
    {EN_DETECTORS_SINGLE_BAND, LBX_OPS(SingleLevelDetector), lbx::clear_state::detector},
    {EN_DETECTORS_SEVEN_BAND, LBX_OPS(SevenLevelDetector), lbx::clear_state::detector},
    {EN_DETECTORS_MULTI_BAND, LBX_OPS(MultiLevelDetector), lbx::clear_state::detector},
    {EN_DETECTORS_LOOKUP_INDEX, LBX_OPS(LookUpTable_Index), lbx::clear_state::nothing},
    {EN_DETECTORS_LOOKUP_RMS, LBX_OPS(LookUpTable_RMS), lbx::clear_state::look_up_table},
    {EN_DETECTORS_LOOKUP_2D, LBX_OPS(LookUpTable_2D), lbx::clear_state::nothing},
};
}  // namespace

LBX_CATEGORY(DETECTOR, kDETECTOR, "wrong input type in DETECTOR\n", 1)
