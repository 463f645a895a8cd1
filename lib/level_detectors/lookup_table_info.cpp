// SPDX-License-Identifier: Apache-2.0
#include "lookup_table_info.h"

#include "../framework/info_list.h"

namespace {

using namespace lbx::lookup_table;

static_assert(std::size(kIndexLayout) == kLookUpTableIndexParamOffset + 1);
static_assert(std::size(kRmsLayout) == kLookUpTableRMSParamOffset + 1);
static_assert(std::size(k2DLayout) == kLookUpTable2DParamOffset + 1);

constexpr VantoroPin kIndexPin[] = {control(0, "index", "place in the table, from 0, truncated; read at every sample")};
constexpr VantoroPin kPlacePins[] = {
    control(0, "x", "column, from 0, truncated; past the last it goes on in the next row; read at every sample"),
    control(1, "y", "row, from 0, truncated; read at every sample"),
};

constexpr InfoRow kRows[] = {
    LBX_TYPE(DETECTORS_LOOKUP_INDEX, kDetectors, "table by index", kOneOne)
        .pins(kIndexPin)
        .params(kIndexLayout, VANTORO_KEEPS),
    LBX_TYPE(DETECTORS_LOOKUP_RMS, kDetectors, "table by level", kOneOne)
        .params(kRmsLayout, VANTORO_KEEPS)
        .traits(VANTORO_DENORMALS),
    LBX_TYPE(DETECTORS_LOOKUP_2D, kDetectors, "table by column and row", kTwoOne)
        .pins(kPlacePins)
        .params(k2DLayout, VANTORO_KEEPS),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kLookupTableInfo = kRows;
