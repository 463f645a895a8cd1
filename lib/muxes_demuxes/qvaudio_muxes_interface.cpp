// SPDX-License-Identifier: Apache-2.0
#include "../common/category.h"
#include "../framework/dispatch.h"
#include "crossfade.h"
#include "demultiplexers.h"
#include "multiplexers.h"
#include "state_machine.h"

using namespace lbx;

namespace {

// A form of a module: the forms share the module's destroy.
#define FORM(stem, destroy) \
    stem##_init, stem##_param_set, stem##_param_update, stem##_param_invoke, stem##_process, destroy

constexpr BlockOps kMuxes[] = {
    {EN_MUXES_MUXES_SWITCH, FORM(Multiplexers_Switch, Multiplexers_destroy), clear_state::multiplexer},
    {EN_MUXES_MUXES_INDEX, FORM(Multiplexers_Index, Multiplexers_destroy), clear_state::multiplexer},
    {EN_MUXES_DEMUXES_SWITCH, FORM(DeMultiplexers_Switch, DeMultiplexers_destroy), clear_state::demultiplexer},
    {EN_MUXES_DEMUXES_INDEX, FORM(DeMultiplexers_Index, DeMultiplexers_destroy), clear_state::demultiplexer},
    {EN_MUXES_CROSSFADE, LBX_OPS(CrossFade), clear_state::crossfade},
    {EN_MUXES_STATE_MACHINE, LBX_OPS(State_Machine), clear_state::nothing},
};

}  // namespace

LBX_CATEGORY(MUXES, kMuxes, "wrong input type in MUXES\n", 1)
