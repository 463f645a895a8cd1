// SPDX-License-Identifier: Apache-2.0
#include "demultiplexers_info.h"

#include "../framework/info_list.h"
#include "demultiplexers.h"

namespace {

using namespace lbx::demultiplexers;

static_assert(std::size(kSwitchLayout) == kDeMuxesSwitchModuleSize &&
              std::size(kIndexLayout) == kDeMuxesIndexModuleSize);

constexpr unsigned kTraits = VANTORO_UNWRITTEN_OUTPUTS | VANTORO_CLEAR_OUTPUTS;

constexpr InfoRow kRows[] = {
    LBX_TYPE(MUXES_DEMUXES_SWITCH, kSwitching, "the inputs to one of k groups of outputs", kSwitchPins)
        .params(kSwitchLayout, VANTORO_GLIDES)
        .traits(kTraits)
        .linear(linear_model),
    LBX_TYPE(MUXES_DEMUXES_INDEX, kSwitching, "the inputs to one of k groups of outputs, by a pin", kIndexPins)
        .pins(kGroup)
        .params(kIndexLayout, VANTORO_KEEPS)
        .traits(kTraits)
        .linear(linear_model),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kDemultiplexersInfo = kRows;
