// SPDX-License-Identifier: Apache-2.0
#include "crossover_info.h"

#include "../framework/info_list.h"

namespace {

using namespace lbx::crossover;

static_assert(std::size(kTwoWayLayout) == kCrossover2WayModuleSize);
static_assert(std::size(kThreeWayLayout) == kCrossover3WayModuleSize);
static_assert(int{kCrossover2WayHighGainDB} == int{kCrossover3WayHighGainDB});  // they begin alike

constexpr VantoroPin band(int first, int of, std::string_view name)
{
    return pin(1, 0, first, -1, of, name, "of each input");
}
constexpr VantoroPin kLowHigh[] = {band(0, 2, "low"), band(1, 2, "high")};
constexpr VantoroPin kLowHighMid[] = {band(0, 3, "low"), band(1, 3, "high"), band(2, 3, "mid")};

constexpr InfoRow kRows[] = {
    LBX_TYPE(FILTER_CROSSOVER_2WAY, kFilters, "two-way crossover", kTwoWay)
        .pins(kLowHigh)
        .params(kTwoWayLayout, VANTORO_KEEPS)
        .traits(VANTORO_DENORMALS)
        .linear(linear_model),
    LBX_TYPE(FILTER_CROSSOVER_3WAY, kFilters, "three-way crossover", kThreeWay)
        .pins(kLowHighMid)
        .params(kThreeWayLayout, VANTORO_KEEPS)
        .traits(VANTORO_DENORMALS)
        .linear(linear_model),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kCrossoverInfo = kRows;
