// SPDX-License-Identifier: Apache-2.0
#include "miscellaneous_info.h"

#include "../framework/info_list.h"

namespace {

using namespace lbx::miscellaneous;

static_assert(std::size(kStateVariableLayout) == kStateVariableModuleSize);

constexpr VantoroPin kStateVariable[] = {output(0, "low"), output(1, "high"), output(2, "band")};
constexpr VantoroPin kStateVariableQ[] = {control(0, "q", "above 0; read once a block"), input(1, "signal"),
                                          output(0, "low"), output(1, "high"), output(2, "band")};

constexpr InfoRow kRows[] = {
    LBX_TYPE(FILTER_MISCE_DCBLOCKING, kFilters, "removes DC", kSame).traits(VANTORO_DENORMALS).linear(dc_linear_model),
    LBX_TYPE(FILTER_MISCE_STATEVARIABLE, kFilters, "state-variable filter", kOneThree)
        .pins(kStateVariable)
        .params(kStateVariableLayout, VANTORO_RESTARTS)
        .traits(VANTORO_DENORMALS)
        .linear(state_variable_linear_model),
    LBX_TYPE(FILTER_MISCE_STATEVARIABLEQ, kFilters, "state-variable filter, Q from a pin", kTwoThree)
        .pins(kStateVariableQ)
        .params(kStateVariableQLayout, VANTORO_RESTARTS)
        .traits(VANTORO_DENORMALS)
        .linear(state_variable_linear_model),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kMiscellaneousInfo = kRows;
