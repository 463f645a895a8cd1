// SPDX-License-Identifier: Apache-2.0
#include "switch_info.h"

#include "../framework/info_list.h"
#include "switch.h"

namespace {

using namespace lbx::switch_source;

static_assert(std::size(kLayout) == kSwitchModuleSize);

constexpr InfoRow kRows[] = {
    LBX_TYPE(SOURCE_SWITCH, kSources, "constant whole number", kNoneToMany)
        .params(kLayout, VANTORO_KEEPS)
        .traits(VANTORO_SOURCE),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kSwitchInfo = kRows;
