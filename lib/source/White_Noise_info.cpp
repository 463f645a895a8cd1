// SPDX-License-Identifier: Apache-2.0
#include "White_Noise_info.h"

#include "../framework/info_list.h"
#include "White_Noise.h"

namespace {

using namespace lbx::white_noise;

static_assert(std::size(kLayout) == kWhiteNoiseModuleSize);

constexpr InfoRow kRows[] = {
    LBX_TYPE(SOURCE_WHITENOISE, kSources, "Gaussian white noise, up to 6 deviations", kNoneToMany)
        .params(kLayout, VANTORO_KEEPS)
        .traits(VANTORO_SOURCE | VANTORO_RANDOM),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kWhiteNoiseInfo = kRows;
