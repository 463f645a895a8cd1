// SPDX-License-Identifier: Apache-2.0
#include "second_order.h"

#include "../framework/clear_state.h"
#include "../math/rounded.h"
#include "second_order_info.h"
#include "section_block.h"

using namespace lbx;

namespace {

// Of the first four types, as far as their layouts go.
constexpr ParamLabel kResponseLabels[] = {
    {"Enable", true}, {"Polarity", true}, {"Type", true}, {"Gain_dB"}, {"Fc"}, {"Q"}, {"Boost_dB"}};
constexpr ParamLabel kToneLabels[] = {{"Enable", true},    {"Polarity", true}, {"Fc_Treble"},
                                      {"Boost_dB_Treble"}, {"Fc_Bass"},        {"Boost_dB_Bass"}};
constexpr ParamLabel kIIRLabels[] = {{"Enable", true}, {"Polarity", true}, {"b0"}, {"b1"}, {"b2"}, {"a1"}, {"a2"}};
constexpr ParamLabel kFirstOrdersLabels[] = {{"Enable", true}, {"Polarity", true},   {"Filter1_Type", true},
                                             {"Filter1_Fc"},   {"Filter1_Boost_dB"}, {"Filter2_Type", true},
                                             {"Filter2_Fc"},   {"Filter2_Boost_dB"}};

struct Type {
    char title[16];
    std::span<const float> defaults;
    const ParamLabel* labels;

    int size() const { return static_cast<int>(defaults.size()); }
};
constexpr Type kTypes[] = {
    {"general", kInitial<second_order::kGeneralLayout>, kResponseLabels},
    {"param_shelf", kInitial<second_order::kParamShelfLayout>, kResponseLabels},
    {"common", kInitial<second_order::kCommonLayout>, kResponseLabels},
    {"bessel_butter", kInitial<second_order::kBesselButterLayout>, kResponseLabels},
    {"tone", kInitial<second_order::kToneLayout>, kToneLabels},
    {"iir", kInitial<second_order::kIirLayout>, kIIRLabels},
    {"firstorders", kInitial<second_order::kFirstOrdersLayout>, kFirstOrdersLabels},
};

// Null for a code of another module.
const Type* find_type(int code)
{
    return code >= EN_FILTER_2ND_GENERAL && code <= EN_FILTER_2ND_FIRSTORDERS ? &kTypes[code - EN_FILTER_2ND_GENERAL]
                                                                              : nullptr;
}

std::ptrdiff_t state_words(int channels) { return std::ptrdiff_t{kSosWords} * channels; }

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
    const float t = rounded::tan(blk->pParam[kNonBareQ] * c.w * 0.5F);
    write_section(all_pass(c, (1.0F - t) / (1.0F + t)), 1.0F, core_of<SecondOrder_Core>(blk)->coeffArray);
}

}  // namespace

void second_order::section(const BlockAlgo* blk, const info::Paths& paths)
{
    paths.second_order(core_of<SecondOrder_Core>(blk)->coeffArray);
}

void second_order::linear_model(const BlockAlgo* blk, const info::Paths& paths)
{
    each_section_path(core_of<SecondOrder_Core>(blk), blk->nInputs, paths, [&] { section(blk, paths); });
}

BlockAlgo* SecondOrder_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type)
{
    if (!info::pins_fit(info::kSame, Input_pin, Output_pin)) {
        LBX_LOG("wrong input pin number in SecondOrder\n");
        return nullptr;
    }
    const Type* row = find_type(type);
    if (!row) {
        LBX_LOG("wrong input type in SecondOrder\n");
        return nullptr;
    }
    NewBlock blk = new_block(Input_pin, Output_pin, block_pro, type);
    if (!new_section_core<SecondOrder_Core>(blk, row->defaults, kSosCoeffs, state_words(Input_pin)))
        return nullptr;
    design(blk.get(), rounded_rate(block_pro));
    return blk.release();
}

int SecondOrder_param_set(BlockAlgo* blk, void* param)
{
    const Type* row = find_type(blk->method_type);
    if (!row) {
        LBX_LOG("wrong input type in SecondOrder\n");
        return RT_OK;
    }
    copy_params(blk->pParam, static_cast<const float*>(param), row->size());
    design(blk, blk->block_pro->nSamplingRate);
    restart_section(blk, core_of<SecondOrder_Core>(blk), state_words(blk->nInputs));
    return RT_OK;
}

int SecondOrder_param_update(BlockAlgo* blk) { return SecondOrder_param_set(blk, nullptr); }

int SecondOrder_param_invoke(BlockAlgo* blk)
{
    if (const Type* row = blk ? find_type(blk->method_type) : nullptr)
        print_params(__func__, row->title, {row->labels, row->defaults.size()}, blk->pParam);
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

void clear_state::second_order(BlockAlgo* blk)
{
    silence_section(core_of<SecondOrder_Core>(blk), state_words(blk->nInputs));
}

int SecondOrder_destroy(BlockAlgo* blk) { return free_block(blk); }

BlockAlgo* NonBare_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type)
{
    if (!info::pins_agree(info::kSame, Input_pin, Output_pin)) {
        LBX_LOG("wrong input pin number in Limiter\n");  // names another block; kept, hosts know the text
        return nullptr;
    }
    NewBlock blk = new_block(Input_pin, Output_pin, block_pro, type);
    if (!new_section_core<SecondOrder_Core>(blk, kInitial<second_order::kNonBareLayout>, kSosCoeffs,
                                            state_words(Input_pin)))
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
