// SPDX-License-Identifier: Apache-2.0
#include "qvaudio_env.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "../framework/clear_state.h"
#include "../framework/log.h"
#include "../framework/new_block.h"
#include "../kernels/follower.h"
#include "qvaudio_env_info.h"

using namespace lbx;

namespace {

// Divisors of the decay law. A block that was never set decays more slowly than by the same setting once it is set.
// Kept, graphs are tuned with it.
constexpr float kDecayAtInit = 10.0F;
constexpr float kDecayWhenSet = 8.0F;

// Entries of the type's vector.
int params_of(int type)
{
    if (type == EN_DP_ENV_RMS)
        return kEnvRmstc + 1;
    return type == EN_DP_ENV ? kEnvDecayTime + 1 : kEnvHoldTime + 1;
}

bool pins_of_type(int nInputs, int nOutputs, int type)
{
    if (type == EN_DP_ENV_EXT_DECAY)
        return info::pins_fit(env::kDecayAndSignal, nInputs, nOutputs);
    return (type == EN_DP_ENV || type == EN_DP_ENV_RMS) && info::pins_fit(info::kOneOne, nInputs, nOutputs);
}

void derive(BlockAlgo* blk, float decay_divisor)
{
    auto* core = core_of<Envelope_Core>(blk);
    const float* param = blk->pParam;
    const float rate_hz = rate_of(blk->block_pro);
    core->hold_time = hold_samples(param[kEnvHoldTime], blk->block_pro);
    core->hold_count = 0;
    if (blk->method_type != EN_DP_ENV_EXT_DECAY)
        core->decay_coeff = decay_factor(param[kEnvDecayTime], 1.0F, rate_hz, decay_divisor);
    if (blk->method_type == EN_DP_ENV_RMS)
        core->rmstc_coeff = growing_weight(param[kEnvRmstc], 1.0F, rate_hz);
}

// The counter as the next block finds it: within the hold time either way.
int clamp_hold(int count, int hold) { return std::min(std::max(count, hold_sub(0, hold)), hold); }

}  // namespace

BlockAlgo* Env_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    if (!pins_of_type(nInputs, nOutputs, type)) {
        LBX_LOG("wrong method type or pin number in Envelope\n");
        return nullptr;
    }
    NewBlock blk = new_block(nInputs, nOutputs, block_pro, type);
    // Three entries for every type: all three are printed.
    if (!new_core<Envelope_Core>(blk) || !zeros(blk->pParam, kEnvModuleSize))
        return nullptr;
    copy_params(blk->pParam, kInitial<env::kRmsLayout>.data(), params_of(type));
    derive(blk.get(), kDecayAtInit);
    return blk.release();
}

int Env_param_set(BlockAlgo* blk, float* param)
{
    copy_params(blk->pParam, param, params_of(blk->method_type));
    derive(blk, kDecayWhenSet);
    return 0;
}

int Env_param_update(BlockAlgo*) { return 0; }

int Env_param_invoke(BlockAlgo* blk)
{
    if (blk)
        LBX_LOG("Env param is %f,%f,%f\n", static_cast<double>(blk->pParam[kEnvHoldTime]),
                static_cast<double>(blk->pParam[kEnvDecayTime]), static_cast<double>(blk->pParam[kEnvRmstc]));
    return 0;
}

// Nothing counts the hold down here: with a hold time the envelope keeps its highest peak and only rises, until the
// parameters are set again. Kept.
void Env_Render(Envelope_Core* core, const float* in, float* out, int n)
{
    const float decay = core->decay_coeff;
    const float fresh = 1.0F - decay;
    float env = core->tarck_env;
    int hold = core->hold_count;
    for (int i = 0; i < n; ++i) {
        const float a = std::fabs(in[i]);
        if (a > env) {
            env = a;
            hold = core->hold_time;
        } else if (hold <= 0) {
            env = std::fma(env, decay, fresh * a);
        }
        env = env > 1.0F ? 1.0F : env;
        out[i] = env;
    }
    core->tarck_env = env;
    core->hold_count = clamp_hold(hold, core->hold_time);
}

void Env_Ext_Render(Envelope_Core* core, const float* in, const float* decay_ms, float* out, int n, int sampleRate)
{
    const auto rate_hz = static_cast<float>(sampleRate);
    float ms = std::numeric_limits<float>::quiet_NaN();  // that `decay` is for; a control mostly stands still
    float decay = core->decay_coeff;
    float env = core->tarck_env;
    int hold = core->hold_count;
    for (int i = 0; i < n; ++i) {
        if (const float now = std::fabs(decay_ms[i]); now != ms) {
            ms = now;
            decay = decay_factor(ms, 1.0F, rate_hz, 10.0F);
        }
        const float a = std::fabs(in[i]);
        if (a > env) {
            env = a;
            hold = core->hold_time;
        } else {
            hold = hold_sub(hold, 1);
            if (hold < 1)
                env = std::fma(decay, env, (1.0F - decay) * a);
        }
        env = env > 1.0F ? 1.0F : env;
        out[i] = env;
    }
    core->decay_coeff = decay;
    core->tarck_env = env;
    core->hold_count = clamp_hold(hold, core->hold_time);
}

// Differs from the peak followers on purpose: the decay coefficient weighs the new value, the hold lasts one sample
// longer, and nothing limits the mean square to 1.
void Env_Rms_Render(Envelope_Core* core, const float* in, float* out, int n)
{
    float mean = core->smooth_rms;
    float env = core->tarck_env;
    int hold = core->hold_count;
    for (int i = 0; i < n; ++i) {
        mean = follow(mean, in[i] * in[i], core->rmstc_coeff);
        if (mean > env) {
            env = mean;
            hold = core->hold_time;
        } else {
            hold = hold_sub(hold, 1);
            if (hold < 0)
                env = follow(env, mean, core->decay_coeff);
        }
        out[i] = env;
    }
    core->smooth_rms = mean;
    core->tarck_env = env;
    core->hold_count = clamp_hold(hold, core->hold_time);
}

int Env_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    auto* core = core_of<Envelope_Core>(blk);
    const int n = blk->block_pro->nBlockSize;
    if (blk->method_type == EN_DP_ENV)
        Env_Render(core, data_in[0], data_out[0], n);
    else if (blk->method_type == EN_DP_ENV_RMS)
        Env_Rms_Render(core, data_in[0], data_out[0], n);
    else
        Env_Ext_Render(core, data_in[1], data_in[0], data_out[0], n, blk->block_pro->nSamplingRate);
    return 1;
}

void clear_state::env(BlockAlgo* blk)
{
    auto* core = core_of<Envelope_Core>(blk);
    core->tarck_env = core->smooth_rms = 0.0F;
    core->hold_count = 0;
}

int Env_destroy(BlockAlgo* blk) { return free_block(blk); }
