// SPDX-License-Identifier: Apache-2.0
#include "first_order.h"

#include "../framework/clear_state.h"
#include "../framework/one_of.h"
#include "../kernels/level.h"
#include "first_order_info.h"
#include "section_block.h"

using namespace lbx;

namespace {

// V is the boost as a linear gain.
constexpr Sos (*kResponses[])(float w, float V) = {
    [](float w, float) { return first_order_low_pass(first_order_pole(w)); },   // LP1st
    [](float w, float) { return first_order_high_pass(first_order_pole(w)); },  // HP1st
    [](float w, float) { return first_order_all_pass(first_order_pole(w)); },   // AP1st
    first_order_low_shelf,
    first_order_high_shelf,
};
static_assert(std::size(kResponses) == std::size(first_order::kResponses));

}  // namespace

void first_order::section(const BlockAlgo* blk, const info::Paths& paths)
{
    paths.first_order(core_of<FirstOrder_Core>(blk)->coeffArray);
}

void first_order::linear_model(const BlockAlgo* blk, const info::Paths& paths)
{
    each_section_path(core_of<FirstOrder_Core>(blk), blk->nInputs, paths, [&] { section(blk, paths); });
}

[[gnu::cold]] void calculateFilter1stCoeffs(FirstOrder_Core* st, float* pParameter, int sampleRate)
{
    const float gain_db = clamp_back(pParameter[kFilter1stGainDB], first_order::kSectionGainDb.clamp);
    const float boost_db = clamp_back(pParameter[kFilter1stBoostDB], first_order::kSectionBoostDb.clamp);
    const int type = to_int(pParameter[kFilter1stType]);
    if (type < 0 || type >= std::ssize(kResponses)) {
        LBX_LOG("ErrorXXX: You should choose a filter type!\n\n");
        std::exit(-1);
    }
    const Sos h = one_of<kResponses>(type, angle_of(pParameter[kFilter1stFc], sampleRate), linear_gain(boost_db));
    write_first_order(h, linear_gain(gain_db), st->coeffArray);
}

BlockAlgo* FirstOrder_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type)
{
    if (Input_pin != Output_pin) {
        LBX_LOG("wrong input pin number in Limiter\n");  // names another block; kept, hosts know the text
        return nullptr;
    }
    NewBlock blk = new_block(Input_pin, Output_pin, block_pro, type);
    auto* core =
        new_section_core<FirstOrder_Core>(blk, kInitial<first_order::kLayout>, FirstOrder<float>::kCoeffs, Input_pin);
    if (!core)
        return nullptr;
    calculateFilter1stCoeffs(core, blk->pParam, rounded_rate(block_pro));
    return blk.release();
}

int FirstOrder_param_set(BlockAlgo* blk, void* param)
{
    copy_params(blk->pParam, static_cast<const float*>(param), kFilter1stModuleSize);
    auto* core = core_of<FirstOrder_Core>(blk);
    calculateFilter1stCoeffs(core, blk->pParam, blk->block_pro->nSamplingRate);
    restart_section(blk, core, blk->nInputs);
    return RT_OK;
}

int FirstOrder_param_update(BlockAlgo* blk) { return FirstOrder_param_set(blk, nullptr); }

int FirstOrder_param_invoke(BlockAlgo* blk)
{
    if (blk)
        LBX_LOG("FirstOrder param is %f,%f,%f\n", static_cast<double>(blk->pParam[kFilter1stEnable]),
                static_cast<double>(blk->pParam[kFilter1stPolarity]), static_cast<double>(blk->pParam[kFilter1stType]));
    return RT_OK;
}

void FirstOrder_Render(FirstOrder_Core* FO_Core, float* buffer_in, float* buffer_out, int tickSize, int i_channel)
{
    run_section_block(FO_Core, run_sections<FirstOrder>, FO_Core->stateBuffer + i_channel, &buffer_in, &buffer_out, 1,
                      tickSize);
}

int FirstOrder_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    const auto* core = core_of<FirstOrder_Core>(blk);
    run_section_block(core, run_sections<FirstOrder>, core->stateBuffer, data_in, data_out, blk->nInputs,
                      blk->block_pro->nBlockSize);
    return RT_OK;
}

void clear_state::first_order(BlockAlgo* blk) { silence_section(core_of<FirstOrder_Core>(blk), blk->nInputs); }

int FirstOrder_destroy(BlockAlgo* blk) { return free_block(blk); }
