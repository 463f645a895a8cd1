// SPDX-License-Identifier: Apache-2.0
#include "adjustable_gain.h"

#include <algorithm>

#include "../framework/clear_state.h"
#include "../framework/dispatch.h"
#include "../framework/new_block.h"
#include "../framework/params.h"
#include "../kernels/fast_inline.h"
#include "../kernels/ramp.h"
#include "../math/rounded.h"
#include "adjustable_gain_info.h"

using namespace lbx;

namespace {

constexpr int kProcessed = 1;

struct GainKind {
    Codes codes;
    bool slewed, per_channel;
    int controls;  // pins before the signals
    int (*render)(AdjustableGain_Core*, float**, float**, int, int);
};

constexpr GainKind kKinds[] = {
    {EN_VC_SIG_CONTROL, false, false, 0, Adjust_Gain_SigRender},
    {EN_VC_MULTI_CONTROL, false, true, 0, Adjust_Gain_MultiRender},
    {EN_VC_SIG_CONTROL_SLEW, true, false, 0, Adjust_Gain_SigRender_Slew},
    {EN_VC_MULTI_CONTROL_SLEW, true, true, 0, Adjust_Gain_MultiRender_Slew},
    {EN_VC_SIG_EXT_CONTROL_SLEW, true, false, 1, Adjust_Gain_Ext_SigRender_Slew},
};

const GainKind& kind_of(int type) { return *row_of<kKinds>(type); }

// The labels are those of the first type; for the slewed ones the two values stand under each other's name. Kept.
constexpr ParamLabel kLabels[] = {{"Volume"}, {"SlewRate"}};

// The kind that these pins fit, or null.
const GainKind* fitting(int type, int nInputs, int nOutputs)
{
    const GainKind* kind = row_of<kKinds>(type);
    if (!kind || nInputs < 1)
        return nullptr;
    const bool fits = kind->controls > 0 ? info::pins_agree(info::kControlled, nInputs, nOutputs)
                                         : info::pins_agree(info::kSame, nInputs, nOutputs);
    return fits ? kind : nullptr;
}

int gain_count(const GainKind& kind, const BlockAlgo* blk) { return kind.per_channel ? blk->nOutputs : 1; }

// Volumes in the vector; a control pin replaces them.
int volume_count(const GainKind& kind, const BlockAlgo* blk) { return kind.controls > 0 ? 0 : gain_count(kind, blk); }

BlockAlgo* init(const GainKind& kind, int nInputs, int nOutputs, BlockPro* pro)
{
    NewBlock blk = new_block(nInputs, nOutputs, pro, kind.codes.first);
    auto* core = new_core<AdjustableGain_Core>(blk);
    // The print shows two entries of every type.
    if (!core || !zeros(blk->pParam, std::max<std::ptrdiff_t>(2, std::ptrdiff_t{nOutputs} + 1)))
        return nullptr;
    const int gains = gain_count(kind, blk.get());
    if (!zeros(blk->pStateB, gains) || (kind.slewed && !zeros(blk->pStateC, gains)))
        return nullptr;
    core->value = blk->pStateB;
    core->old_value = blk->pStateC;
    std::fill_n(core->value, gains, 1.0F);
    if (kind.slewed) {
        blk->pParam[kAdjustableGainSlewRate] = adjustable_gain::kSlewRate.initial;
        core->pre_div = sample_share(pro);
        AdjustableSlewGain_param_set(blk.get(), nullptr);
    }
    return blk.release();
}

void derive_gains(BlockAlgo* blk, const float* param)
{
    const GainKind& kind = kind_of(blk->method_type);
    const int first = kind.slewed ? kAdjustableGainVolume : 0;
    const int volumes = volume_count(kind, blk);
    copy_params(blk->pParam, param, first + volumes);
    for (int k = 0; k < volumes; ++k)
        core_of<AdjustableGain_Core>(blk)->value[k] =
            rounded::pow(10.0F, static_cast<float>(static_cast<double>(blk->pParam[first + k]) * 0.05));
}

void scale_all(const float* gain, std::ptrdiff_t gain_stride, float** in, float** out, int channels, int n)
{
    for (int ch = 0; ch < channels; ++ch)
        scale(in[ch], out[ch], gain[ch * gain_stride], n);
}

// Up to eight channels with gliding gains of their own.
constexpr int kGroup = 8;
void glide_group(AdjustableGain_Core* core, int first, float** in, float** out, int channels, int n)
{
    float* value = core->value + first;
    float* old = core->old_value + first;
    if (std::equal(old, old + channels, value)) {
        scale_all(value, 1, in, out, channels, n);
        return;
    }
    float gain[kGroup];
    float step[kGroup];
    for (int ch = 0; ch < channels; ++ch) {
        const Glide g = old[ch] == value[ch] ? Glide{old[ch], old[ch], 0.0F}
                                             : glide(old[ch], value[ch], core->attack_gain, core->pre_div);
        gain[ch] = g.from;
        step[ch] = g.step;
        old[ch] = settle_any(g, value[ch]);
    }
    ramps(gain, step, in, out, channels, n);
}

}  // namespace

[[gnu::cold]] void lbx::adjustable_gain::linear_model(const BlockAlgo* blk, const Paths& paths)
{
    const GainKind& kind = kind_of(blk->method_type);
    const float* gain = core_of<AdjustableGain_Core>(blk)->value;
    for (int ch = 0; ch < blk->nOutputs; ++ch)
        paths.path(kind.controls + ch, ch, static_cast<double>(gain[kind.per_channel ? ch : 0]));
}

BlockAlgo* Adjust_Gain_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    const GainKind* kind = fitting(type, nInputs, nOutputs);
    if (!kind) {
        LBX_LOG("wrong input pin number in AdjustableGain\n");
        return nullptr;
    }
    return init(*kind, nInputs, nOutputs, block_pro);
}

BlockAlgo* Adjust_SlewGain_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    const GainKind* kind = fitting(type, nInputs, nOutputs);
    if (!kind) {
        LBX_LOG("wrong input pin number in AdjustableGain\n");
        return nullptr;
    }
    return init(*kind, nInputs, nOutputs, block_pro);
}

int AdjustableGain_param_set(BlockAlgo* blk, float* param)
{
    derive_gains(blk, param);
    return 0;
}

int AdjustableSlewGain_param_set(BlockAlgo* blk, float* param)
{
    derive_gains(blk, param);
    const float rate = clamp_back(blk->pParam[kAdjustableGainSlewRate], adjustable_gain::kSlewRate.clamp);
    core_of<AdjustableGain_Core>(blk)->attack_gain = slew_alpha(rate, blk->block_pro);
    return 0;
}

int AdjustableGain_param_update(BlockAlgo* /*blk*/) { return 0; }

int AdjustableSlewGain_param_update(BlockAlgo* /*blk*/) { return 0; }

int AdjustableGain_param_invoke(BlockAlgo* blk)
{
    print_params(__func__, "AdjustableGain", kLabels, blk->pParam);
    return 0;
}

int Adjust_Gain_SigRender(AdjustableGain_Core* core, float** data_in, float** data_out, int nChannels, int nBlockSize)
{
    scale_all(core->value, 0, data_in, data_out, nChannels, nBlockSize);
    return kProcessed;
}

int Adjust_Gain_MultiRender(AdjustableGain_Core* core, float** data_in, float** data_out, int nChannels, int nBlockSize)
{
    scale_all(core->value, 1, data_in, data_out, nChannels, nBlockSize);
    return kProcessed;
}

int Adjust_Gain_SigRender_Slew(AdjustableGain_Core* core, float** data_in, float** data_out, int nChannels,
                               int nBlockSize)
{
    if (core->old_value[0] == core->value[0])
        return Adjust_Gain_SigRender(core, data_in, data_out, nChannels, nBlockSize);
    const Glide g = glide(core->old_value[0], core->value[0], core->attack_gain, core->pre_div);
    ramp(g, data_in, data_out, nChannels, nBlockSize);
    core->old_value[0] = settle_any(g, core->value[0]);
    return kProcessed;
}

int Adjust_Gain_MultiRender_Slew(AdjustableGain_Core* core, float** data_in, float** data_out, int nChannels,
                                 int nBlockSize)
{
    for (int first = 0; first < nChannels; first += kGroup)
        glide_group(core, first, data_in + first, data_out + first, std::min(kGroup, nChannels - first), nBlockSize);
    return kProcessed;
}

int Adjust_Gain_Ext_SigRender_Slew(AdjustableGain_Core* core, float** data_in, float** data_out, int nChannels,
                                   int nBlockSize)
{
    float target = data_in[0][0];
    if (core->old_value[0] != 0.0F)
        target = static_cast<float>(fast_exp(static_cast<double>(0.1151F * target)));
    const Glide g = glide(core->value[0], target, core->attack_gain, core->pre_div);
    core->value[0] = g.to;  // never settles: the control may move with every block
    ramp(g, data_in + 1, data_out, nChannels, nBlockSize);
    return kProcessed;
}

int AdjustableGain_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    return kind_of(blk->method_type)
        .render(core_of<AdjustableGain_Core>(blk), data_in, data_out, blk->nOutputs, blk->block_pro->nBlockSize);
}

// Slewed types fade in from silence; the gain that a pin moves starts from 1.
void clear_state::adjustable_gain(BlockAlgo* blk)
{
    const GainKind& kind = kind_of(blk->method_type);
    auto* core = core_of<AdjustableGain_Core>(blk);
    if (kind.controls > 0)
        core->value[0] = 1.0F;
    else
        std::fill_n(core->old_value, gain_count(kind, blk), 0.0F);
}

int AdjustableGain_destroy(BlockAlgo* blk) { return free_block(blk); }
