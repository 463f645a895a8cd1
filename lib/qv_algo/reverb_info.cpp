// SPDX-License-Identifier: Apache-2.0
#include "reverb_info.h"

#include "../framework/info_list.h"
#include "../kernels/delay_line.h"
#include "reverb.h"

namespace {

using namespace lbx::reverb;

static_assert(std::size(kLayout) == kReverbModuleSize);

// The record counts a block in 16 bits, and what is left of whole groups is not written.
constexpr int kMaxBlock = std::numeric_limits<decltype(Reverb_Core::frame_size)>::max() / lbx::kGroup * lbx::kGroup;

constexpr VantoroPinRule kToFour = rule("n -> n, n to 4", pins(VANTORO_N), pins(VANTORO_N), 2, 2, 1, 4);

constexpr InfoRow kRows[] = {
    LBX_TYPE(QVALGO_REVERB, lbx::info::kReverb, "room", kToFour)
        .params(kLayout, VANTORO_KEEPS)
        .traits(VANTORO_DENORMALS | VANTORO_UNWRITTEN_OUTPUTS | VANTORO_CLEAR_OUTPUTS)
        .blocks(lbx::kGroup, kMaxBlock),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kReverbInfo = kRows;
