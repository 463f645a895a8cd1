// SPDX-License-Identifier: Apache-2.0
#include "demultiplexers.h"

#include "mux_slew.h"

namespace {

constexpr float kSwitchDefaults[kDeMuxesSwitchModuleSize] = {0.0F, 1.0F, 12.0F};
constexpr float kIndexDefaults[kDeMuxesIndexModuleSize] = {1.0F, 12.0F};
constexpr lbx::ParamLabel kSwitchLabels[] = {{"Idx"}, {"SlewFlag"}, {"SlewRate"}};
constexpr lbx::ParamLabel kIndexLabels[] = {{"SlewFlag"}, {"SlewRate"}};

Demultiplexers_Core* core_of(const BlockAlgo* blk) { return lbx::core_of<Demultiplexers_Core>(blk); }

BlockAlgo* with_groups(int groups, int nInputs, int nOutputs, BlockPro* pro, int type, std::span<const float> defaults)
{
    BlockAlgo* blk = lbx::new_selector<Demultiplexers_Core>(nInputs, nOutputs, pro, type, groups + 1, defaults,
                                                            DeMultiplexers_destroy);
    if (blk)
        core_of(blk)->num_DMx = groups;
    return blk;
}

// `data` begins with the first signal.
void render_slew(Demultiplexers_Core* core, float* const* data, float** out, int n, int pins)
{
    lbx::slew_groups(core, n, [=](int start, int some) {
        alignas(32) float x[lbx::kTile];
        for (int i = 0; i < pins; ++i) {
            lbx::copy_tile(data[i] + start, x, some);
            for (std::ptrdiff_t k = 0; k < core->num_DMx; ++k)
                lbx::multiply(x, core->rows + k * lbx::kTile, out[k * pins + i] + start, some);
        }
    });
}

void render_noslew(const Demultiplexers_Core* core, float* const* data, float** out, int n, int pins)
{
    if (core->idx_stable == core->num_DMx)
        return;
    for (int i = 0; i < pins; ++i)
        lbx::copy(data[i], out[std::ptrdiff_t{core->idx_stable} * pins + i], n);
}

}  // namespace

BlockAlgo* DeMultiplexers_Switch_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    if (nInputs < 1 || nOutputs < 1 || nInputs == nOutputs || nOutputs % nInputs != 0) {
        LBX_LOG("wrong input pin number in DeMuxes\n");
        return nullptr;
    }
    return with_groups(nOutputs / nInputs, nInputs, nOutputs, block_pro, type, kSwitchDefaults);
}

BlockAlgo* DeMultiplexers_Index_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    if (nInputs < 2 || nOutputs < 1 || nOutputs % (nInputs - 1) != 0) {
        LBX_LOG("wrong input pin number in DeMuxes\n");
        return nullptr;
    }
    return with_groups(nOutputs / (nInputs - 1), nInputs, nOutputs, block_pro, type, kIndexDefaults);
}

int DeMultiplexers_Switch_param_set(BlockAlgo* blk, float* param)
{
    return lbx::set_switch_form<Demultiplexers_Core>(blk, param);
}

int DeMultiplexers_Index_param_set(BlockAlgo* blk, float* param)
{
    return lbx::set_index_form<Demultiplexers_Core>(blk, param);
}

int DeMultiplexers_Switch_param_update(BlockAlgo* blk) { return DeMultiplexers_Switch_param_set(blk, nullptr); }

int DeMultiplexers_Index_param_update(BlockAlgo* blk) { return DeMultiplexers_Index_param_set(blk, nullptr); }

int DeMultiplexers_Switch_param_invoke(BlockAlgo* blk)
{
    if (blk)
        lbx::print_params(__func__, "DeMuxes_Switch", kSwitchLabels, blk->pParam);
    return RT_OK;
}

int DeMultiplexers_Index_param_invoke(BlockAlgo* blk)
{
    if (blk)
        lbx::print_params(__func__, "DeMuxes_Index", kIndexLabels, blk->pParam);
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
    Demultiplexers_Core* core = core_of(blk);
    const auto render = lbx::slewing(core) ? DeMultiplexers_Switch_Render_slew : DeMultiplexers_Switch_Render_noslew;
    render(core, data_in, data_out, blk->block_pro->nBlockSize, blk->nInputs);
    return RT_OK;
}

int DeMultiplexers_Index_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    Demultiplexers_Core* core = core_of(blk);
    lbx::select_group(core, std::clamp(lbx::to_int(data_in[0][0]), 0, core->num_DMx - 1));
    const auto render = lbx::slewing(core) ? DeMultiplexers_Index_Render_slew : DeMultiplexers_Index_Render_noslew;
    render(core, data_in, data_out, blk->block_pro->nBlockSize, blk->nInputs - 1);
    return RT_OK;
}

int DeMultiplexers_destroy(BlockAlgo* blk) { return lbx::free_block(blk); }
