// SPDX-License-Identifier: Apache-2.0
#include "look_up.h"

#include <algorithm>

#include "../framework/clear_state.h"
#include "../kernels/slew.h"
#include "look_up_info.h"
#include "section_block.h"

using namespace lbx;
using look_up::kCurvesEntry;

namespace {

constexpr ParamLabel kTonePeakLabels[] = {{"Type"},   {"Curves"}, {"BoostdB_Max"}, {"BoostdB_Min"},
                                          {"GaindB"}, {"Q"},      {"Fc"},          {"SlewRate"}};
constexpr ParamLabel kCommonLabels[] = {{"Type"}, {"Curves"}, {"GaindB"}, {"Q"}, {"Fc_Max"}, {"Fc_Min"}, {"SlewRate"}};
constexpr ParamLabel kButterBesselLabels[] = {{"Type"}, {"Curves"}, {"GaindB"}, {"Fc_Max"}, {"Fc_Min"}, {"SlewRate"}};

struct Type {
    std::span<const float> defaults;
    std::span<const ParamLabel> labels;

    int size() const { return static_cast<int>(defaults.size()); }
};
constexpr Type kTypes[] = {
    {kInitial<look_up::kTonePeakLayout>, kTonePeakLabels},
    {kInitial<look_up::kCommonLayout>, kCommonLabels},
    {kInitial<look_up::kButterBesselLayout>, kButterBesselLabels},
};

// Null for a code of another module.
const Type* find_type(int code)
{
    return code >= EN_FILTER_LOOKUP_TONE_PEAK && code <= EN_FILTER_LOOKUP_BUTTER_BESSEL
               ? &kTypes[code - EN_FILTER_LOOKUP_TONE_PEAK]
               : nullptr;
}

int limited(int index, int curves) { return std::max(std::min(index, curves - 1), 0); }

// Room for `curves`; existing curves are kept.
[[gnu::cold]] bool resize_curves(BlockAlgo* blk, LookUp_Core* core, int curves)
{
    if (!resize(blk->pState, std::ptrdiff_t{kSosCoeffs} * core->num_curves, std::ptrdiff_t{kSosCoeffs} * curves))
        return false;
    core->coeffArray = blk->pState;
    core->num_curves = curves;
    core->idx_pre = limited(core->idx_pre, curves);
    core->idx_now = limited(core->idx_now, curves);
    return true;
}

// What follows from the stored vector.
void derive(BlockAlgo* blk, const Type& row)
{
    auto* core = core_of<LookUp_Core>(blk);
    const BlockPro* pro = blk->block_pro;
    core->slew_rate = slew_alpha(blk->pParam[row.size() - 1], pro);
    calculateLookUpCoeffs(core, blk->pParam, pro->nSamplingRate, blk->method_type);
}

Curve heard(const LookUp_Core* core, std::ptrdiff_t word)
{
    return {core->coeffArray + std::ptrdiff_t{kSosCoeffs} * core->idx_pre, core->stateBuffer_pre + word};
}

Curve selected(const LookUp_Core* core, std::ptrdiff_t word)
{
    return {core->coeffArray + std::ptrdiff_t{kSosCoeffs} * core->idx_now, core->stateBuffer_now + word};
}

// The old curve fades toward 0.
Glide fade(const LookUp_Core* core) { return glide(core->gain_now, 0.0F, core->slew_rate, core->pre_div); }

void run_heard(const LookUp_Core* core, int first, const float* const* in, float* const* out, int channels, int n)
{
    const Curve curve = heard(core, std::ptrdiff_t{kSosWords} * first);
    run_sections<SecondOrder>(curve.coeff, curve.state, in, out, channels, n, false);
}

void run_slew(const LookUp_Core* core, int first, const float* const* in, float* const* out, int channels, int n)
{
    const std::ptrdiff_t word = std::ptrdiff_t{kSosWords} * first;
    run_fade(heard(core, word), selected(core, word), core->gain_now, fade(core).step, in, out, channels, n);
}

void end_fade(LookUp_Core* core, int channels)
{
    const std::ptrdiff_t words = std::ptrdiff_t{kSosWords} * channels;
    core->idx_pre = core->idx_now;
    core->change_flag = 0;
    std::copy_n(core->stateBuffer_now, words, core->stateBuffer_pre);
    std::fill_n(core->stateBuffer_now, words, 0.0F);
}

}  // namespace

int look_up::curves(const BlockAlgo* blk) { return core_of<LookUp_Core>(blk)->num_curves; }

void look_up::curve_section(const BlockAlgo* blk, int curve, const info::Paths& paths)
{
    paths.second_order(core_of<LookUp_Core>(blk)->coeffArray + std::ptrdiff_t{kSosCoeffs} * curve);
}

// The curve selected, as if the fade were over. Without curves the block copies.
[[gnu::cold]] void look_up::linear_model(const BlockAlgo* blk, const info::Paths& paths)
{
    for (int ch = 0; ch < blk->nOutputs; ++ch) {
        paths.path(ch + 1, ch);
        if (curves(blk) > 0)
            curve_section(blk, limited(core_of<LookUp_Core>(blk)->idx_now, curves(blk)), paths);
    }
}

BlockAlgo* LookUp_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type)
{
    if (!info::pins_fit(info::kControlled, Input_pin, Output_pin)) {
        LBX_LOG("wrong input pin number in LookUp Filter\n");
        return nullptr;
    }
    const Type* row = find_type(type);
    if (!row) {
        LBX_LOG("wrong input type in LookUp\n");
        return nullptr;
    }
    NewBlock blk = new_block(Input_pin, Output_pin, block_pro, type);
    auto* core = new_core<LookUp_Core>(blk);
    const std::ptrdiff_t words = std::ptrdiff_t{kSosWords} * Output_pin;
    if (!core || !zeros(blk->pParam, row->size()) || !zeros(blk->pStateB, words) || !zeros(blk->pStateC, words) ||
        !resize_curves(blk.get(), core, to_int(row->defaults[kCurvesEntry])))
        return nullptr;
    std::ranges::copy(row->defaults, blk->pParam);
    core->stateBuffer_pre = blk->pStateB;
    core->stateBuffer_now = blk->pStateC;
    core->pre_div = sample_share(block_pro);
    derive(blk.get(), *row);
    return blk.release();
}

[[gnu::cold]] int LookUp_param_set(BlockAlgo* blk, void* param)
{
    const Type* row = find_type(blk->method_type);
    if (!row) {
        LBX_LOG("wrong input type in LookUp\n");
        return RT_OK;
    }
    auto* core = core_of<LookUp_Core>(blk);
    const float* vector = param ? static_cast<const float*>(param) : blk->pParam;
    const int curves = std::max(to_int(vector[kCurvesEntry]), 0);
    if (curves != core->num_curves && !resize_curves(blk, core, curves))
        return RT_ERR_MALLOC;
    copy_params(blk->pParam, static_cast<const float*>(param), row->size());
    derive(blk, *row);
    return RT_OK;
}

int LookUp_param_update(BlockAlgo* blk) { return LookUp_param_set(blk, nullptr); }

int LookUp_param_invoke(BlockAlgo* blk)
{
    if (const Type* row = blk ? find_type(blk->method_type) : nullptr)
        print_params(__func__, "LookUp", row->labels, blk->pParam);
    return RT_OK;
}

void LookUp_Render_noslew(LookUp_Core* core, float* buffer_in, float* buffer_out, int tickSize, int i_channel)
{
    run_heard(core, i_channel, &buffer_in, &buffer_out, 1, tickSize);
}

void LookUp_Render_slew(LookUp_Core* core, float* buffer_in, float* buffer_out, int tickSize, int i_channel)
{
    run_slew(core, i_channel, &buffer_in, &buffer_out, 1, tickSize);
}

int LookUp_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    auto* core = core_of<LookUp_Core>(blk);
    const float* const* audio = data_in + 1;
    const int n = blk->block_pro->nBlockSize;
    if (core->num_curves == 0) {
        copy_pins(audio, data_out, blk->nOutputs, n);
        return RT_OK;
    }
    core->idx_now = limited(to_int(data_in[0][0]), core->num_curves);
    // When the control returns to the old curve during a fade, that curve goes on from where it was left; the next
    // change then goes on with the fade.
    if (core->idx_now == core->idx_pre) {
        run_heard(core, 0, audio, data_out, blk->nOutputs, n);
        return RT_OK;
    }
    if (core->change_flag == 0) {
        core->change_flag = 1;
        core->gain_now = 1.0F;
    }
    const Glide g = fade(core);
    run_slew(core, 0, audio, data_out, blk->nOutputs, n);
    core->gain_now = g.to;
    if (still(g.step))
        end_fade(core, blk->nOutputs);
    return RT_OK;
}

void clear_state::look_up(BlockAlgo* blk)
{
    auto* core = core_of<LookUp_Core>(blk);
    core->idx_now = 0;
    core->gain_now = 0.0F;
    std::fill_n(core->stateBuffer_now, std::ptrdiff_t{kSosWords} * blk->nOutputs, 0.0F);
    end_fade(core, blk->nOutputs);
}

int LookUp_destroy(BlockAlgo* blk) { return free_block(blk); }
