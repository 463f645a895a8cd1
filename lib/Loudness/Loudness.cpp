// SPDX-License-Identifier: Apache-2.0
#include "Loudness.h"

#include <algorithm>
#include <cmath>

#include "../framework/clear_state.h"
#include "../framework/log.h"
#include "../framework/new_block.h"
#include "../kernels/follower.h"
#include "../kernels/recursion.h"
#include "../kernels/section.h"
#include "../kernels/slew.h"
#include "Loudness_info.h"

using namespace lbx;

namespace {

constexpr int kCoeffs = FirstOrder<float>::kCoeffs;

// How much bass and treble are raised, in dB at volume `v` dB, per unit of their gain.
double bass_raise(double v) { return 8.0 - 0.1 * v; }
double treble_raise(double v) { return 5.0 - 0.15 * v; }

// e^(0.1151 db): 10^(dB / 20), coarse.
float coarse_gain(double db) { return static_cast<float>(fast_exp(0.1151 * db)); }

void design(FirstOrder_Core* filter, int type, double gain_db, float fc_hz, const BlockPro* pro)
{
    float vector[kFilter1stModuleSize] = {1, 0, static_cast<float>(type), static_cast<float>(gain_db), fc_hz, 0};
    calculateFilter1stCoeffs(filter, vector, pro->nSamplingRate);
}

void design_both(BlockAlgo* blk, double bass_db, double treble_db)
{
    auto* core = core_of<Loudness_Core>(blk);
    design(&core->LP_Core, LP1st, bass_db, blk->pParam[kLoudnessBassFreq], blk->block_pro);
    design(&core->HP_Core, HP1st, treble_db, blk->pParam[kLoudnessTrebleFreq], blk->block_pro);
}

void take_slew(BlockAlgo* blk)
{
    core_of<Loudness_Core>(blk)->attack_gain = slew_alpha(blk->pParam[kLoudnessSlewRate], blk->block_pro);
}

// A fresh block has laws of its own: a fixed bass part, and a treble gain that is no percentage. Kept, graphs are
// tuned with it.
void start(BlockAlgo* blk)
{
    float* param = blk->pParam;
    const auto v = static_cast<double>(param[kLoudnessPostGain]);
    core_of<Loudness_Core>(blk)->post_gain = linear_gain(param[kLoudnessPostGain]);
    if (blk->method_type == EN_LOUDNESS_LH) {
        const auto treble = static_cast<double>(param[kLoudnessTrebleGain]);
        design_both(blk, -8.1, std::min(-1.0, 0.7 * v + treble_raise(v) * treble));
    } else {
        design_both(blk, 0.0, 0.0);
        param[kLoudnessSlewRate] = loudness::kSlewRate.initial;
        take_slew(blk);
    }
}

// Both filters shape by level differences to the volume, which the final factor brings in.
void set_by_volume(BlockAlgo* blk)
{
    auto* core = core_of<Loudness_Core>(blk);
    const float* param = blk->pParam;
    const auto v = static_cast<double>(param[kLoudnessPostGain]);
    const double bass = 0.6 * v + bass_raise(v) * static_cast<double>(param[kLoudnessBassGain]) / 100.0;
    const double treble = 0.7 * v + treble_raise(v) * static_cast<double>(param[kLoudnessTrebleGain]) / 100.0;
    design_both(blk, bass - v, treble - v);
    core->LP_gain = coarse_gain(bass);
    core->post_gain = linear_gain(param[kLoudnessPostGain]);
}

// A shelf's factor for an amount in dB, at most -1 dB.
float shelf_gain(double db) { return coarse_gain(db < -1.0 ? db : -1.0); }

// The volume after n samples, summed as render_some sums it. A step that is lost in rounding once is lost from then on.
float walk(float volume, float step, int n)
{
    for (int i = 0; i < n; ++i) {
        const float before = volume;
        volume += step;
        if (volume == before)
            break;
    }
    return volume;
}

// The volume's step in the next n samples of one channel. Without a volume pin it may arrive first.
float step_to_pin(Loudness_Core* core)
{
    return glide(core->pre_gain, core->post_gain, core->attack_gain, core->pre_div).step;
}

float step_or_arrive(Loudness_Core* core)
{
    const float step = step_to_pin(core);
    if (core->pre_gain != core->post_gain && !still(step))
        return step;
    core->pre_gain = core->post_gain;
    return 0.0F;
}

// Up to eight channels, from `ch` on, through both filters; per sample the volume moves by its step and scales low,
// high and dry part. There is one volume: every channel goes on where the one before has ended.
void render_some(Loudness_Core* core, float low_gain, float high_gain, float (*next_step)(Loudness_Core*),
                 const float* const* in, float* const* out, int channels, int n, int ch)
{
    float volumes[8];
    float steps[8];
    for (int k = 0; k < channels; ++k) {
        if (k > 0)
            core->pre_gain = walk(volumes[k - 1], steps[k - 1], n);
        steps[k] = next_step(core);
        volumes[k] = core->pre_gain;
    }
    const auto law = [=](auto lanes) {
        using V = decltype(lanes);
        return [bass_gain = every<V>(low_gain), treble_gain = every<V>(high_gain), half = every<V>(0.5F),
                bass = section_of<FirstOrder, V>(core->LP_Core.coeffArray),
                treble = section_of<FirstOrder, V>(core->HP_Core.coeffArray)](V* word, V x, int) {
            const V low = filter(bass, word, x) * bass_gain;
            const V high = filter(treble, word + 1, x) * treble_gain;
            word[2] = word[2] + word[3];
            return (low + high + x) * word[2] * half;
        };
    };
    each_recursion({core->LP_Core.stateBuffer + ch, core->HP_Core.stateBuffer + ch, volumes, steps}, 1, in, out,
                   channels, n, law);
    core->pre_gain = volumes[channels - 1];
}

// The volume of the pin, and the shelves' factors for it.
void take_volume(const BlockAlgo* blk, Loudness_Core* core, float volume)
{
    core->post_gain = volume > 0.001F ? std::min(volume, 1.0F) : 0.001F;
    const double db = static_cast<float>(kAmplitudeDb * static_cast<double>(fast_log2(core->post_gain)));
    const auto bass = static_cast<double>(blk->pParam[kLoudnessBassGain]);
    const auto treble = static_cast<double>(blk->pParam[kLoudnessTrebleGain]);
    core->LP_gain = shelf_gain(-0.4 * db + bass_raise(db) * bass * 0.01);
    core->HP_gain = shelf_gain(-0.3 * db + treble_raise(db) * treble * 0.01);
}

}  // namespace

// Half the sum of the dry signal, the bass and the treble, at the volume.
[[gnu::cold]] void lbx::loudness::linear_model(const BlockAlgo* blk, const Paths& paths)
{
    const auto* core = core_of<Loudness_Core>(blk);
    const double gain = 0.5 * static_cast<double>(core->post_gain);
    for (int ch = 0; ch < std::min(blk->nInputs, blk->nOutputs); ++ch) {
        paths.path(ch, ch, gain);
        for (const FirstOrder_Core* part : {&core->LP_Core, &core->HP_Core}) {
            paths.path(ch, ch, gain);
            paths.first_order(part->coeffArray);
        }
    }
}

BlockAlgo* Loudness_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    NewBlock blk = new_block(nInputs, nOutputs, block_pro, type);
    auto* core = new_core<Loudness_Core>(blk);
    // One entry more than there are parameters: it is printed.
    if (!core || !zeros(blk->pParam, kLoudnessModuleSize + 1) || !zeros(blk->pState, 2 * kCoeffs) ||
        !zeros(blk->pStateB, std::ptrdiff_t{2} * nOutputs))
        return nullptr;
    core->LP_Core = {1, 0, blk->pState, blk->pStateB};
    core->HP_Core = {1, 0, blk->pState + kCoeffs, blk->pStateB + nOutputs};
    core->pre_div = sample_share(block_pro);
    copy_params(blk->pParam, kInitial<loudness::kLayout>.data(), kLoudnessModuleSize);
    start(blk.get());
    return blk.release();
}

int Loudness_param_set(BlockAlgo* blk, float* param)
{
    copy_params(blk->pParam, param, kLoudnessModuleSize);
    if (blk->method_type == EN_LOUDNESS_LH) {
        set_by_volume(blk);
    } else {
        design_both(blk, 0.0, 0.0);
        take_slew(blk);
    }
    return 0;
}

int Loudness_param_update(BlockAlgo*) { return 0; }

int Loudness_param_invoke(BlockAlgo* blk)
{
    // Entries 0 to 6 under the labels that hosts know, which from the fifth on are not the entries' names.
    static constexpr ParamLabel kLabels[] = {{"BassFreq"}, {"BassGain"},   {"TrebleFreq"}, {"TrebleGain"},
                                             {"PostGain"}, {"FilterType"}, {"SlewRate"}};
    print_params(__func__, "Loudness", kLabels, blk->pParam);
    return 0;
}

void Loudness_Render(Loudness_Core* core, const float* in, float* out, int n, int ch)
{
    render_some(core, 1.0F, 1.0F, step_or_arrive, &in, &out, 1, n, ch);
}

void Loudness_Ext_Render(BlockAlgo* blk, Loudness_Core* core, const float* in, const float* volume, float* out, int n,
                         int ch)
{
    take_volume(blk, core, volume[0]);
    render_some(core, core->LP_gain, core->HP_gain, step_to_pin, &in, &out, 1, n, ch);
}

int Loudness_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    auto* core = core_of<Loudness_Core>(blk);
    const int n = blk->block_pro->nBlockSize;
    for (int ch = 0; ch < blk->nOutputs; ch += 8) {
        const int some = std::min(blk->nOutputs - ch, 8);
        if (blk->method_type == EN_LOUDNESS_LH) {
            render_some(core, 1.0F, 1.0F, step_or_arrive, data_in + ch, data_out + ch, some, n, ch);
        } else {
            take_volume(blk, core, data_in[0][0]);
            render_some(core, core->LP_gain, core->HP_gain, step_to_pin, data_in + ch + 1, data_out + ch, some, n, ch);
        }
    }
    return 1;
}

void clear_state::loudness(BlockAlgo* blk)
{
    core_of<Loudness_Core>(blk)->pre_gain = 0.0F;
    std::fill_n(blk->pStateB, std::ptrdiff_t{2} * blk->nOutputs, 0.0F);
}

int Loudness_destroy(BlockAlgo* blk) { return free_block(blk); }
