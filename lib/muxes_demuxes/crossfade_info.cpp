// SPDX-License-Identifier: Apache-2.0
#include "crossfade_info.h"

#include "../framework/info_list.h"
#include "crossfade.h"

namespace {

using namespace lbx::crossfade;

static_assert(std::size(kLayout) == kCrossfadeModuleSize);

constexpr VantoroPinRule kPinRule = rule("2n + 1 -> n", pins(VANTORO_N, 2, 1), pins(VANTORO_N), 3, 1);
constexpr VantoroPin kPins[] = {
    control(0, "choice", "from 1 on the second input of each pair, else the first; its first sample, once a block"),
    pin(0, 0, 1, -1, 2, "first", "of each pair"), pin(0, 0, 2, -1, 2, "second", "of each pair")};

constexpr InfoRow kRows[] = {
    LBX_TYPE(MUXES_CROSSFADE, kSwitching, "one of each pair of inputs, by a pin, with a fade", kPinRule)
        .pins(kPins)
        .params(kLayout, VANTORO_KEEPS)
        .linear(linear_model),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kCrossfadeInfo = kRows;
