// SPDX-License-Identifier: Apache-2.0
#include "lookup_table.h"

#include <cstdint>
#include <limits>

#include "../framework/clear_state.h"
#include "../framework/log.h"
#include "../framework/new_block.h"
#include "../kernels/each_index.h"
#include "../kernels/ramp.h"
#include "hold_level.h"
#include "lookup_table_info.h"

using namespace lbx;

const float table_example[6] = {lookup_table::kOneToSix[0], lookup_table::kOneToSix[1], lookup_table::kOneToSix[2],
                                lookup_table::kOneToSix[3], lookup_table::kOneToSix[4], lookup_table::kOneToSix[5]};

namespace {

constexpr float kLowestDb = -90.0F;
constexpr float kHighestDb = 6.0F;

// Number of entries, rows or columns: a negative one is none.
int count_of(float entry) { return std::max(to_int(entry), 0); }

// Puts a copy of `vector` in the place of the block's own, which has `held` entries; a table of the same size takes its
// memory over. False: no memory, nothing changed.
bool take_vector(BlockAlgo* blk, const float* vector, std::ptrdiff_t held, std::ptrdiff_t n)
{
    if (blk->pParam && held == n) {
        std::copy_n(vector, n, blk->pParam);
        return true;
    }
    float* own = nullptr;
    if (!zeros(own, n))
        return false;
    std::copy_n(vector, n, own);
    std::free(blk->pParam);
    blk->pParam = own;
    return true;
}

bool has_pins(const BlockAlgo* blk) { return blk->nInputs > 0 && blk->nOutputs > 0; }

bool set_index(BlockAlgo* blk, const float* param)
{
    const int size = count_of(param[kLookUpTableIndexSize]);
    auto* core = core_of<LookUpTable_Index_Core>(blk);
    if (!take_vector(blk, param, kLookUpTableIndexParamOffset + std::ptrdiff_t{core->table_size},
                     kLookUpTableIndexParamOffset + std::ptrdiff_t{size}))
        return false;
    *core = {size, blk->pParam + kLookUpTableIndexParamOffset};
    return true;
}

bool set_rms(BlockAlgo* blk, const float* param)
{
    const int size = count_of(param[kLookUpTableRMSSize]);
    auto* core = core_of<LookUpTable_RMS_Core>(blk);
    if (!take_vector(blk, param, kLookUpTableRMSParamOffset + std::ptrdiff_t{core->table_size},
                     kLookUpTableRMSParamOffset + std::ptrdiff_t{size}))
        return false;
    core->table_size = size;
    core->table = blk->pParam + kLookUpTableRMSParamOffset;
    core->step = (kHighestDb - kLowestDb) / static_cast<float>(size - 1);
    core->grid_end = kLowestDb;
    for (int k = 0; k < size - 1; ++k)
        core->grid_end += core->step;
    return true;
}

void take_times(BlockAlgo* blk)
{
    auto* core = core_of<LookUpTable_RMS_Core>(blk);
    core->rmstc_coeff = rise_weight(blk->pParam[kLookUpTableRMSRmstc], blk->block_pro);
    core->hold_time = hold_samples(blk->pParam[kLookUpTableRMSHoldTime], blk->block_pro);
    core->decay_coeff = rise_weight(blk->pParam[kLookUpTableRMSDecayTime], blk->block_pro);
}

[[gnu::cold]] bool set_2d(BlockAlgo* blk, const float* param)
{
    const int columns = count_of(param[kLookUpTable2DX]);
    const int rows = count_of(param[kLookUpTable2DY]);
    const std::int64_t size = std::int64_t{columns} * rows;
    auto* core = core_of<LookUpTable_2D_Core>(blk);
    const bool fits = blk->pState && core->table_size == size;
    float* linear = fits ? blk->pState : nullptr;
    if (size > std::numeric_limits<int>::max() || (!fits && !zeros(linear, size)))
        return false;
    if (!take_vector(blk, param, kLookUpTable2DParamOffset + std::ptrdiff_t{core->table_size},
                     kLookUpTable2DParamOffset + size)) {
        std::free(linear);
        return false;
    }
    if (!fits)
        std::free(blk->pState);
    blk->pState = linear;
    const float* decibels = blk->pParam + kLookUpTable2DParamOffset;
    for (std::int64_t i = 0; i < size; ++i)
        linear[i] = linear_gain(decibels[i]);
    *core = {columns, rows, static_cast<int>(size), linear, blk->pParam + kLookUpTable2DParamOffset};
    return true;
}

// Every level inside the grid is read from the last segment, extrapolated from its two entries. Kept, tables are drawn
// for it. Only where rounding left the grid's end short of +6 dB is the last entry taken.
float value_at(const LookUpTable_RMS_Core& core, float level)
{
    const int last = core.table_size - 1;
    if (last < 0)
        return 0.0F;
    if (level <= kLowestDb)
        return core.table[0];
    if (level >= kHighestDb || level > core.grid_end)
        return core.table[last];
    const float f = (core.grid_end - level) / core.step;
    return f * core.table[last - 1] + (1.0F - f) * core.table[last];
}

float entry_at(const float* table, int size, std::int64_t i)
{
    return size > 0 ? table[std::clamp(i, std::int64_t{0}, std::int64_t{size - 1})] : 0.0F;
}

void render_2d(const float* table, const LookUpTable_2D_Core& core, const float* x, const float* y, float* out, int n)
{
    each_index(n, [=, size = core.table_size, num_x = core.num_x](int i) {
        out[i] = entry_at(table, size, to_int(x[i]) + std::int64_t{to_int(y[i])} * num_x);
    });
}

}  // namespace

BlockAlgo* LookUpTable_Index_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    if (!one_signal(nInputs, nOutputs)) {
        LBX_LOG("wrong input pin number in LookUpTable_Index\n");
        return nullptr;
    }
    NewBlock blk = new_block(nInputs, nOutputs, block_pro, type);
    if (!new_core<LookUpTable_Index_Core>(blk) || !set_index(blk.get(), kInitial<lookup_table::kIndexLayout>.data()))
        return nullptr;
    return blk.release();
}

int LookUpTable_Index_param_set(BlockAlgo* blk, float* param)
{
    return !param || set_index(blk, param) ? RT_OK : RT_ERR_MALLOC;
}

int LookUpTable_Index_param_update(BlockAlgo*) { return 0; }

int LookUpTable_Index_param_invoke(BlockAlgo* blk)
{
    LBX_LOG("LookUpTable param:\n\n");
    LBX_LOG("Size: %f\n", static_cast<double>(blk->pParam[kLookUpTableIndexSize]));
    LBX_LOG("\n\n");
    return 0;
}

void LookUpTable_Index_Render(const LookUpTable_Index_Core* core, const float* in, float* out, int n)
{
    if (core->table_size <= 0)
        return clear(out, n);
    each_index(n, [=, table = core->table, last = core->table_size - 1](int i) {
        out[i] = table[std::clamp(to_int(in[i]), 0, last)];
    });
}

int LookUpTable_Index_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    if (has_pins(blk))
        LookUpTable_Index_Render(core_of<LookUpTable_Index_Core>(blk), data_in[0], data_out[0],
                                 blk->block_pro->nBlockSize);
    return 0;
}

int LookUpTable_Index_destroy(BlockAlgo* blk) { return free_block(blk); }

BlockAlgo* LookUpTable_RMS_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    if (!one_signal(nInputs, nOutputs)) {
        LBX_LOG("wrong input pin number in LookUpTable_Index\n");
        return nullptr;
    }
    NewBlock blk = new_block(nInputs, nOutputs, block_pro, type);
    auto* core = new_core<LookUpTable_RMS_Core>(blk);
    if (!core || !set_rms(blk.get(), kInitial<lookup_table::kRmsLayout>.data()))
        return nullptr;
    core->pre_div = sample_share(block_pro);
    core->bit_norm = bit_norm(block_pro->bitRate);
    take_times(blk.get());
    return blk.release();
}

int LookUpTable_RMS_param_set(BlockAlgo* blk, float* param)
{
    if (param && !set_rms(blk, param))
        return RT_ERR_MALLOC;
    take_times(blk);
    return RT_OK;
}

int LookUpTable_RMS_param_update(BlockAlgo*) { return 0; }

int LookUpTable_RMS_param_invoke(BlockAlgo* blk)
{
    const float* param = blk->pParam;
    LBX_LOG("LookUpTable param:\n\n");
    LBX_LOG("Rmstc: %f\n", static_cast<double>(param[kLookUpTableRMSRmstc]));
    LBX_LOG("HoldTime: %f\n", static_cast<double>(param[kLookUpTableRMSHoldTime]));
    LBX_LOG("DecayTime: %f\n", static_cast<double>(param[kLookUpTableRMSDecayTime]));
    LBX_LOG("Size: %f\n", static_cast<double>(param[kLookUpTableRMSSize]));
    LBX_LOG("\n\n");
    return 0;
}

void LookUpTable_RMS_Render(LookUpTable_RMS_Core* core, const float* in, float* out, int n)
{
    hold_level({core->rmstc_coeff, core->pre_div, std::max(core->hold_time, 0)}, sum_of_squares(in, n), n,
               core->smooth_rms, core->hold_count);
    core->rms_log = level_db(core->smooth_rms, kPowerDb);
    std::fill_n(out, n, value_at(*core, core->rms_log));
}

int LookUpTable_RMS_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    if (has_pins(blk))
        LookUpTable_RMS_Render(core_of<LookUpTable_RMS_Core>(blk), data_in[0], data_out[0], blk->block_pro->nBlockSize);
    return 0;
}

void clear_state::look_up_table(BlockAlgo* blk)
{
    auto* core = core_of<LookUpTable_RMS_Core>(blk);
    core->smooth_rms = core->rms_log = 0.0F;
    core->hold_count = 0;
}

int LookUpTable_RMS_destroy(BlockAlgo* blk) { return free_block(blk); }

BlockAlgo* LookUpTable_2D_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    if (!info::pins_fit(info::kTwoOne, nInputs, nOutputs)) {
        LBX_LOG("wrong input pin number in LookUpTable_2D\n");
        return nullptr;
    }
    NewBlock blk = new_block(nInputs, nOutputs, block_pro, type);
    if (!new_core<LookUpTable_2D_Core>(blk) || !set_2d(blk.get(), kInitial<lookup_table::k2DLayout>.data()))
        return nullptr;
    return blk.release();
}

int LookUpTable_2D_param_set(BlockAlgo* blk, float* param)
{
    return !param || set_2d(blk, param) ? RT_OK : RT_ERR_MALLOC;
}

int LookUpTable_2D_param_update(BlockAlgo*) { return 0; }

int LookUpTable_2D_param_invoke(BlockAlgo* blk)
{
    const float* param = blk->pParam;
    LBX_LOG("LookUpTable param:\n\n");
    LBX_LOG("DB: %f\n", static_cast<double>(param[kLookUpTable2DDB]));
    LBX_LOG("X: %f\n", static_cast<double>(param[kLookUpTable2DX]));
    LBX_LOG("Y: %f\n", static_cast<double>(param[kLookUpTable2DY]));
    LBX_LOG("\n\n");
    return 0;
}

void LookUpTable_2D_Render(const LookUpTable_2D_Core* core, const float* x, const float* y, float* out, int n)
{
    render_2d(core->table, *core, x, y, out, n);
}

void LookUpTable_2DDB_Render(const LookUpTable_2D_Core* core, const float* x, const float* y, float* out, int n)
{
    render_2d(core->table_dB, *core, x, y, out, n);
}

int LookUpTable_2D_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    const auto render = to_flag(blk->pParam[kLookUpTable2DDB]) ? LookUpTable_2DDB_Render : LookUpTable_2D_Render;
    render(core_of<LookUpTable_2D_Core>(blk), data_in[0], data_in[1], data_out[0], blk->block_pro->nBlockSize);
    return 0;
}

int LookUpTable_2D_destroy(BlockAlgo* blk) { return free_block(blk); }
