// SPDX-License-Identifier: Apache-2.0
#include "Sweep_info.h"

#include "../framework/info_list.h"
#include "Sweep.h"

namespace {

using namespace lbx::sweep;

static_assert(std::size(kLayout) == kSweepModuleSize);

constexpr InfoRow kRows[] = {
    LBX_TYPE(SOURCE_SWEEP, kSources, "exponential sine sweep", kNoneToMany)
        .params(kLayout, VANTORO_RESTARTS)
        .traits(VANTORO_SOURCE),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kSweepInfo = kRows;
