// SPDX-License-Identifier: Apache-2.0
#include "miscellaneous.h"

#include <algorithm>
#include <cmath>

#include "../framework/new_block.h"
#include "../framework/params.h"
#include "../kernels/section.h"
#include "../kernels/section_design.h"

namespace {

using namespace lbx;

constexpr float kDcCoeffs[] = {1.0F, -1.0F, -0.9999F};
constexpr float kDefaults[kStateVariableModuleSize] = {73.0F, 0.707F};
constexpr float kDefaultInverseQ = 1.4144272F;  // of 0.707, as the default design has it
constexpr int kBands = 3, kCoeffs = 11, kStateWords = 6;

// What the kernel wants of a StateVariable_Core.
struct StateVariable : StateVariable_Core {
    Split split;
};

// As in H. Chamberlin, "Musical Applications of Microprocessors".
float frequency_coefficient(float fc_hz, int rate_hz) { return 2.0F * std::sin(angle_of(fc_hz, rate_hz) * 0.5F); }

// damping: f / Q.
void design(StateVariable* core, float f, float damping)
{
    const float coeffs[kCoeffs] = {f * f + damping - 2.0F, 1.0F - damping, 0, f * f, 0, 1, -2, 1, f, -f, 0};
    std::ranges::copy(coeffs, core->coeffArray);
    core->w0 = f;

    float section[kBands][5];
    for (int b = 0; b < kBands; ++b) {
        const float* numerator = coeffs + 2 + 3 * b;
        const float filter[] = {numerator[0], numerator[1], coeffs[0], numerator[2], coeffs[1]};
        std::ranges::copy(filter, section[b]);
    }
    constexpr SplitBand kBand[kBands] = {{1, false}, {1, false}, {1, false}};
    set_split(core->split, section[0], kBand, kBands);
}

BlockAlgo* new_state_variable(int inputs, int outputs, BlockPro* pro, int type, int params, float q, float inverse_q,
                              int (*destroy)(BlockAlgo*))
{
    NewBlock blk = new_block(inputs, outputs, pro, type, destroy);
    auto* core = new_core<StateVariable>(blk);
    if (!core || !zeros(blk->pParam, params) || !zeros(blk->pState, kCoeffs) || !zeros(blk->pStateB, kStateWords))
        return nullptr;
    std::copy_n(kDefaults, params, blk->pParam);
    core->coeffArray = blk->pState;
    core->stateBuffer = blk->pStateB;
    core->Q = q;
    const float f = frequency_coefficient(blk->pParam[kStateVariableFc], pro->nSamplingRate);
    design(core, f, f * inverse_q);
    return blk.release();
}

void restart(const BlockAlgo* blk, StateVariable* core)
{
    const float f = frequency_coefficient(blk->pParam[kStateVariableFc], blk->block_pro->nSamplingRate);
    design(core, f, f / core->Q);
    std::fill_n(core->stateBuffer, kStateWords, 0.0F);
}

// `in` null: silence. Outputs beyond `outputs` go nowhere.
void filter(const StateVariable* core, const float* in, float** out, int outputs, int n)
{
    float scratch[kSplitTile], nowhere[kSplitTile];
    const float silence[kSplitTile] = {};
    for (int start = 0; start < n; start += kSplitTile) {
        const float* signal = in ? in + start : silence;
        float* bands[kBands];
        for (int b = 0; b < kBands; ++b)
            bands[b] = b < outputs ? out[b] + start : nowhere;
        run_split(core->split, core->stateBuffer, &signal, bands, 1, std::min(n - start, kSplitTile), scratch);
    }
}

void follow_q(StateVariable* core, float q)
{
    if (q == core->Q)
        return;
    core->Q = q;
    design(core, core->w0, core->w0 / q);
}

}  // namespace

BlockAlgo* DCBlocking_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type)
{
    if (Input_pin < 1 || Input_pin != Output_pin) {
        LBX_LOG("wrong input pin number in DCBlocking\n");
        return nullptr;
    }
    NewBlock blk = new_block(Input_pin, Output_pin, block_pro, type, DCBlocking_destroy);
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

int DCBlocking_destroy(BlockAlgo* blk) { return free_block(blk); }

BlockAlgo* StateVariable_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type)
{
    if (Input_pin != 1 && Output_pin != kBands) {  // one right count is enough, on purpose
        LBX_LOG("wrong input pin number in StateVariable\n");
        return nullptr;
    }
    return new_state_variable(Input_pin, Output_pin, block_pro, type, kStateVariableModuleSize,
                              kDefaults[kStateVariableQ], kDefaultInverseQ, StateVariable_destroy);
}

int StateVariable_param_set(BlockAlgo* blk, float* param)
{
    copy_params(blk->pParam, param, kStateVariableModuleSize);
    auto* core = core_of<StateVariable>(blk);
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
    const float* in = blk->nInputs > 0 ? data_in[0] : nullptr;
    filter(core_of<StateVariable>(blk), in, data_out, blk->nOutputs, blk->block_pro->nBlockSize);
    return RT_OK;
}

int StateVariable_destroy(BlockAlgo* blk) { return free_block(blk); }

BlockAlgo* StateVariableQ_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type)
{
    if (Input_pin != 2 && Output_pin != kBands) {
        LBX_LOG("wrong input pin number in StateVariableQ\n");
        return nullptr;
    }
    return new_state_variable(Input_pin, Output_pin, block_pro, type, 1, 1.0F, 1.0F, StateVariableQ_destroy);
}

int StateVariableQ_param_set(BlockAlgo* blk, float* param)
{
    copy_params(blk->pParam, param, 1);
    restart(blk, core_of<StateVariable>(blk));
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
    auto* full = static_cast<StateVariable*>(core);
    if (tickSize > 0)
        follow_q(full, data_in[0][0]);
    filter(full, data_in[1], data_out, kBands, tickSize);
}

int StateVariableQ_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    auto* core = core_of<StateVariable>(blk);
    const int n = blk->block_pro->nBlockSize;
    if (blk->nInputs > 0 && n > 0)
        follow_q(core, data_in[0][0]);
    filter(core, blk->nInputs > 1 ? data_in[1] : nullptr, data_out, blk->nOutputs, n);
    return RT_OK;
}

int StateVariableQ_destroy(BlockAlgo* blk) { return free_block(blk); }
