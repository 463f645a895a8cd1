// SPDX-License-Identifier: Apache-2.0
#include "graphical_eq_info.h"

#include "../framework/info_list.h"

namespace {

using namespace lbx::graphical_eq;

static_assert(std::size(kColumns) == kFilterParamSize);

constexpr InfoRow kRows[] = {
    LBX_TYPE(FILTER_GRAPHICAL_EQ, kFilters, "graphical equaliser", kSame)
        .params(kLayout, VANTORO_RESTARTS)
        .traits(VANTORO_DENORMALS)
        .linear(linear_model),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kGraphicalEqInfo = kRows;
