// SPDX-License-Identifier: Apache-2.0
#include "first_order_info.h"

#include "../framework/info_list.h"

namespace {

using namespace lbx::first_order;

static_assert(std::size(kLayout) == kFilter1stModuleSize);

constexpr InfoRow kRows[] = {
    LBX_TYPE(FILTER_1ST, kFilters, "first-order filter", kSame)
        .params(kLayout, VANTORO_RESTARTS)
        .traits(VANTORO_DENORMALS)
        .linear(linear_model),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kFirstOrderInfo = kRows;
