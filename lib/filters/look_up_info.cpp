// SPDX-License-Identifier: Apache-2.0
#include "look_up_info.h"

#include "../framework/info_list.h"

namespace {

using namespace lbx::look_up;

static_assert(std::size(kTonePeakLayout) == kTonePeakModuleSize);
static_assert(std::size(kCommonLayout) == kGeneralChebyshevModuleSize);
static_assert(std::size(kButterBesselLayout) == kButterBesselModuleSize);

constexpr VantoroPin kPins[] = {
    control(0, "curve", "index from 0, limited to the curves there are; read once a block")};

template <std::size_t kCount>
constexpr InfoRow curves_by_pin(InfoRow row, const VantoroSlot (&layout)[kCount])
{
    return row.pins(kPins).params(layout, VANTORO_KEEPS).traits(VANTORO_DENORMALS).linear(linear_model);
}

constexpr InfoRow kRows[] = {
    curves_by_pin(LBX_TYPE(FILTER_LOOKUP_TONE_PEAK, kFilters, "peak or shelf whose boost a pin selects", kControlled),
                  kTonePeakLayout),
    curves_by_pin(LBX_TYPE(FILTER_LOOKUP_COMMON, kFilters, "low- or high-pass whose corner a pin selects", kControlled),
                  kCommonLayout),
    curves_by_pin(LBX_TYPE(FILTER_LOOKUP_BUTTER_BESSEL, kFilters,
                           "Butterworth or Bessel filter whose corner a pin selects", kControlled),
                  kButterBesselLayout),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kLookUpInfo = kRows;
