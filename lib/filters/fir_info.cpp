// SPDX-License-Identifier: Apache-2.0
#include "fir_info.h"

#include "../framework/info_list.h"

namespace {

using namespace lbx::fir;

constexpr InfoRow kRows[] = {
    LBX_TYPE(FILTER_FIR, kFilters, "FIR filter", kSame).params(kLayout, VANTORO_KEEPS).linear(linear_model),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kFirInfo = kRows;
