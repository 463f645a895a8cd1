// SPDX-License-Identifier: Apache-2.0
#include "mute_info.h"

#include "../framework/info_list.h"
#include "mute.h"

namespace {

using namespace lbx::mute;

static_assert(std::size(kLayout) == kMuteModuleSize);

constexpr InfoRow kRows[] = {
    // Glides while `slew` is on, as it is by default, and stays on.
    LBX_TYPE(VC_MUTE, kVolume, "mute", kSame).params(kLayout, VANTORO_GLIDES).linear(linear_model),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kMuteInfo = kRows;
