// SPDX-License-Identifier: Apache-2.0
// The law that multiplexers and demultiplexers share: every group of pins has a gain, one group is selected, and a slew
// moves the selected gain toward 1 while the others give up what they hold, so that the gains keep their sum of 1.
// Core is Multiplexers_Core or Demultiplexers_Core: their fields are the same but for the name of the first.
#pragma once

#include <algorithm>
#include <span>

#include "../framework/new_block.h"
#include "../framework/params.h"
#include "../kernels/fast_inline.h"
#include "../kernels/mix.h"
#include "../kernels/slew.h"

namespace lbx {

// What is allocated: the record and, of the way to the selected group's gain of 1, what is left.
template <class Core>
struct Slewing : Core {
    float left;
};
template <class Core>
float& left_of(Core* core)
{
    return static_cast<Slewing<Core>*>(core)->left;
}

template <class Core>
void set_slew(Core* core, const BlockPro* pro, float flag, float rate)
{
    core->slew_flag = to_int(flag);
    core->slew_rate = slew_alpha(rate, pro);
}

// Group 0 is selected and nothing else is heard.
template <class Core>
void select_first(Core* core)
{
    for (float* array : {core->gains, core->delta_coeff}) {
        std::fill_n(array, core->slots, 0.0F);
        array[0] = 1.0F;
    }
    core->idx_stable = core->slew_state = 0;
    left_of(core) = 0.0F;
}

// A block with group 0 selected. A demultiplexer has one slot more than groups: silence. `defaults` end with slew flag
// and slew rate.
template <class Core>
BlockAlgo* new_selector(int nInputs, int nOutputs, BlockPro* pro, int type, int slots, std::span<const float> defaults)
{
    NewBlock blk = new_block(nInputs, nOutputs, pro, type);
    Core* core = new_core<Slewing<Core>>(blk);
    const std::ptrdiff_t n = slots;
    if (!core || !zeros(blk->pParam, std::ssize(defaults)) || !zeros(blk->pState, 3 * n + rows_for(n) * kTile + kLine))
        return nullptr;
    std::ranges::copy(defaults, blk->pParam);
    core->slots = slots;
    core->gains = blk->pState;
    core->delta_coeff = core->gains + n;
    core->steps = core->delta_coeff + n;
    core->rows = line_aligned(core->steps + n);
    select_first(core);
    core->pre_div = sample_share(pro);
    set_slew(core, pro, *(defaults.end() - 2), *(defaults.end() - 1));
    return blk.release();
}

// From group to group: each losing group gives up gain in proportion to what it holds.
template <class Core>
void select_group(Core* core, int k)
{
    if (k == core->idx_stable)
        return;
    core->idx_stable = k;
    core->slew_state = 1;
    left_of(core) = 1.0F - core->gains[k];
    const double others = (1.0 - static_cast<double>(core->gains[k])) + 1e-10;
    for (int j = 0; j < core->slots; ++j)
        core->delta_coeff[j] = static_cast<float>(-static_cast<double>(core->gains[j]) / others);
    core->delta_coeff[k] = 1.0F;
}

// Vectors: slew flag and slew rate, in the switch forms after the index. A switch reaches every slot.
template <class Core>
int set_index_form(BlockAlgo* blk, const float* param)
{
    copy_params(blk->pParam, param, 2);
    set_slew(core_of<Core>(blk), blk->block_pro, blk->pParam[0], blk->pParam[1]);
    return RT_OK;
}

template <class Core>
int set_switch_form(BlockAlgo* blk, const float* param)
{
    auto* core = core_of<Core>(blk);
    copy_params(blk->pParam, param, 3);
    select_group(core, std::clamp(to_int(blk->pParam[0]), 0, core->slots - 1));
    blk->pParam[0] = static_cast<float>(core->idx_stable);
    set_slew(core, blk->block_pro, blk->pParam[1], blk->pParam[2]);
    return RT_OK;
}

template <class Core>
bool slewing(const Core* core)
{
    return core->slew_flag != 0 && core->slew_state != 0;
}

template <class Core>
void take_gains(Core* core)
{
    for (int j = 0; j < core->slots; ++j)
        core->gains[j] = std::max(-core->delta_coeff[j] * left_of(core), 0.0F);
    core->gains[core->idx_stable] = 1.0F - left_of(core);
}

// The slew is over: nothing moves any more, or what moves is too small to matter and its end too small to hear.
inline bool slewed(float step, float left)
{
    constexpr float kInaudible = 1e-4F;
    return step == 0.0F || (still(step) && left < kInaudible);
}

// One block of the slew: render(start, length) finds the gains of each tile, a row of kTile per group, in core->rows.
// What is left of the way is held, not the gain: in single precision a gain near 1 stops long before its target. From
// it the gains are taken anew after each tile.
template <class Core, class Render>
void slew_groups(Core* core, int n, Render render)
{
    const float step = left_of(core) * (1.0F - core->slew_rate) * core->pre_div;
    for (int j = 0; j < core->slots; ++j)
        core->steps[j] = core->delta_coeff[j] * step;
    for (int start = 0; start < n; start += kTile) {
        const int some = std::min(kTile, n - start);
        lines<true>(core->gains, core->steps, 1, core->slots, core->rows, some);
        render(start, some);
        left_of(core) = std::fma(-static_cast<float>(some), step, left_of(core));
        take_gains(core);
    }
    if (slewed(step, left_of(core))) {
        left_of(core) = 0.0F;
        core->slew_state = 0;
        take_gains(core);
    }
}

}  // namespace lbx
