// SPDX-License-Identifier: Apache-2.0
#include "second_order_info.h"

#include "../framework/info_list.h"

namespace {

using namespace lbx::second_order;

static_assert(std::size(kGeneralLayout) == kGeneralModuleSize);
static_assert(std::size(kParamShelfLayout) == kParamShelfModuleSize);
static_assert(std::size(kCommonLayout) == kCommonModuleSize);
static_assert(std::size(kBesselButterLayout) == kBesselButterModuleSize);
static_assert(std::size(kToneLayout) == kToneModuleSize);
static_assert(std::size(kIirLayout) == kIIRModuleSize);
static_assert(std::size(kFirstOrdersLayout) == kFirstOrdersModuleSize);
static_assert(std::size(kNonBareLayout) == kNonBareModuleSize);

template <std::size_t kCount>
constexpr InfoRow one_section(InfoRow row, const VantoroSlot (&layout)[kCount])
{
    return row.params(layout, VANTORO_RESTARTS).traits(VANTORO_DENORMALS).linear(linear_model);
}

constexpr InfoRow kRows[] = {
    one_section(LBX_TYPE(FILTER_2ND_GENERAL, kFilters, "second-order filter, all responses", kSame), kGeneralLayout),
    one_section(LBX_TYPE(FILTER_2ND_PARAM_SHELF, kFilters, "peak or shelf", kSame), kParamShelfLayout),
    one_section(LBX_TYPE(FILTER_2ND_COMMON, kFilters, "second-order filter, common responses", kSame), kCommonLayout),
    one_section(LBX_TYPE(FILTER_2ND_BESSEL_BUTTER, kFilters, "Bessel or Butterworth", kSame), kBesselButterLayout),
    one_section(LBX_TYPE(FILTER_2ND_TONE, kFilters, "bass and treble", kSame), kToneLayout),
    one_section(LBX_TYPE(FILTER_2ND_IIR, kFilters, "second-order section by coefficients", kSame), kIirLayout),
    one_section(LBX_TYPE(FILTER_2ND_FIRSTORDERS, kFilters, "two first-order filters", kSame), kFirstOrdersLayout),
};

constexpr InfoRow kNonBareRows[] = {
    one_section(LBX_TYPE(FILTER_NONBARE, kFilters, "second-order all-pass", kSame), kNonBareLayout),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kSecondOrderInfo = kRows;
constinit const lbx::info::InfoRows lbx::info::kNonBareInfo = kNonBareRows;  // its code stands apart
