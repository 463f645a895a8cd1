// SPDX-License-Identifier: Apache-2.0
#include "../common/category.h"
#include "../framework/dispatch.h"
#include "crossover.h"
#include "fir.h"
#include "first_order.h"
#include "graphical_eq.h"
#include "look_up.h"
#include "miscellaneous.h"
#include "second_order.h"
#include "text_eq.h"

using namespace lbx;

namespace {

constexpr BlockOps kFilters[] = {
    {EN_FILTER_1ST, LBX_OPS(FirstOrder), clear_state::first_order},
    {{EN_FILTER_2ND_GENERAL, EN_FILTER_2ND_FIRSTORDERS}, LBX_OPS(SecondOrder), clear_state::second_order},
    {EN_FILTER_TEXTEQ, LBX_OPS(TextEQ), clear_state::text_eq},
    {EN_FILTER_NONBARE, LBX_OPS(NonBare), clear_state::second_order},
    {EN_FILTER_FIR, LBX_OPS(FIR), clear_state::fir},
    {EN_FILTER_CROSSOVER_2WAY, LBX_OPS(Crossover2Way), clear_state::crossover},
    {EN_FILTER_CROSSOVER_3WAY, LBX_OPS(Crossover3Way), clear_state::crossover},
    {EN_FILTER_MISCE_DCBLOCKING, LBX_OPS(DCBlocking), clear_state::dc_blocking},
    {EN_FILTER_MISCE_STATEVARIABLE, LBX_OPS(StateVariable), clear_state::state_variable},
    {EN_FILTER_MISCE_STATEVARIABLEQ, LBX_OPS(StateVariableQ), clear_state::state_variable},
    {{EN_FILTER_LOOKUP_TONE_PEAK, EN_FILTER_LOOKUP_BUTTER_BESSEL}, LBX_OPS(LookUp), clear_state::look_up},
    {EN_FILTER_GRAPHICAL_EQ, LBX_OPS(GraphicalEQ), clear_state::graphical_eq},
};

}  // namespace

LBX_CATEGORY(FILTER, kFilters, "wrong input type in FILTER\n", 1)
