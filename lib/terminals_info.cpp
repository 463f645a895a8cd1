// SPDX-License-Identifier: Apache-2.0
// The graph's terminals: bare records, whose audio the host moves.
#include "framework/info.h"
#include "framework/info_list.h"

namespace {

using namespace lbx::info;

constexpr VantoroPinRule kEntry = rule("0 -> n", pins(0), pins(VANTORO_N), 0, 2);
constexpr VantoroPinRule kExit = rule("n -> 0", pins(VANTORO_N), pins(0), 2, 0);

constexpr InfoRow kRows[] = {
    LBX_TYPE(IN_AUDIO_INPUT, kInputs, "the graph's audio inputs", kEntry).traits(VANTORO_TERMINAL),
    LBX_TYPE(IN_MULTI_INPUT, kInputs, "the graph's audio inputs", kEntry).traits(VANTORO_TERMINAL),
    LBX_TYPE(IN_CORE_INPUT, kInputs, "the graph's audio inputs", kEntry).traits(VANTORO_TERMINAL),
    LBX_TYPE(OUT_SINK, kOutputs, "the graph's audio outputs", kExit).traits(VANTORO_TERMINAL),
    LBX_TYPE(OUT_MULTI_OUTPUT, kOutputs, "the graph's audio outputs", kExit).traits(VANTORO_TERMINAL),
    LBX_TYPE(OUT_CORE_OUTPUT, kOutputs, "the graph's audio outputs", kExit).traits(VANTORO_TERMINAL),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kTerminalsInfo = kRows;
