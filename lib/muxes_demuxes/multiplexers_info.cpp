// SPDX-License-Identifier: Apache-2.0
#include "multiplexers_info.h"

#include "../framework/info_list.h"
#include "multiplexers.h"

namespace {

using namespace lbx::multiplexers;

static_assert(std::size(kSwitchLayout) == kMuxesSwitchModuleSize && std::size(kIndexLayout) == kMuxesIndexModuleSize);

constexpr VantoroModule kSwitchModule =
    LBX_FUNCTIONS("muxes_demuxes/multiplexers.h", Multiplexers_Switch_init, Multiplexers_Switch_param_set,
                  Multiplexers_Switch_param_update, Multiplexers_Switch_process, Multiplexers_destroy);
constexpr VantoroModule kIndexModule =
    LBX_FUNCTIONS("muxes_demuxes/multiplexers.h", Multiplexers_Index_init, Multiplexers_Index_param_set,
                  Multiplexers_Index_param_update, Multiplexers_Index_process, Multiplexers_destroy);

constexpr InfoRow kRows[] = {
    LBX_TYPE(MUXES_MUXES_SWITCH, kSwitching, "one of k groups of inputs", kSwitchPins)
        .by(kSwitchModule)
        .params(kSwitchLayout, VANTORO_GLIDES)
        .linear(linear_model),
    LBX_TYPE(MUXES_MUXES_INDEX, kSwitching, "one of k groups of inputs, by a pin", kIndexPins)
        .by(kIndexModule)
        .pins(kGroup)
        .params(kIndexLayout, VANTORO_KEEPS)
        .linear(linear_model),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kMultiplexersInfo = kRows;
