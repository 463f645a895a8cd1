// SPDX-License-Identifier: Apache-2.0
#include "../framework/info.h"
#include "../framework/info_list.h"

namespace {

using namespace lbx::info;

constexpr VantoroPin kFrequencies[] = {
    pin(0, 1, 0, -1, 1, "frequency", "share of half the sampling rate, 0 to 1 (1 counts as 0.99); read once a block")};

constexpr InfoRow kRows[] = {
    LBX_TYPE(SOURCE_VCO, kSources, "sines whose frequencies come from pins", kSame)
        .pins(kFrequencies)
        .traits(VANTORO_SOURCE),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kVcoInfo = kRows;
