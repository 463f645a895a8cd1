// SPDX-License-Identifier: Apache-2.0
#include "../common/category.h"
#include "../framework/dispatch.h"
#include "adjustable_gain.h"
#include "gain_envelope.h"
#include "mute.h"

namespace {

constexpr lbx::BlockOps kVc[] = {
    {{EN_VC_SIG_CONTROL, EN_VC_MULTI_CONTROL},
     Adjust_Gain_init,
     AdjustableGain_param_set,
     lbx::reapply<AdjustableGain_param_set>,
     AdjustableGain_param_invoke,
     AdjustableGain_process,
     AdjustableGain_destroy,
     lbx::clear_state::nothing},
    {{EN_VC_SIG_CONTROL_SLEW, EN_VC_SIG_EXT_CONTROL_SLEW},
     Adjust_SlewGain_init,
     AdjustableSlewGain_param_set,
     lbx::reapply<AdjustableSlewGain_param_set>,
     AdjustableGain_param_invoke,
     AdjustableGain_process,
     AdjustableGain_destroy,
     lbx::clear_state::adjustable_gain},
    {EN_VC_GAINENVELOPE, LBX_OPS(GainEnvelope), lbx::clear_state::gain_envelope},
    {EN_VC_MUTE, LBX_OPS(Mute), lbx::clear_state::mute},
};

}  // namespace

LBX_CATEGORY(VC, kVc, "wrong input type in VC\n", 1)
