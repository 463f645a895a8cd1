// SPDX-License-Identifier: Apache-2.0
#include "../common/category.h"
#include "../common/dispatch.h"
#include "first_order.h"
#include "look_up.h"
#include "second_order.h"

namespace {
constexpr lbx::BlockOps kFilters[] = {
    {EN_FILTER_1ST, EN_FILTER_1ST, LBX_OPS(FirstOrder)},
    {EN_FILTER_2ND_GENERAL, EN_FILTER_2ND_FIRSTORDERS, LBX_OPS(SecondOrder)},
    {EN_FILTER_NONBARE, EN_FILTER_NONBARE, LBX_OPS(NonBare)},
    {EN_FILTER_LOOKUP_TONE_PEAK, EN_FILTER_LOOKUP_BUTTER_BESSEL, LBX_OPS(LookUp)},
};
static_assert(lbx::ascending(kFilters));
}  // namespace

LBX_CATEGORY(FILTER, kFilters, "wrong input type in FILTER\n", 1)
