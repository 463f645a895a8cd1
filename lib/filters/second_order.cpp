// SPDX-License-Identifier: Apache-2.0
#include "second_order.h"

#include <cmath>

#include "../kernels/section_design.h"
#include "section_block.h"

namespace {

using namespace lbx;

// The first four layouts are one list, cut where a type ends.
constexpr float kResponseDefaults[] = {1, 0, 0, 0, 1000, 1.41F, 3};
constexpr ParamLabel kResponseLabels[] = {
    {"Enable", true}, {"Polarity", true}, {"Type", true}, {"Gain_dB"}, {"Fc"}, {"Q"}, {"Boost_dB"}};

constexpr float kToneDefaults[] = {1, 0, 10000, 3, 1000, 3};
constexpr ParamLabel kToneLabels[] = {{"Enable", true},    {"Polarity", true}, {"Fc_Treble"},
                                      {"Boost_dB_Treble"}, {"Fc_Bass"},        {"Boost_dB_Bass"}};

constexpr float kIIRDefaults[] = {1, 0, 1, 0, 0, 0, 0};
constexpr ParamLabel kIIRLabels[] = {{"Enable", true}, {"Polarity", true}, {"b0"}, {"b1"}, {"b2"}, {"a1"}, {"a2"}};

constexpr float kFirstOrdersDefaults[] = {1, 0, 0, 1000, 3, 2, 5000, 1};
constexpr ParamLabel kFirstOrdersLabels[] = {{"Enable", true}, {"Polarity", true},   {"Filter1_Type", true},
                                             {"Filter1_Fc"},   {"Filter1_Boost_dB"}, {"Filter2_Type", true},
                                             {"Filter2_Fc"},   {"Filter2_Boost_dB"}};

struct Layout {
    const char* title;
    int size;
    const float* defaults;
    const ParamLabel* labels;
};
constexpr Layout kLayouts[] = {
    {"general", kGeneralModuleSize, kResponseDefaults, kResponseLabels},
    {"param_shelf", kParamShelfModuleSize, kResponseDefaults, kResponseLabels},
    {"common", kCommonModuleSize, kResponseDefaults, kResponseLabels},
    {"bessel_butter", kBesselButterModuleSize, kResponseDefaults, kResponseLabels},
    {"tone", kToneModuleSize, kToneDefaults, kToneLabels},
    {"iir", kIIRModuleSize, kIIRDefaults, kIIRLabels},
    {"firstorders", kFirstOrdersModuleSize, kFirstOrdersDefaults, kFirstOrdersLabels},
};

const Layout* layout_of(int type)
{
    return type >= EN_FILTER_2ND_GENERAL && type <= EN_FILTER_2ND_FIRSTORDERS ? &kLayouts[type - EN_FILTER_2ND_GENERAL]
                                                                              : nullptr;
}

constexpr float kNonBareDefaults[] = {1, 0, 1000, 1.41F, 3.5F, 0};

std::ptrdiff_t state_words(int channels) { return std::ptrdiff_t{2} * channels; }

void design(BlockAlgo* blk, int rate)
{
    auto* core = core_of<SecondOrder_Core>(blk);
    if (blk->method_type == EN_FILTER_2ND_GENERAL)
        calculateFilter2ndGeneralCoeffs(core, blk->pParam, rate);
    else
        calculateFilter2ndCoeffs(core, blk->pParam, rate, blk->method_type);
}

void design_all_pass(BlockAlgo* blk, int rate)
{
    const Corner c = corner(angle_of(blk->pParam[kNonBareFc], rate));
    const float t = std::tan(blk->pParam[kNonBareQ] * c.w * 0.5F);
    write_section(all_pass(c, (1.0F - t) / (1.0F + t)), 1.0F, core_of<SecondOrder_Core>(blk)->coeffArray);
}

}  // namespace

BlockAlgo* SecondOrder_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type)
{
    if (Input_pin <= 0 || Input_pin != Output_pin) {
        LBX_LOG("wrong input pin number in SecondOrder\n");
        return nullptr;
    }
    const Layout* layout = layout_of(type);
    if (!layout) {
        LBX_LOG("wrong input type in SecondOrder\n");
        return nullptr;
    }
    NewBlock blk = new_block(Input_pin, Output_pin, block_pro, type, SecondOrder_destroy);
    const std::span defaults(layout->defaults, static_cast<std::size_t>(layout->size));
    if (!new_section_core<SecondOrder_Core>(blk, defaults, 5, state_words(Input_pin)))
        return nullptr;
    design(blk.get(), rounded_rate(block_pro));
    return blk.release();
}

int SecondOrder_param_set(BlockAlgo* blk, void* param)
{
    const Layout* layout = layout_of(blk->method_type);
    if (!layout) {
        LBX_LOG("wrong input type in SecondOrder\n");
        return RT_OK;
    }
    copy_params(blk->pParam, static_cast<const float*>(param), layout->size);
    design(blk, blk->block_pro->nSamplingRate);
    restart_section(blk, core_of<SecondOrder_Core>(blk), state_words(blk->nInputs));
    return RT_OK;
}

int SecondOrder_param_update(BlockAlgo* blk) { return SecondOrder_param_set(blk, nullptr); }

int SecondOrder_param_invoke(BlockAlgo* blk)
{
    if (const Layout* layout = blk ? layout_of(blk->method_type) : nullptr)
        print_params(__func__, layout->title, {layout->labels, static_cast<std::size_t>(layout->size)}, blk->pParam);
    return RT_OK;
}

void SecondOrder_Render(SecondOrder_Core* SO_Core, float* buffer_in, float* buffer_out, int tickSize, int i_channel)
{
    run_section_block(SO_Core, run_sections<SecondOrder>, SO_Core->stateBuffer + state_words(i_channel), &buffer_in,
                      &buffer_out, 1, tickSize);
}

int SecondOrder_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    const auto* core = core_of<SecondOrder_Core>(blk);
    run_section_block(core, run_sections<SecondOrder>, core->stateBuffer, data_in, data_out, blk->nInputs,
                      blk->block_pro->nBlockSize);
    return RT_OK;
}

int SecondOrder_destroy(BlockAlgo* blk) { return free_block(blk); }

BlockAlgo* NonBare_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type)
{
    if (Input_pin != Output_pin) {
        LBX_LOG("wrong input pin number in Limiter\n");  // names another block; hosts know it so
        return nullptr;
    }
    NewBlock blk = new_block(Input_pin, Output_pin, block_pro, type, NonBare_destroy);
    if (!new_section_core<SecondOrder_Core>(blk, kNonBareDefaults, 5, state_words(Input_pin)))
        return nullptr;
    design_all_pass(blk.get(), rounded_rate(block_pro));
    return blk.release();
}

int NonBare_param_set(BlockAlgo* blk, void* param)
{
    copy_params(blk->pParam, static_cast<const float*>(param), kNonBareModuleSize);
    design_all_pass(blk, blk->block_pro->nSamplingRate);
    restart_section(blk, core_of<SecondOrder_Core>(blk), state_words(blk->nInputs));
    return RT_OK;
}

int NonBare_param_update(BlockAlgo* blk) { return NonBare_param_set(blk, nullptr); }

int NonBare_param_invoke(BlockAlgo* blk)
{
    if (blk)
        LBX_LOG("NonBare param is %f,%f,%f\n", static_cast<double>(blk->pParam[kNonBareEnable]),
                static_cast<double>(blk->pParam[kNonBarePolarity]), static_cast<double>(blk->pParam[kNonBareFc]));
    return RT_OK;
}

void NonBare_Render(SecondOrder_Core* SO_Core, float* buffer_in, float* buffer_out, int tickSize, int i_channel)
{
    SecondOrder_Render(SO_Core, buffer_in, buffer_out, tickSize, i_channel);
}

int NonBare_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    return SecondOrder_process(blk, data_in, data_out);
}

int NonBare_destroy(BlockAlgo* blk) { return free_block(blk); }
