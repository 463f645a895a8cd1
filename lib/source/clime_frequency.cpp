// SPDX-License-Identifier: Apache-2.0
#include "clime_frequency.h"

#include <cmath>

#include "../common/common.h"
#include "source.h"

namespace {

// As the vector that a host would hand over: the arrays follow the entries.
constexpr int kDefaultLength = 5;
constexpr float kDefaultVector[kClimeModuleSize + 3 * kDefaultLength] = {
    kDefaultLength, 1004, kClimeModuleSize, kClimeModuleSize + kDefaultLength, kClimeModuleSize + 2 * kDefaultLength, 1,
    // ms
    0, 200, 400, 800, 1004,
    // Hz
    100, 2000, 8000, 5000, 500,
    // dB
    0, 0, 0, 0, 0};

bool known_index(float entry)
{
    const int index = lbx::to_int(entry);
    if (index < 0)
        LBX_LOG_AS("ClimeFrequencySource_ResetParam", __LINE__, "negative array index %d, the old arrays are kept\n\n",
                   index);
    return index >= 0;
}

void take_table(Clime_Core_S& core, const float* vector)
{
    for (const int slot : {kClimeTimeArray, kClimeFrequencyArray, kClimeGainArray})
        if (!known_index(vector[slot]))
            return;
    const int length = ParamAdapt(0, kClimeCapacity, lbx::to_int(vector[kClimeArrayLength]), "array_length");
    std::copy_n(vector + lbx::to_int(vector[kClimeTimeArray]), length, core.time_array);
    std::copy_n(vector + lbx::to_int(vector[kClimeFrequencyArray]), length, core.frequency_array);
    std::copy_n(vector + lbx::to_int(vector[kClimeGainArray]), length, core.gain_array);
    core.array_length = static_cast<float>(length);
}

void apply(Clime_Core_S& core, float* param, const BlockPro& pro)
{
    param[kClimeArrayLength] = core.array_length;  // the length in force
    core.maximum_time = param[kClimeMaxTime];
    core.maximum_sample =
        lbx::to_int(std::floor(static_cast<double>(pro.nSamplingRate) * static_cast<double>(core.maximum_time) / 1000));
    core.Switch = lbx::to_int(param[kClimeSwitch]);
    core.delta_time = 1.0F / static_cast<float>(pro.nSamplingRate);
    core.sample_index = core.time_index = 0;
    core.phi = 0.0F;
}

constexpr lbx::Source<Clime_Core_S, kClimeModuleSize> kSource = {{}, apply};

int reset(BlockAlgo* blk, const float* vector)
{
    if (blk && vector)
        take_table(*lbx::core_of<Clime_Core_S>(blk), vector);
    return lbx::source_reset(kSource, blk, vector);
}

struct Tone {
    double gain_db, hz;
};

// Ten to the power of dB / 20, computed again only where the level moves.
class Gain {
public:
    double of(double db)
    {
        if (db != db_) {
            db_ = db;
            gain_ = std::pow(10.0, db / 20.0);
        }
        return gain_;
    }

private:
    double db_ = 0.0, gain_ = 1.0;
};

// The tone of this sample. At most one segment is entered per sample, and the last one is never left.
Tone tone_now(Clime_Core_S& core, double rate)
{
    const int last = lbx::to_int(core.array_length) - 1;
    if (core.sample_index >= core.maximum_sample || last == 0)
        return {static_cast<double>(core.gain_array[last]), static_cast<double>(core.frequency_array[last])};
    const auto start_of = [&](int i) { return rate * static_cast<double>(core.time_array[i]) / 1000.0; };
    const double t = core.sample_index;
    int& i = core.time_index;
    if (!(t >= start_of(i) && t < start_of(i + 1)) && i + 1 < last)
        ++i;
    const double length = start_of(i + 1) - start_of(i);
    const auto on_line = [&](const float* points) {
        const auto from = static_cast<double>(points[i]);
        const double slope = length != 0.0 ? (static_cast<double>(points[i + 1]) - from) / length : 0.0;
        return from + slope * (t - start_of(i));
    };
    return {on_line(core.gain_array), on_line(core.frequency_array)};
}

}  // namespace

BlockAlgo* ClimeFrequencySource_Init(int Input_pin, int Output_pin, BlockPro* block_pro, int type)
{
    BlockAlgo* blk = lbx::source_init(kSource, Input_pin, Output_pin, block_pro, type, ClimeFrequencySource_Destroy);
    if (blk)
        reset(blk, kDefaultVector);
    return blk;
}

spx_int32_t ClimeFrequencySource_ResetParam(BlockAlgo* blk, void* param)
{
    return reset(blk, static_cast<const float*>(param));
}

spx_int32_t ClimeFrequencySource_Update(BlockAlgo* blk) { return lbx::source_reset(kSource, blk, nullptr); }

spx_int32_t ClimeFrequencySource_Invoke(BlockAlgo* blk)
{
    if (blk) {
        LBX_LOG("Clime param is %f,%f,%f\n\n", static_cast<double>(blk->pParam[kClimeArrayLength]),
                static_cast<double>(blk->pParam[kClimeMaxTime]), static_cast<double>(blk->pParam[kClimeSwitch]));
    }
    return RT_OK;
}

spx_int32_t ClimeFrequencySource_ProcessAudioSample(BlockAlgo* blk, float**, float** data_out)
{
    auto* core = lbx::core_of<Clime_Core_S>(blk);
    if (core->Switch == SOURCE_SWITCH_OFF || core->array_length < 1.0F)
        return lbx::fill_pins(blk, core->Out_NumChannel, data_out, [] { return 0.0F; });
    const double rate = blk->block_pro->nSamplingRate;
    return lbx::fill_pins(blk, core->Out_NumChannel, data_out, [core, rate, gain = Gain()]() mutable {
        const Tone tone = tone_now(*core, rate);
        const double v = gain.of(tone.gain_db) * std::sin(static_cast<double>(core->phi));
        core->phi = lbx::step_phase(core->phi, lbx::kTwoPi * tone.hz * static_cast<double>(core->delta_time));
        lbx::advance(core->sample_index);
        return static_cast<float>(v);
    });
}

spx_int32_t ClimeFrequencySource_Destroy(BlockAlgo* blk) { return lbx::free_block(blk); }
