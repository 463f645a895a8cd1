// SPDX-License-Identifier: Apache-2.0
#include "schematic_design_info.h"

#include "../framework/info_list.h"
#include "schematic_design.h"

namespace {

using namespace lbx::schematic_design;

static_assert(std::size(kSoftLayout) == kNLPModuleSize);

constexpr VantoroPin kLimits[] = {control(0, "upper", "upper limit, sample by sample; tested first"),
                                  control(1, "lower", "lower limit, sample by sample")};

constexpr InfoRow kRows[] = {
    LBX_TYPE(NLP_CLIPPERS_HARD, kNonLinear, "clipper between limits from pins", kLimited).pins(kLimits),
    LBX_TYPE(NLP_CLIPPERS_SOFT, kNonLinear, "cubic soft clipper", kSame).params(kSoftLayout, VANTORO_KEEPS),
    LBX_TYPE(NLP_CHANNEL_COPY, kNonLinear, "one input copied to every output", kFromOne).linear(copy_model),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kSchematicDesignInfo = kRows;
