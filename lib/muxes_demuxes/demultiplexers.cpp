// SPDX-License-Identifier: Apache-2.0
#include "demultiplexers.h"

#include "../framework/clear_state.h"
#include "demultiplexers_info.h"
#include "mux_slew.h"

using namespace lbx;

namespace {

constexpr ParamLabel kSwitchLabels[] = {{"Idx"}, {"SlewFlag"}, {"SlewRate"}};
constexpr ParamLabel kIndexLabels[] = {{"SlewFlag"}, {"SlewRate"}};

BlockAlgo* with_groups(int groups, int nInputs, int nOutputs, BlockPro* pro, int type, std::span<const float> defaults)
{
    BlockAlgo* blk = new_selector<Demultiplexers_Core>(nInputs, nOutputs, pro, type, groups + 1, defaults);
    if (blk)
        core_of<Demultiplexers_Core>(blk)->num_DMx = groups;
    return blk;
}

// `data` begins with the first signal.
void render_slew(Demultiplexers_Core* core, float* const* data, float** out, int n, int pins)
{
    slew_groups(core, n, [=](int start, int some) {
        alignas(32) float x[kTile];
        for (int i = 0; i < pins; ++i) {
            copy_tile(data[i] + start, x, some);
            for (std::ptrdiff_t k = 0; k < core->num_DMx; ++k)
                multiply(x, core->rows + k * kTile, out[k * pins + i] + start, some);
        }
    });
}

void render_noslew(const Demultiplexers_Core* core, float* const* data, float** out, int n, int pins)
{
    if (core->idx_stable == core->num_DMx)
        return;
    for (int i = 0; i < pins; ++i)
        copy(data[i], out[std::ptrdiff_t{core->idx_stable} * pins + i], n);
}

}  // namespace

// Past the last group there is no path.
[[gnu::cold]] void lbx::demultiplexers::linear_model(const BlockAlgo* blk, const Paths& paths)
{
    const auto* core = core_of<Demultiplexers_Core>(blk);
    const int control = blk->method_type == EN_MUXES_DEMUXES_INDEX ? 1 : 0;
    const int pins = blk->nInputs - control;
    for (int pin = 0; pin < pins && core->idx_stable < core->num_DMx; ++pin)
        paths.path(control + pin, core->idx_stable * pins + pin);
}

BlockAlgo* DeMultiplexers_Switch_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    if (!info::pins_fit(demultiplexers::kSwitchPins, nInputs, nOutputs)) {
        LBX_LOG("wrong input pin number in DeMuxes\n");
        return nullptr;
    }
    return with_groups(nOutputs / nInputs, nInputs, nOutputs, block_pro, type, kInitial<selector::kSwitchLayout>);
}

BlockAlgo* DeMultiplexers_Index_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    if (!info::pins_fit(demultiplexers::kIndexPins, nInputs, nOutputs)) {
        LBX_LOG("wrong input pin number in DeMuxes\n");
        return nullptr;
    }
    return with_groups(nOutputs / (nInputs - 1), nInputs, nOutputs, block_pro, type, kInitial<selector::kIndexLayout>);
}

int DeMultiplexers_Switch_param_set(BlockAlgo* blk, float* param)
{
    return set_switch_form<Demultiplexers_Core>(blk, param);
}

int DeMultiplexers_Index_param_set(BlockAlgo* blk, float* param)
{
    return set_index_form<Demultiplexers_Core>(blk, param);
}

int DeMultiplexers_Switch_param_update(BlockAlgo* blk) { return DeMultiplexers_Switch_param_set(blk, nullptr); }

int DeMultiplexers_Index_param_update(BlockAlgo* blk) { return DeMultiplexers_Index_param_set(blk, nullptr); }

int DeMultiplexers_Switch_param_invoke(BlockAlgo* blk)
{
    if (blk)
        print_params(__func__, "DeMuxes_Switch", kSwitchLabels, blk->pParam);
    return RT_OK;
}

int DeMultiplexers_Index_param_invoke(BlockAlgo* blk)
{
    if (blk)
        print_params(__func__, "DeMuxes_Index", kIndexLabels, blk->pParam);
    return RT_OK;
}

void DeMultiplexers_Switch_Render_slew(Demultiplexers_Core* core, float** data_in, float** data_out, int nBlockSize,
                                       int nPins)
{
    render_slew(core, data_in, data_out, nBlockSize, nPins);
}

void DeMultiplexers_Switch_Render_noslew(Demultiplexers_Core* core, float** data_in, float** data_out, int nBlockSize,
                                         int nPins)
{
    render_noslew(core, data_in, data_out, nBlockSize, nPins);
}

void DeMultiplexers_Index_Render_slew(Demultiplexers_Core* core, float** data_in, float** data_out, int nBlockSize,
                                      int nPins)
{
    render_slew(core, data_in + 1, data_out, nBlockSize, nPins);
}

void DeMultiplexers_Index_Render_noslew(Demultiplexers_Core* core, float** data_in, float** data_out, int nBlockSize,
                                        int nPins)
{
    render_noslew(core, data_in + 1, data_out, nBlockSize, nPins);
}

int DeMultiplexers_Switch_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    auto* core = core_of<Demultiplexers_Core>(blk);
    const auto render = slewing(core) ? DeMultiplexers_Switch_Render_slew : DeMultiplexers_Switch_Render_noslew;
    render(core, data_in, data_out, blk->block_pro->nBlockSize, blk->nInputs);
    return RT_OK;
}

int DeMultiplexers_Index_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    auto* core = core_of<Demultiplexers_Core>(blk);
    select_group(core, std::clamp(to_int(data_in[0][0]), 0, core->num_DMx - 1));
    const auto render = slewing(core) ? DeMultiplexers_Index_Render_slew : DeMultiplexers_Index_Render_noslew;
    render(core, data_in, data_out, blk->block_pro->nBlockSize, blk->nInputs - 1);
    return RT_OK;
}

void clear_state::demultiplexer(BlockAlgo* blk)
{
    auto* core = core_of<Demultiplexers_Core>(blk);
    select_first(core);
    if (blk->method_type == EN_MUXES_DEMUXES_SWITCH)
        select_group(core, to_int(blk->pParam[0]));
}

int DeMultiplexers_destroy(BlockAlgo* blk) { return free_block(blk); }
