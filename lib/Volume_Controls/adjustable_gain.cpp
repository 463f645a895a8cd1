// SPDX-License-Identifier: Apache-2.0
#include "adjustable_gain.h"

#include <algorithm>
#include <cmath>

#include "../framework/dispatch.h"
#include "../framework/new_block.h"
#include "../framework/params.h"
#include "../kernels/fast_inline.h"
#include "../kernels/ramp.h"

namespace {

constexpr float kDefaultSlewRate = 12.0F;
constexpr int kProcessed = 1;

struct Layout {
    lbx::Codes codes;
    bool slewed, per_channel;
    int controls;  // pins before the signals
    int (*render)(AdjustableGain_Core*, float**, float**, int, int);
};

constexpr Layout kLayouts[] = {
    {EN_VC_SIG_CONTROL, false, false, 0, Adjust_Gain_SigRender},
    {EN_VC_MULTI_CONTROL, false, true, 0, Adjust_Gain_MultiRender},
    {EN_VC_SIG_CONTROL_SLEW, true, false, 0, Adjust_Gain_SigRender_Slew},
    {EN_VC_MULTI_CONTROL_SLEW, true, true, 0, Adjust_Gain_MultiRender_Slew},
    {EN_VC_SIG_EXT_CONTROL_SLEW, true, false, 1, Adjust_Gain_Ext_SigRender_Slew},
};

const Layout& layout_of(int type) { return *lbx::row_of<kLayouts>(type); }

// The labels are those of the first type; for the slewed ones the two values stand under each other's name. Kept.
constexpr lbx::ParamLabel kLabels[] = {{"Volume"}, {"SlewRate"}};

AdjustableGain_Core* core_of(const BlockAlgo* blk) { return lbx::core_of<AdjustableGain_Core>(blk); }

// The layout that these pins fit, or null.
const Layout* fitting(int type, int nInputs, int nOutputs)
{
    const Layout* layout = lbx::row_of<kLayouts>(type);
    const bool fits = layout && nInputs >= 1 && nInputs - layout->controls == nOutputs;
    return fits ? layout : nullptr;
}

int gain_count(const Layout& layout, const BlockAlgo* blk) { return layout.per_channel ? blk->nOutputs : 1; }

// Volumes in the vector; the control pin replaces them.
int volume_count(const Layout& layout, const BlockAlgo* blk)
{
    return layout.controls > 0 ? 0 : gain_count(layout, blk);
}

BlockAlgo* init(const Layout& layout, int nInputs, int nOutputs, BlockPro* pro)
{
    lbx::NewBlock blk = lbx::new_block(nInputs, nOutputs, pro, layout.codes.first, AdjustableGain_destroy);
    auto* core = lbx::new_core<AdjustableGain_Core>(blk);
    // The print shows two entries of every type.
    if (!core || !lbx::zeros(blk->pParam, std::max<std::ptrdiff_t>(2, std::ptrdiff_t{nOutputs} + 1)))
        return nullptr;
    const int gains = gain_count(layout, blk.get());
    if (!lbx::zeros(blk->pStateB, gains) || (layout.slewed && !lbx::zeros(blk->pStateC, gains)))
        return nullptr;
    core->value = blk->pStateB;
    core->old_value = blk->pStateC;
    std::fill_n(core->value, gains, 1.0F);
    if (layout.slewed) {
        blk->pParam[kAdjustableGainSlewRate] = kDefaultSlewRate;
        core->pre_div = 1.0F / (static_cast<float>(pro->nBlockSize) + 1.0F);
        AdjustableSlewGain_param_set(blk.get(), nullptr);
    }
    return blk.release();
}

void derive_gains(BlockAlgo* blk, const float* param)
{
    const Layout& layout = layout_of(blk->method_type);
    const int first = layout.slewed ? kAdjustableGainVolume : 0;
    const int volumes = volume_count(layout, blk);
    lbx::copy_params(blk->pParam, param, first + volumes);
    for (int k = 0; k < volumes; ++k)
        core_of(blk)->value[k] =
            std::pow(10.0F, static_cast<float>(static_cast<double>(blk->pParam[first + k]) * 0.05));
}

void scale_all(const float* gain, std::ptrdiff_t gain_stride, float** in, float** out, int channels, int n)
{
    for (int ch = 0; ch < channels; ++ch)
        lbx::scale(in[ch], out[ch], gain[ch * gain_stride], n);
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
        const lbx::Glide g = old[ch] == value[ch] ? lbx::Glide{old[ch], old[ch], 0.0F}
                                                  : lbx::glide(old[ch], value[ch], core->attack_gain, core->pre_div);
        gain[ch] = g.from;
        step[ch] = g.step;
        old[ch] = lbx::settle_any(g, value[ch]);
    }
    lbx::ramps(gain, step, in, out, channels, n);
}

}  // namespace

BlockAlgo* Adjust_Gain_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    const Layout* layout = fitting(type, nInputs, nOutputs);
    if (!layout) {
        LBX_LOG("wrong input pin number in AdjustableGain\n");
        return nullptr;
    }
    return init(*layout, nInputs, nOutputs, block_pro);
}

BlockAlgo* Adjust_SlewGain_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    const Layout* layout = fitting(type, nInputs, nOutputs);
    if (!layout) {
        LBX_LOG("wrong input pin number in AdjustableGain\n");
        return nullptr;
    }
    return init(*layout, nInputs, nOutputs, block_pro);
}

int AdjustableGain_param_set(BlockAlgo* blk, float* param)
{
    derive_gains(blk, param);
    return 0;
}

int AdjustableSlewGain_param_set(BlockAlgo* blk, float* param)
{
    derive_gains(blk, param);
    const float rate = lbx::clamp_back(blk->pParam[kAdjustableGainSlewRate], {1.0F, 23.0F});
    core_of(blk)->attack_gain = lbx::slew_alpha(rate, static_cast<float>(blk->block_pro->nSamplingRate),
                                                static_cast<float>(blk->block_pro->nBlockSize));
    return 0;
}

int AdjustableGain_param_update(BlockAlgo* /*blk*/) { return 0; }

int AdjustableSlewGain_param_update(BlockAlgo* /*blk*/) { return 0; }

int AdjustableGain_param_invoke(BlockAlgo* blk)
{
    lbx::print_params(__func__, "AdjustableGain", kLabels, blk->pParam);
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
    const lbx::Glide g = lbx::glide(core->old_value[0], core->value[0], core->attack_gain, core->pre_div);
    lbx::ramp(g, data_in, data_out, nChannels, nBlockSize);
    core->old_value[0] = lbx::settle_any(g, core->value[0]);
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
        target = static_cast<float>(lbx::fast_exp(static_cast<double>(0.1151F * target)));
    const lbx::Glide g = lbx::glide(core->value[0], target, core->attack_gain, core->pre_div);
    core->value[0] = g.to;  // never settles: the control may move with every block
    lbx::ramp(g, data_in + 1, data_out, nChannels, nBlockSize);
    return kProcessed;
}

int AdjustableGain_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    return layout_of(blk->method_type)
        .render(core_of(blk), data_in, data_out, blk->nOutputs, blk->block_pro->nBlockSize);
}

int AdjustableGain_destroy(BlockAlgo* blk) { return lbx::free_block(blk); }
