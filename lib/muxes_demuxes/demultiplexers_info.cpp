// SPDX-License-Identifier: Apache-2.0
#include "demultiplexers_info.h"

#include "../framework/info_list.h"
#include "demultiplexers.h"

namespace {

using namespace lbx::demultiplexers;

static_assert(std::size(kSwitchLayout) == kDeMuxesSwitchModuleSize &&
              std::size(kIndexLayout) == kDeMuxesIndexModuleSize);

constexpr unsigned kTraits = VANTORO_UNWRITTEN_OUTPUTS | VANTORO_CLEAR_OUTPUTS;

constexpr VantoroModule kSwitchModule =
    LBX_FUNCTIONS("muxes_demuxes/demultiplexers.h", DeMultiplexers_Switch_init, DeMultiplexers_Switch_param_set,
                  DeMultiplexers_Switch_param_update, DeMultiplexers_Switch_process, DeMultiplexers_destroy);
constexpr VantoroModule kIndexModule =
    LBX_FUNCTIONS("muxes_demuxes/demultiplexers.h", DeMultiplexers_Index_init, DeMultiplexers_Index_param_set,
                  DeMultiplexers_Index_param_update, DeMultiplexers_Index_process, DeMultiplexers_destroy);

constexpr InfoRow kRows[] = {
    LBX_TYPE(MUXES_DEMUXES_SWITCH, kSwitching, "the inputs to one of k groups of outputs", kSwitchPins)
        .by(kSwitchModule)
        .params(kSwitchLayout, VANTORO_GLIDES)
        .traits(kTraits)
        .linear(linear_model),
    LBX_TYPE(MUXES_DEMUXES_INDEX, kSwitching, "the inputs to one of k groups of outputs, by a pin", kIndexPins)
        .by(kIndexModule)
        .pins(kGroup)
        .params(kIndexLayout, VANTORO_KEEPS)
        .traits(kTraits)
        .linear(linear_model),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kDemultiplexersInfo = kRows;
