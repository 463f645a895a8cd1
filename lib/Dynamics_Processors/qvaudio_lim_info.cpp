// SPDX-License-Identifier: Apache-2.0
#include "qvaudio_lim_info.h"

#include "../framework/info_list.h"
#include "qvaudio_lim.h"

namespace {

using namespace lbx::limiter;

static_assert(std::size(kLayout) == kLimiterModuleSize);

constexpr InfoRow kRows[] = {
    LBX_TYPE(DP_LIMITER, kDynamics, "limiter of the mean square, channel by channel", kSame)
        .params(kLayout, VANTORO_KEEPS)
        .traits(VANTORO_DENORMALS),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kLimiterInfo = kRows;
