// SPDX-License-Identifier: Apache-2.0
#include "mute.h"

#include <algorithm>

#include "../framework/new_block.h"
#include "../framework/params.h"
#include "../kernels/ramp.h"

namespace {

constexpr float kDefaults[kMuteModuleSize] = {0.0F, 1.0F};
constexpr lbx::ParamLabel kLabels[] = {{"Switch"}, {"SlewFlag"}};

Mute_Core* core_of(const BlockAlgo* blk) { return lbx::core_of<Mute_Core>(blk); }

}  // namespace

BlockAlgo* Mute_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    if (nInputs < 1 || nInputs != nOutputs) {
        LBX_LOG("wrong input pin number in Mute\n");
        return nullptr;
    }
    lbx::NewBlock blk = lbx::new_block(nInputs, nOutputs, block_pro, type, Mute_destroy);
    auto* core = lbx::new_core<Mute_Core>(blk);
    if (!core || !lbx::zeros(blk->pParam, kMuteModuleSize))
        return nullptr;
    std::ranges::copy(kDefaults, blk->pParam);
    core->pre_div = 1.0F / (static_cast<float>(block_pro->nBlockSize) + 1.0F);
    core->slew_rate = 0.98F;
    Mute_param_set(blk.get(), nullptr);
    return blk.release();
}

int Mute_param_set(BlockAlgo* blk, float* param)
{
    Mute_Core* core = core_of(blk);
    lbx::copy_params(blk->pParam, param, kMuteModuleSize);
    core->switch_state = lbx::to_int(blk->pParam[kMuteSwitch]);
    core->slew_flag = lbx::to_int(blk->pParam[kMuteSlewFlag]);
    if (core->switch_state == 0)
        core->gain_now = 1.0F;
    if (core->switch_state == 1)
        core->gain_now = 0.0F;
    return 0;
}

int Mute_param_update(BlockAlgo* /*blk*/) { return 0; }

int Mute_param_invoke(BlockAlgo* blk)
{
    lbx::print_params(__func__, "Mute", kLabels, blk->pParam);
    return 0;
}

void Mute_Render_noslew(Mute_Core* /*core*/, float** data_in, float** data_out, int nChannels, int nBlockSize,
                        int switch_state)
{
    for (int ch = 0; ch < nChannels; ++ch)
        if (switch_state == 1)
            lbx::clear(data_out[ch], nBlockSize);
        else
            lbx::copy(data_in[ch], data_out[ch], nBlockSize);
}

void Mute_Render_slew(Mute_Core* core, float** data_in, float** data_out, int nChannels, int nBlockSize,
                      int switch_state)
{
    if (core->old_gain == core->gain_now) {
        Mute_Render_noslew(core, data_in, data_out, nChannels, nBlockSize, switch_state);
        return;
    }
    const lbx::Glide g = lbx::glide(core->old_gain, core->gain_now, core->slew_rate, core->pre_div);
    lbx::ramp(g, data_in, data_out, nChannels, nBlockSize);
    core->old_gain = lbx::settle_any(g, core->gain_now);
}

int Mute_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    Mute_Core* core = core_of(blk);
    const auto render = core->slew_flag != 0 ? Mute_Render_slew : Mute_Render_noslew;
    render(core, data_in, data_out, blk->nOutputs, blk->block_pro->nBlockSize, core->switch_state);
    return 0;
}

int Mute_destroy(BlockAlgo* blk) { return lbx::free_block(blk); }
