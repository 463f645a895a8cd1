// SPDX-License-Identifier: Apache-2.0
#include "Sweep.h"

#include <cmath>

#include "Sweep_info.h"
#include "source.h"

using namespace lbx;

namespace {

int whole_samples(float seconds, double rate) { return to_int(std::floor(static_cast<double>(seconds) * rate)); }

[[gnu::cold]] void apply(Sweep_Core_S& core, float* param, const BlockPro& pro)
{
    const double rate = pro.nSamplingRate;
    core.start_freq = param[kSweepStartFreq];
    core.end_freq = param[kSweepEndFreq];
    core.repeat_counter = param[kSweepRepeatCounter];
    core.sweep_time = param[kSweepSweepTime];
    core.phase_inc = param[kSweepPhaseInc];
    core.repeat_time = param[kSweepRepeatTime];
    core.peak = param[kSweepPeak];
    core.Switch = to_int(param[kSweepSwitch]);
    core.phi = static_cast<double>(core.phase_inc);
    core.count = 0;
    core.sweep_point = whole_samples(core.sweep_time, rate);
    core.repeat_point = whole_samples(core.repeat_time, rate);
    core.delta_time = 1.0 / rate;
    const double growth = std::log(static_cast<double>(core.end_freq) / static_cast<double>(core.start_freq));
    core.k = std::exp(growth / static_cast<double>(core.sweep_time));
    core.p = static_cast<double>(core.start_freq) * kTwoPi / std::log(core.k);
    core.k_deltaTime_power = std::pow(core.k, core.delta_time);
    core.frequency_limited = 96000.0;
}

constexpr Generator<Sweep_Core_S> kSource = {kInitial<sweep::kLayout>, apply};

double turn_at(const Sweep_Core_S& core, float hz) { return kTwoPi * static_cast<double>(hz) * core.delta_time; }

// Moves on by a sample. A sweep between equal frequencies has no finite p: it is a plain tone.
void move_phase(Sweep_Core_S& core)
{
    if (core.count >= core.sweep_point)
        core.phi += turn_at(core, core.end_freq);
    else if (std::isfinite(core.p))
        core.phi = (core.p + core.phi) * core.k_deltaTime_power - core.p;
    else
        core.phi += turn_at(core, core.start_freq);
}

float next_sample(Sweep_Core_S& core)
{
    if (core.Switch == SOURCE_SWITCH_OFF || core.repeat_counter <= 0.0F) {
        advance(core.count);
        return 0.0F;
    }
    if (core.count >= std::max(core.sweep_point, core.repeat_point)) {
        core.repeat_counter -= 1.0F;  // the sample that ends a sweep is the first of the next, also after the last one
        core.phi = static_cast<double>(core.phase_inc);
        core.count = 0;
    } else if (core.count > 0) {
        move_phase(core);
    }
    ++core.count;
    return static_cast<float>(static_cast<double>(core.peak) * std::sin(core.phi));
}

}  // namespace

BlockAlgo* SweepSource_Init(int Input_pin, int Output_pin, BlockPro* block_pro, int type)
{
    return source_init(kSource, Input_pin, Output_pin, block_pro, type);
}

spx_int32_t SweepSource_ResetParam(BlockAlgo* blk, void* param) { return source_reset(kSource, blk, param); }

spx_int32_t SweepSource_Update(BlockAlgo* blk) { return source_reset(kSource, blk, nullptr); }

spx_int32_t SweepSource_Invoke(BlockAlgo* blk)
{
    if (blk) {
        LBX_LOG("Sweep param is %f, %f, %f, %f, %f, %f, %f\n", static_cast<double>(blk->pParam[kSweepStartFreq]),
                static_cast<double>(blk->pParam[kSweepEndFreq]), static_cast<double>(blk->pParam[kSweepRepeatCounter]),
                static_cast<double>(blk->pParam[kSweepSweepTime]), static_cast<double>(blk->pParam[kSweepPhaseInc]),
                static_cast<double>(blk->pParam[kSweepRepeatTime]), static_cast<double>(blk->pParam[kSweepPeak]));
    }
    return RT_OK;
}

spx_int32_t SweepSource_ProcessAudioSample(BlockAlgo* blk, float**, float** data_out)
{
    auto* core = core_of<Sweep_Core_S>(blk);
    Sweep_Core_S now = *core;
    fill_pins(blk, now.Out_NumChannel, data_out, [&now] { return next_sample(now); });
    *core = now;
    return RT_OK;
}

spx_int32_t SweepSource_Destroy(BlockAlgo* blk) { return free_block(blk); }
