// SPDX-License-Identifier: Apache-2.0
#include "schematic_design.h"

#include <cmath>
#include <cstring>

#include "../framework/log.h"
#include "../framework/new_block.h"
#include "../framework/params.h"
#include "../kernels/each_index.h"
#include "schematic_design_info.h"

using namespace lbx;

namespace {

bool serves(int inputs, int outputs, int type)
{
    switch (type) {
    case EN_NLP_CLIPPERS_HARD:
        return info::pins_agree(schematic_design::kLimited, inputs, outputs);
    case EN_NLP_CLIPPERS_SOFT:
        return info::pins_agree(info::kSame, inputs, outputs);
    case EN_NLP_CHANNEL_COPY:
        return info::pins_agree(info::kFromOne, inputs, outputs);
    default:
        return false;
    }
}

// The upper limit is tested first: where the limits cross, a sample above the upper one still ends there.
float hard_clip(float upper, float lower, float x) { return upper < x ? upper : lower > x ? lower : x; }

// The ends are the rounded decimals, not 2/3: the curve keeps a tiny step where it meets them.
float soft_clip(float inverse, float alpha, float x)
{
    const float u = inverse * x;
    const auto wide = static_cast<double>(u);
    const double curve = wide - 0.3333 * (wide * wide * wide);
    const double shape = u <= -1.0F ? -0.6667 : u >= 1.0F ? 0.6667 : curve;
    return static_cast<float>(shape * static_cast<double>(alpha));
}

}  // namespace

void lbx::schematic_design::copy_model(const BlockAlgo* blk, const Paths& paths)
{
    for (int pin = 0; pin < blk->nOutputs; ++pin)
        paths.path(0, pin);
}

BlockAlgo* Nlp_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type)
{
    if (!serves(Input_pin, Output_pin, type)) {
        LBX_LOG("wrong method type or pin number in NLP\n");
        return nullptr;
    }
    NewBlock blk = new_block(Input_pin, Output_pin, block_pro, type);
    if (!blk || type != EN_NLP_CLIPPERS_SOFT)
        return blk.release();
    auto* core = new_core<NLP_Core>(blk);
    if (!core || !zeros(blk->pParam, kNLPModuleSize))
        return nullptr;
    core->alpha = blk->pParam[kNLPAlpha] = schematic_design::kAlpha.initial;
    return blk.release();
}

int Nlp_param_set(BlockAlgo* blk, void* param)
{
    if (blk->method_type == EN_NLP_CLIPPERS_SOFT) {
        copy_params(blk->pParam, static_cast<const float*>(param), kNLPModuleSize);
        core_of<NLP_Core>(blk)->alpha = blk->pParam[kNLPAlpha];
    }
    return RT_OK;
}

int Nlp_param_update(BlockAlgo* blk) { return Nlp_param_set(blk, nullptr); }

int Nlp_param_invoke(BlockAlgo* blk)
{
    if (blk->method_type == EN_NLP_CLIPPERS_SOFT)
        LBX_LOG("NLP soft clip param is Alpha = %f\n", static_cast<double>(blk->pParam[kNLPAlpha]));
    return RT_OK;
}

void HardClip_Controll(float** buffer_in, float** buffer_out, float* aBuffer_ext, float* aBuffer_ext2, int input_pin,
                       int nBlocksize, int)
{
    for (int pin = 2; pin < input_pin; ++pin) {
        const float* in = buffer_in[pin];
        float* out = buffer_out[pin - 2];
        each_index(nBlocksize, [=](int i) { out[i] = hard_clip(aBuffer_ext[i], aBuffer_ext2[i], in[i]); });
    }
}

int HardClip_Controll_Quick(float** buffer_in, float** buffer_out, int input_pin, int nBlocksize, int Out_bitPerSample)
{
    if (input_pin > 2)
        HardClip_Controll(buffer_in, buffer_out, buffer_in[0], buffer_in[1], input_pin, nBlocksize, Out_bitPerSample);
    return RT_OK;
}

void SoftClip_Cal(float** buffer_in, float** buffer_out, int input_pin, float alpha, int nBlocksize, int)
{
    const float inverse = 1.0F / alpha;
    for (int pin = 0; pin < input_pin; ++pin) {
        const float* in = buffer_in[pin];
        float* out = buffer_out[pin];
        if (alpha == 0.0F) {  // the curve has no width; its formula would turn every zero into a NaN
            each_index(nBlocksize, [=](int i) { out[i] = std::copysign(0.0F, in[i]); });
            continue;
        }
        each_index(nBlocksize, [=](int i) { out[i] = soft_clip(inverse, alpha, in[i]); });
    }
}

void SoftClip_Controll(NLP_Core* core, float** buffer_in, float** buffer_out, int input_pin, int nBlocksize,
                       int Out_bitPerSample)
{
    SoftClip_Cal(buffer_in, buffer_out, input_pin, core->alpha, nBlocksize, Out_bitPerSample);
}

int SoftClip_Controll_Quick(float** buffer_in, float** buffer_out, int input_pin, float alpha, int nBlocksize,
                            int Out_bitPerSample)
{
    SoftClip_Cal(buffer_in, buffer_out, input_pin, alpha, nBlocksize, Out_bitPerSample);
    return RT_OK;
}

void ChannelCopy(float* buffer_in, float** buffer_out, int output_pin, int nBlocksize)
{
    if (nBlocksize <= 0)
        return;
    for (int pin = 0; pin < output_pin; ++pin)
        std::memmove(buffer_out[pin], buffer_in, static_cast<std::size_t>(nBlocksize) * sizeof(float));
}

int Nlp_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    const BlockPro& pro = *blk->block_pro;
    switch (blk->method_type) {
    case EN_NLP_CLIPPERS_HARD:
        HardClip_Controll_Quick(data_in, data_out, blk->nInputs, pro.nBlockSize, pro.bitRate);
        break;
    case EN_NLP_CLIPPERS_SOFT:
        SoftClip_Controll(core_of<NLP_Core>(blk), data_in, data_out, blk->nInputs, pro.nBlockSize, pro.bitRate);
        break;
    case EN_NLP_CHANNEL_COPY:
        ChannelCopy(data_in[0], data_out, blk->nOutputs, pro.nBlockSize);
        break;
    default:
        LBX_LOG("wrong method type in NLP\n");
    }
    return RT_OK;
}

int Nlp_destroy(BlockAlgo* blk) { return free_block(blk); }
