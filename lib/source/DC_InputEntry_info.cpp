// SPDX-License-Identifier: Apache-2.0
#include "DC_InputEntry_info.h"

#include "../framework/info_list.h"
#include "DC_InputEntry.h"

namespace {

using namespace lbx::dc;

static_assert(std::size(kLayout) == kDCModuleSize);

constexpr InfoRow kRows[] = {
    LBX_TYPE(SOURCE_DC, kSources, "constant", kNoneToMany).params(kLayout, VANTORO_KEEPS).traits(VANTORO_SOURCE),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kDcInfo = kRows;
