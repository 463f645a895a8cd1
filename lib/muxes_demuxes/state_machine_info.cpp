// SPDX-License-Identifier: Apache-2.0
#include "state_machine_info.h"

#include "../framework/info_list.h"

namespace {

using namespace lbx::state_machine;

constexpr VantoroTable kRanges =
    rows_per(VANTORO_PER_OUTPUT, "ranges", kRange, "an output is open while the control is in its range");
constexpr VantoroSlot kLayout[] = {rows(kRanges)};
constexpr VantoroPin kState[] = {control(0, "state", "compared with the ranges; its first sample, once a block")};

constexpr InfoRow kRows[] = {
    LBX_TYPE(MUXES_STATE_MACHINE, kSwitching, "each signal while a control is in its range", kControlled)
        .pins(kState)
        .params(kLayout, VANTORO_KEEPS)
        .traits(VANTORO_PARAMS_IN_PLACE | VANTORO_CONTIGUOUS_PINS),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kStateMachineInfo = kRows;
