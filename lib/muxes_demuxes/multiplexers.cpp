// SPDX-License-Identifier: Apache-2.0
#include "multiplexers.h"

#include "../framework/clear_state.h"
#include "multiplexers_info.h"
#include "mux_slew.h"

using namespace lbx;

namespace {

constexpr ParamLabel kSwitchLabels[] = {{"Idx"}, {"SlewFlag"}, {"SlewRate"}};
constexpr ParamLabel kIndexLabels[] = {{"SlewFlag"}, {"SlewRate"}};

BlockAlgo* with_groups(int groups, int nInputs, int nOutputs, BlockPro* pro, int type, std::span<const float> defaults)
{
    BlockAlgo* blk = new_selector<Multiplexers_Core>(nInputs, nOutputs, pro, type, groups, defaults);
    if (blk)
        core_of<Multiplexers_Core>(blk)->num_Mx = groups;
    return blk;
}

// `data` begins with group 0.
void render_slew(Multiplexers_Core* core, float* const* data, float** out, int n, int pins)
{
    slew_groups(core, n, [=](int start, int some) {
        const RunningGain gain = {core->rows};
        for (int j = 0; j < pins; ++j)
            sum_paths(core->num_Mx, some, {out[j] + start}, [=](auto sum, int k, int, int t) {
                using V = decltype(sum);
                return sum + gain.at<V>(k, t) * load<V>(data[std::ptrdiff_t{k} * pins + j] + start + t);
            });
    });
}

void render_noslew(const Multiplexers_Core* core, float* const* data, float** out, int n, int pins)
{
    for (int j = 0; j < pins; ++j)
        copy(data[std::ptrdiff_t{core->idx_stable} * pins + j], out[j], n);
}

}  // namespace

[[gnu::cold]] void lbx::multiplexers::linear_model(const BlockAlgo* blk, const Paths& paths)
{
    const int control = blk->method_type == EN_MUXES_MUXES_INDEX ? 1 : 0;
    const int first = control + core_of<Multiplexers_Core>(blk)->idx_stable * blk->nOutputs;
    for (int pin = 0; pin < blk->nOutputs; ++pin)
        paths.path(first + pin, pin);
}

BlockAlgo* Multiplexers_Switch_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    if (!info::pins_fit(multiplexers::kSwitchPins, nInputs, nOutputs)) {
        LBX_LOG("wrong input pin number in Muxes_Switch\n");
        return nullptr;
    }
    return with_groups(nInputs / nOutputs, nInputs, nOutputs, block_pro, type, kInitial<selector::kSwitchLayout>);
}

BlockAlgo* Multiplexers_Index_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    if (!info::pins_fit(multiplexers::kIndexPins, nInputs, nOutputs)) {
        LBX_LOG("wrong input pin number in Muxes_Index\n");
        return nullptr;
    }
    return with_groups((nInputs - 1) / nOutputs, nInputs, nOutputs, block_pro, type, kInitial<selector::kIndexLayout>);
}

int Multiplexers_Switch_param_set(BlockAlgo* blk, float* param)
{
    return set_switch_form<Multiplexers_Core>(blk, param);
}

int Multiplexers_Index_param_set(BlockAlgo* blk, float* param) { return set_index_form<Multiplexers_Core>(blk, param); }

int Multiplexers_Switch_param_update(BlockAlgo* blk) { return Multiplexers_Switch_param_set(blk, nullptr); }

int Multiplexers_Index_param_update(BlockAlgo* blk) { return Multiplexers_Index_param_set(blk, nullptr); }

int Multiplexers_Switch_param_invoke(BlockAlgo* blk)
{
    if (blk)
        print_params(__func__, "Muxes_Switch", kSwitchLabels, blk->pParam);
    return RT_OK;
}

int Multiplexers_Index_param_invoke(BlockAlgo* blk)
{
    if (blk)
        print_params(__func__, "Muxes_Index", kIndexLabels, blk->pParam);
    return RT_OK;
}

void Multiplexers_Switch_Render_slew(Multiplexers_Core* core, float** data_in, float** data_out, int nBlockSize,
                                     int nPins)
{
    render_slew(core, data_in, data_out, nBlockSize, nPins);
}

void Multiplexers_Switch_Render_noslew(Multiplexers_Core* core, float** data_in, float** data_out, int nBlockSize,
                                       int nPins)
{
    render_noslew(core, data_in, data_out, nBlockSize, nPins);
}

void Multiplexers_Index_Render_slew(Multiplexers_Core* core, float** data_in, float** data_out, int nBlockSize,
                                    int nPins)
{
    render_slew(core, data_in + 1, data_out, nBlockSize, nPins);
}

void Multiplexers_Index_Render_noslew(Multiplexers_Core* core, float** data_in, float** data_out, int nBlockSize,
                                      int nPins)
{
    render_noslew(core, data_in + 1, data_out, nBlockSize, nPins);
}

int Multiplexers_Switch_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    auto* core = core_of<Multiplexers_Core>(blk);
    const auto render = slewing(core) ? Multiplexers_Switch_Render_slew : Multiplexers_Switch_Render_noslew;
    render(core, data_in, data_out, blk->block_pro->nBlockSize, blk->nOutputs);
    return RT_OK;
}

int Multiplexers_Index_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    auto* core = core_of<Multiplexers_Core>(blk);
    select_group(core, std::clamp(to_int(data_in[0][0]), 0, core->num_Mx - 1));
    const auto render = slewing(core) ? Multiplexers_Index_Render_slew : Multiplexers_Index_Render_noslew;
    render(core, data_in, data_out, blk->block_pro->nBlockSize, blk->nOutputs);
    return RT_OK;
}

void clear_state::multiplexer(BlockAlgo* blk)
{
    auto* core = core_of<Multiplexers_Core>(blk);
    select_first(core);
    if (blk->method_type == EN_MUXES_MUXES_SWITCH)
        select_group(core, to_int(blk->pParam[0]));
}

int Multiplexers_destroy(BlockAlgo* blk) { return free_block(blk); }
