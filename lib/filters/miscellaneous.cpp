// SPDX-License-Identifier: Apache-2.0
#include "miscellaneous.h"

#include <algorithm>

#include "../framework/clear_state.h"
#include "../framework/new_block.h"
#include "../framework/params.h"
#include "../kernels/section.h"
#include "../math/rounded.h"
#include "arranged.h"
#include "miscellaneous_info.h"

using namespace lbx;
using miscellaneous::kOutputs;

namespace {

constexpr float kDcCoeffs[] = {1.0F, -1.0F, -0.9999F};
constexpr float kDefaultInverseQ = 1.4144272F;   // of 0.707, as the default design rounds it
constexpr int kDenominator = 2, kNumerator = 3;  // floats
constexpr int kCoeffs = kDenominator + kOutputs * kNumerator, kStateWords = kOutputs * kSosWords;

// The documented record, and the same arranged for the kernel.
struct StateVariable : StateVariable_Core {
    Split split;
    float arranged[kCoeffs];  // what the split was arranged from
};

// As in H. Chamberlin, "Musical Applications of Microprocessors".
float frequency_coefficient(float fc_hz, int rate_hz) { return 2.0F * rounded::sin(angle_of(fc_hz, rate_hz) * 0.5F); }

// The section of one output: b0, b1, a1, b2, a2.
void write_output(const StateVariable_Core* core, int output, float* section)
{
    const float* a = core->coeffArray;
    const float* b = a + kDenominator + kNumerator * output;
    const float coeffs[kSosCoeffs] = {b[0], b[1], a[0], b[2], a[1]};
    std::ranges::copy(coeffs, section);
}

// damping: f / Q.
void design(StateVariable_Core* core, float f, float damping)
{
    const float coeffs[kCoeffs] = {f * f + damping - 2.0F, 1.0F - damping, 0, f * f, 0, 1, -2, 1, f, -f, 0};
    std::ranges::copy(coeffs, core->coeffArray);
    core->w0 = f;
}

void arrange(const StateVariable_Core* core, Split& split)
{
    float sections[kOutputs * kSosCoeffs];
    for (int k = 0; k < kOutputs; ++k)
        write_output(core, k, sections + kSosCoeffs * k);
    constexpr SplitBand kBands[kOutputs] = {{1, false}, {1, false}, {1, false}};
    set_split(split, sections, kBands, kOutputs);
}

BlockAlgo* new_state_variable(int inputs, int outputs, BlockPro* pro, int type, std::span<const float> defaults,
                              float q, float inverse_q)
{
    NewBlock blk = new_block(inputs, outputs, pro, type);
    auto* core = new_core<StateVariable>(blk);
    if (!core || !zeros(blk->pParam, std::ssize(defaults)) || !zeros(blk->pState, kCoeffs) ||
        !zeros(blk->pStateB, kStateWords))
        return nullptr;
    std::ranges::copy(defaults, blk->pParam);
    core->coeffArray = blk->pState;
    core->stateBuffer = blk->pStateB;
    core->Q = q;
    const float f = frequency_coefficient(blk->pParam[kStateVariableFc], pro->nSamplingRate);
    design(core, f, f * inverse_q);
    return blk.release();
}

void restart(BlockAlgo* blk, StateVariable_Core* core)
{
    const float f = frequency_coefficient(blk->pParam[kStateVariableFc], blk->block_pro->nSamplingRate);
    design(core, f, f / core->Q);
    clear_state::state_variable(blk);
}

// `in` null: silence. Outputs beyond `outputs` go nowhere.
void filter(const Split& split, float* state, const float* in, float** out, int outputs, int n)
{
    float scratch[kSplitTile], nowhere[kSplitTile], silence[kSplitTile];
    if (!in)
        std::fill_n(silence, kSplitTile, 0.0F);
    for (int start = 0; start < n; start += kSplitTile) {
        const float* signal = in ? in + start : silence;
        float* bands[kOutputs];
        for (int b = 0; b < kOutputs; ++b)
            bands[b] = b < outputs ? out[b] + start : nowhere;
        run_split(split, state, &signal, bands, 1, std::min(n - start, kSplitTile), scratch);
    }
}

int process(const BlockAlgo* blk, const float* in, float** out)
{
    auto* core = core_of<StateVariable>(blk);
    if (!same_floats(core->coeffArray, core->arranged, kCoeffs)) {
        arrange(core, core->split);
        std::copy_n(core->coeffArray, kCoeffs, core->arranged);
    }
    filter(core->split, core->stateBuffer, in, out, blk->nOutputs, blk->block_pro->nBlockSize);
    return RT_OK;
}

void follow_q(StateVariable_Core* core, float q)
{
    if (q == core->Q)
        return;
    core->Q = q;
    design(core, core->w0, core->w0 / q);
}

}  // namespace

void miscellaneous::dc_section(const BlockAlgo* blk, const info::Paths& paths)
{
    paths.first_order(core_of<DCBlocking_Core>(blk)->coeffArray);
}

void miscellaneous::dc_linear_model(const BlockAlgo* blk, const info::Paths& paths)
{
    for (int ch = 0; ch < blk->nInputs; ++ch) {
        paths.path(ch, ch);
        dc_section(blk, paths);
    }
}

void miscellaneous::state_variable_section(const BlockAlgo* blk, int output, const info::Paths& paths)
{
    float section[kSosCoeffs];
    write_output(core_of<StateVariable_Core>(blk), output, section);
    paths.second_order(section);
}

void miscellaneous::state_variable_linear_model(const BlockAlgo* blk, const info::Paths& paths)
{
    const int signal = blk->method_type == EN_FILTER_MISCE_STATEVARIABLEQ ? 1 : 0;
    for (int k = 0; signal < blk->nInputs && k < std::min(blk->nOutputs, kOutputs); ++k) {
        paths.path(signal, k);
        state_variable_section(blk, k, paths);
    }
}

BlockAlgo* DCBlocking_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type)
{
    if (!info::pins_fit(info::kSame, Input_pin, Output_pin)) {
        LBX_LOG("wrong input pin number in DCBlocking\n");
        return nullptr;
    }
    NewBlock blk = new_block(Input_pin, Output_pin, block_pro, type);
    auto* core = new_core<DCBlocking_Core>(blk);
    if (!core || !zeros(blk->pState, std::ssize(kDcCoeffs)) || !zeros(blk->pStateB, Input_pin))
        return nullptr;
    std::ranges::copy(kDcCoeffs, blk->pState);
    core->coeffArray = blk->pState;
    core->stateBuffer = blk->pStateB;
    return blk.release();
}

int DCBlocking_param_set(BlockAlgo*, float*)
{
    LBX_LOG("DCBlocking doesn't need param set\n");
    return RT_OK;
}

int DCBlocking_param_update(BlockAlgo*)
{
    LBX_LOG("DCBlocking doesn't need param update\n");
    return RT_OK;
}

int DCBlocking_param_invoke(BlockAlgo*)
{
    LBX_LOG("DCBlocking doesn't need param invoke\n");
    return RT_OK;
}

void DCBlocking_Render(DCBlocking_Core* core, float* buffer_in, float* buffer_out, int tickSize, int i_channel)
{
    run_sections<FirstOrder>(core->coeffArray, core->stateBuffer + i_channel, &buffer_in, &buffer_out, 1, tickSize,
                             false);
}

int DCBlocking_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    const auto* core = core_of<DCBlocking_Core>(blk);
    run_sections<FirstOrder>(core->coeffArray, core->stateBuffer, data_in, data_out, blk->nInputs,
                             blk->block_pro->nBlockSize, false);
    return RT_OK;
}

void clear_state::dc_blocking(BlockAlgo* blk)
{
    std::fill_n(core_of<DCBlocking_Core>(blk)->stateBuffer, blk->nInputs, 0.0F);
}

int DCBlocking_destroy(BlockAlgo* blk) { return free_block(blk); }

BlockAlgo* StateVariable_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type)
{
    if (Input_pin != 1 && Output_pin != kOutputs) {  // one right number is enough, on purpose
        LBX_LOG("wrong input pin number in StateVariable\n");
        return nullptr;
    }
    return new_state_variable(Input_pin, Output_pin, block_pro, type, kInitial<miscellaneous::kStateVariableLayout>,
                              miscellaneous::kQ.initial, kDefaultInverseQ);
}

int StateVariable_param_set(BlockAlgo* blk, float* param)
{
    copy_params(blk->pParam, param, kStateVariableModuleSize);
    auto* core = core_of<StateVariable_Core>(blk);
    core->Q = blk->pParam[kStateVariableQ];
    restart(blk, core);
    return RT_OK;
}

int StateVariable_param_update(BlockAlgo* blk) { return StateVariable_param_set(blk, nullptr); }

int StateVariable_param_invoke(BlockAlgo* blk)
{
    LBX_LOG("StateVariable param: \n\n");
    LBX_LOG("Fc: %f\n\n", static_cast<double>(blk->pParam[kStateVariableFc]));
    LBX_LOG("Q: %f \n\n", static_cast<double>(blk->pParam[kStateVariableQ]));
    return RT_OK;
}

int StateVariable_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    return process(blk, blk->nInputs > 0 ? data_in[0] : nullptr, data_out);
}

void clear_state::state_variable(BlockAlgo* blk)
{
    std::fill_n(core_of<StateVariable>(blk)->stateBuffer, kStateWords, 0.0F);
}

int StateVariable_destroy(BlockAlgo* blk) { return free_block(blk); }

BlockAlgo* StateVariableQ_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type)
{
    if (Input_pin != 2 && Output_pin != kOutputs) {
        LBX_LOG("wrong input pin number in StateVariableQ\n");
        return nullptr;
    }
    return new_state_variable(Input_pin, Output_pin, block_pro, type, kInitial<miscellaneous::kStateVariableQLayout>,
                              1.0F, 1.0F);
}

int StateVariableQ_param_set(BlockAlgo* blk, float* param)
{
    copy_params(blk->pParam, param, std::size(miscellaneous::kStateVariableQLayout));
    restart(blk, core_of<StateVariable_Core>(blk));
    return RT_OK;
}

int StateVariableQ_param_update(BlockAlgo* blk) { return StateVariableQ_param_set(blk, nullptr); }

int StateVariableQ_param_invoke(BlockAlgo* blk)
{
    LBX_LOG("StateVariableQ param: \n\n");
    LBX_LOG("Fc: %f\n\n", static_cast<double>(blk->pParam[kStateVariableFc]));
    return RT_OK;
}

void StateVariableQ_Render(StateVariable_Core* core, float** data_in, float** data_out, int tickSize)
{
    if (tickSize > 0)
        follow_q(core, data_in[0][0]);
    Split split;
    arrange(core, split);
    filter(split, core->stateBuffer, data_in[1], data_out, kOutputs, tickSize);
}

int StateVariableQ_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    if (blk->nInputs > 0 && blk->block_pro->nBlockSize > 0)
        follow_q(core_of<StateVariable_Core>(blk), data_in[0][0]);
    return process(blk, blk->nInputs > 1 ? data_in[1] : nullptr, data_out);
}

int StateVariableQ_destroy(BlockAlgo* blk) { return free_block(blk); }
