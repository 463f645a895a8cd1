// SPDX-License-Identifier: Apache-2.0
#include "clime_frequency.h"

#include <cmath>

#include "../common/common.h"
#include "clime_frequency_info.h"
#include "source.h"

using namespace lbx;

namespace {

// The entries and, after them, the arrays that they point to.
constexpr std::span kDefaultVector = kInitial<clime::kLayout>;

constexpr int kArraySlots[] = {kClimeTimeArray, kClimeFrequencyArray, kClimeGainArray};
constexpr int kArrayFloats = static_cast<int>(std::size(kArraySlots)) * kClimeCapacity;

bool known_index(float entry, int most)
{
    const int index = to_int(entry);
    if (index < 0 || index > most)
        LBX_LOG_AS("ClimeFrequencySource_ResetParam", __LINE__, "%s array index %d, the old arrays are kept\n\n",
                   index < 0 ? "negative" : "too large an", index);
    return index >= 0 && index <= most;
}

// From a vector of `floats`.
[[gnu::cold]] void take_table(Clime_Core_S& core, const float* vector, int floats)
{
    constexpr const VantoroTable& kTable = clime::kPoints;
    const int length = ParamAdapt(kTable.min_rows, kTable.max_rows, to_int(vector[kClimeArrayLength]), "array_length");
    for (const int slot : kArraySlots)
        if (!known_index(vector[slot], floats - length))
            return;
    std::copy_n(vector + to_int(vector[kClimeTimeArray]), length, core.time_array);
    std::copy_n(vector + to_int(vector[kClimeFrequencyArray]), length, core.frequency_array);
    std::copy_n(vector + to_int(vector[kClimeGainArray]), length, core.gain_array);
    core.array_length = static_cast<float>(length);
}

// The stored vector gets the table in force, and where it is in there.
void store_table(const Clime_Core_S& core, float* param)
{
    const int length = to_int(core.array_length);
    const float* arrays[] = {core.time_array, core.frequency_array, core.gain_array};
    int at = kClimeModuleSize;
    for (std::size_t k = 0; k < std::size(arrays); ++k, at += length) {
        param[kArraySlots[k]] = static_cast<float>(at);
        std::copy_n(arrays[k], length, param + at);
    }
    param[kClimeArrayLength] = core.array_length;
}

[[gnu::cold]] void apply(Clime_Core_S& core, float* param, const BlockPro& pro)
{
    store_table(core, param);
    core.maximum_time = param[kClimeMaxTime];
    core.maximum_sample =
        to_int(std::floor(static_cast<double>(pro.nSamplingRate) * static_cast<double>(core.maximum_time) / 1000));
    core.Switch = to_int(param[kClimeSwitch]);
    core.delta_time = 1.0F / rate_of(&pro);
    core.sample_index = core.time_index = 0;
    core.phi = 0.0F;
}

constexpr Generator<Clime_Core_S> kSource = {kDefaultVector.first(kClimeModuleSize), apply, kArrayFloats};

int reset(BlockAlgo* blk, const float* vector)
{
    if (blk && vector && vector != blk->pParam)
        take_table(*core_of<Clime_Core_S>(blk), vector, std::numeric_limits<int>::max());
    else if (blk)
        take_table(*core_of<Clime_Core_S>(blk), blk->pParam, kClimeModuleSize + kArrayFloats);
    return source_reset(kSource, blk, vector);
}

struct Tone {
    double gain_db, hz;
};

// 10^(dB / 20), computed only where the level moves.
class FactorOfDb {
public:
    double operator()(double db)
    {
        if (db != db_) {
            db_ = db;
            factor_ = std::pow(10.0, db / 20.0);
        }
        return factor_;
    }

private:
    double db_ = 0.0, factor_ = 1.0;
};

// The tone of this sample. At most one segment is entered per sample, and the last one is never left.
Tone tone_now(Clime_Core_S& core, double rate)
{
    const int last = to_int(core.array_length) - 1;
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
    BlockAlgo* blk = source_init(kSource, Input_pin, Output_pin, block_pro, type);
    if (blk)
        reset(blk, kDefaultVector.data());
    return blk;
}

spx_int32_t ClimeFrequencySource_ResetParam(BlockAlgo* blk, void* param)
{
    return reset(blk, static_cast<const float*>(param));
}

spx_int32_t ClimeFrequencySource_Update(BlockAlgo* blk) { return reset(blk, nullptr); }

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
    auto* core = core_of<Clime_Core_S>(blk);
    if (core->Switch == SOURCE_SWITCH_OFF || core->array_length < 1.0F)
        return fill_pins(blk, core->Out_NumChannel, data_out, 0.0F);
    const double rate = blk->block_pro->nSamplingRate;
    return fill_pins(blk, core->Out_NumChannel, data_out, [core, rate, factor = FactorOfDb()]() mutable {
        const Tone tone = tone_now(*core, rate);
        const double v = factor(tone.gain_db) * std::sin(static_cast<double>(core->phi));
        core->phi = step_phase(core->phi, kTwoPi * tone.hz * static_cast<double>(core->delta_time));
        advance(core->sample_index);
        return static_cast<float>(v);
    });
}

spx_int32_t ClimeFrequencySource_Destroy(BlockAlgo* blk) { return free_block(blk); }
