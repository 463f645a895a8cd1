// SPDX-License-Identifier: Apache-2.0
#include "mute.h"

#include <algorithm>

#include "../framework/clear_state.h"
#include "../framework/new_block.h"
#include "../framework/params.h"
#include "../kernels/ramp.h"
#include "mute_info.h"

using namespace lbx;

namespace {

constexpr ParamLabel kLabels[] = {{"Switch"}, {"SlewFlag"}};
constexpr float kSlewAlpha = 0.98F;

// Another number than 0 and 1 leaves the target as it is.
void take_target(Mute_Core* core, int switch_state)
{
    if (switch_state == 0)
        core->gain_now = 1.0F;
    if (switch_state == 1)
        core->gain_now = 0.0F;
}

}  // namespace

[[gnu::cold]] void lbx::mute::linear_model(const BlockAlgo* blk, const Paths& paths)
{
    const auto* core = core_of<Mute_Core>(blk);
    const bool off = core->slew_flag != 0 ? core->gain_now == 0.0F : core->switch_state == 1;
    for (int ch = 0; ch < blk->nOutputs; ++ch)
        paths.path(ch, ch, off ? 0 : 1);
}

BlockAlgo* Mute_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    if (!info::pins_fit(info::kSame, nInputs, nOutputs)) {
        LBX_LOG("wrong input pin number in Mute\n");
        return nullptr;
    }
    NewBlock blk = new_block(nInputs, nOutputs, block_pro, type);
    auto* core = new_core<Mute_Core>(blk);
    if (!core || !zeros(blk->pParam, kMuteModuleSize))
        return nullptr;
    std::ranges::copy(kInitial<mute::kLayout>, blk->pParam);
    core->pre_div = sample_share(block_pro);
    core->slew_rate = kSlewAlpha;
    Mute_param_set(blk.get(), nullptr);
    return blk.release();
}

int Mute_param_set(BlockAlgo* blk, float* param)
{
    auto* core = core_of<Mute_Core>(blk);
    copy_params(blk->pParam, param, kMuteModuleSize);
    core->switch_state = to_int(blk->pParam[kMuteSwitch]);
    core->slew_flag = to_int(blk->pParam[kMuteSlewFlag]);
    take_target(core, core->switch_state);
    return 0;
}

int Mute_param_update(BlockAlgo* /*blk*/) { return 0; }

int Mute_param_invoke(BlockAlgo* blk)
{
    print_params(__func__, "Mute", kLabels, blk->pParam);
    return 0;
}

void Mute_Render_noslew(Mute_Core* /*core*/, float** data_in, float** data_out, int nChannels, int nBlockSize,
                        int switch_state)
{
    for (int ch = 0; ch < nChannels; ++ch)
        if (switch_state == 1)
            clear(data_out[ch], nBlockSize);
        else
            copy(data_in[ch], data_out[ch], nBlockSize);
}

void Mute_Render_slew(Mute_Core* core, float** data_in, float** data_out, int nChannels, int nBlockSize,
                      int switch_state)
{
    if (core->old_gain == core->gain_now) {
        Mute_Render_noslew(core, data_in, data_out, nChannels, nBlockSize, switch_state);
        return;
    }
    const Glide g = glide(core->old_gain, core->gain_now, core->slew_rate, core->pre_div);
    ramp(g, data_in, data_out, nChannels, nBlockSize);
    core->old_gain = settle_any(g, core->gain_now);
}

int Mute_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    auto* core = core_of<Mute_Core>(blk);
    const auto render = core->slew_flag != 0 ? Mute_Render_slew : Mute_Render_noslew;
    render(core, data_in, data_out, blk->nOutputs, blk->block_pro->nBlockSize, core->switch_state);
    return 0;
}

void clear_state::mute(BlockAlgo* blk)
{
    auto* core = core_of<Mute_Core>(blk);
    core->old_gain = 0.0F;
    take_target(core, to_int(mute::kLayout[kMuteSwitch].param->initial));
    take_target(core, core->switch_state);
}

int Mute_destroy(BlockAlgo* blk) { return free_block(blk); }
