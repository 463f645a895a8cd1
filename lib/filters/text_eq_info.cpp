// SPDX-License-Identifier: Apache-2.0
#include "text_eq_info.h"

#include "../framework/info_list.h"

namespace {

using namespace lbx::text_eq;

static_assert(std::size(kColumns) == kTextFilterParamSize);

constexpr InfoRow kRows[] = {
    LBX_TYPE(FILTER_TEXTEQ, kFilters, "equaliser, all responses", kSame)
        .params(kLayout, VANTORO_RESTARTS)
        .traits(VANTORO_DENORMALS)
        .linear(linear_model),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kTextEqInfo = kRows;
