// SPDX-License-Identifier: Apache-2.0
#include "gain_envelope_info.h"

#include "../framework/info_list.h"
#include "gain_envelope.h"

namespace {

using namespace lbx::gain_envelope;

static_assert(std::size(kLayout) == kGainEnvelopeParamOffset + 1);

constexpr VantoroPin kUnread[] = {control(0, "unused", "not read")};

constexpr InfoRow kRows[] = {
    LBX_TYPE(VC_GAINENVELOPE, kVolume, "gain along a curve in time", kControlled)
        .pins(kUnread)
        .params(kLayout, VANTORO_RESTARTS),
};

}  // namespace

constinit const lbx::info::InfoRows lbx::info::kGainEnvelopeInfo = kRows;
