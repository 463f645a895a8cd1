// SPDX-License-Identifier: Apache-2.0
#include "clime_frequency_info.h"

#include "../framework/info_list.h"

namespace {

using namespace lbx::clime;

static_assert(std::size(kLayout) == kClimeModuleSize + 1);  // the points come last

constexpr InfoRow kRows[] = {
    LBX_TYPE(SOURCE_CLIME, kSources, "sine through points of frequency and level", kNoneToMany)
        .params(kLayout, VANTORO_RESTARTS)
        .traits(VANTORO_SOURCE),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kClimeInfo = kRows;
