// SPDX-License-Identifier: Apache-2.0
#include "multiplexers_info.h"

#include "../framework/info_list.h"
#include "multiplexers.h"

namespace {

using namespace lbx::multiplexers;

static_assert(std::size(kSwitchLayout) == kMuxesSwitchModuleSize && std::size(kIndexLayout) == kMuxesIndexModuleSize);

constexpr InfoRow kRows[] = {
    LBX_TYPE(MUXES_MUXES_SWITCH, kSwitching, "one of k groups of inputs", kSwitchPins)
        .params(kSwitchLayout, VANTORO_GLIDES)
        .linear(linear_model),
    LBX_TYPE(MUXES_MUXES_INDEX, kSwitching, "one of k groups of inputs, by a pin", kIndexPins)
        .pins(kGroup)
        .params(kIndexLayout, VANTORO_KEEPS)
        .linear(linear_model),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kMultiplexersInfo = kRows;
