// SPDX-License-Identifier: Apache-2.0
#include "qvaudio_compressor.h"

#include <algorithm>
#include <cmath>

#include "../framework/clear_state.h"
#include "../framework/log.h"
#include "../framework/new_block.h"
#include "../kernels/each_index.h"
#include "../kernels/follower.h"
#include "../kernels/ramp.h"
#include "../kernels/recursion.h"
#include "qvaudio_compressor_info.h"

using namespace lbx;

namespace {

constexpr int kMaxPoints = compressor::kCurve.max_rows;
constexpr int kLevels = kCompressorParamOffset;
constexpr int kGroup = 8;    // channels side by side
constexpr int kSteps = 100;  // of the gain table, which has one entry more

constexpr auto& kDefaults = kInitial<compressor::kRmsLayout>;

// The gain of a table entry is at least this; after init another floor than once set. Kept, though the curve of init is
// the identity and never meets it.
constexpr float kFloorAtInit = 0.01F;
constexpr float kFloorWhenSet = 0.001F;

bool has_sidechain(int type) { return type == EN_DP_COMPRESSOR_EXT_RMS || type == EN_DP_COMPRESSOR_EXT_PEAK; }

bool pins_of_type(int nInputs, int nOutputs, int type)
{
    return has_sidechain(type) ? info::pins_agree(info::kControlled, nInputs, nOutputs)
                               : info::pins_agree(info::kSame, nInputs, nOutputs);
}

// dB to a factor, not below `floor`; a NaN gives the floor.
float gain_of(float db, float floor)
{
    const float gain = rounded::exp(db * 2.3025851F / 20.0F);
    return gain > floor ? gain : floor;
}

// Segments up to the first point at 0 dB or repeated level, which end the curve.
int count_segments(const float* x, int points)
{
    for (int k = 0; k < points - 1; ++k)
        if (x[k + 1] == x[k] || x[k] == 0.0F)
            return k;
    return points - 1;
}

// Samples one segment of the curve into `entries` gains after entry `first`.
void sample_segment(Compressor_Core* core, const float* x, const float* y, int first, int entries, float floor)
{
    const float dx = x[1] - x[0];
    const auto slope = static_cast<float>(static_cast<double>(y[1] - y[0]) / (static_cast<double>(dx) + 1e-10));
    const float delta = dx / static_cast<float>(entries);
    core->agc_table[first] = gain_of(y[0] - x[0], kFloorWhenSet);
    float xx = x[0];
    for (int j = 1; j <= entries; ++j) {
        xx += delta;
        const float yy = std::fma(slope, xx - x[0], y[0]);
        core->agc_table[first + j] = gain_of(yy - xx, floor);
    }
}

// A segment shorter than a step of the table ends the building; it and those after it are left without entries, so
// that a level in one of them takes the gain of the last point reached. An unordered curve may ask for more entries
// than there are: the rest is cut.
void build_table(Compressor_Core* core, const float* x, const float* y, float floor)
{
    const float step = (x[core->break_point] - x[0]) / static_cast<float>(kSteps);
    bool built = true;
    for (int k = 0; k < core->break_point; ++k) {
        const int first = core->inter_num[k];
        const float dx = x[k + 1] - x[k];
        const int entries = built ? std::min(to_int(dx / step), kSteps - first) : 0;
        built = entries > 0;
        core->delta_x[k] = built ? dx / static_cast<float>(entries) : 0.0F;
        core->inter_num[k + 1] = first + (built ? entries : 0);
        if (built)
            sample_segment(core, x + k, y + k, first, entries, floor);
    }
}

// The curve of the stored vector. Fewer than two points are no curve.
void take_curve(BlockAlgo* blk, int points, float floor)
{
    auto* core = core_of<Compressor_Core>(blk);
    const float* x = blk->pParam + kLevels;
    core->table_len = points;
    if (points < 2)
        return;
    core->break_point = count_segments(x, points);
    if (core->break_point > 0)
        build_table(core, x, x + points, floor);
}

// What a fresh block and one that was set derive by the same laws.
void take_common(BlockAlgo* blk)
{
    auto* core = core_of<Compressor_Core>(blk);
    core->hold_time = hold_samples(blk->pParam[kCompressorHoldTime], blk->block_pro);
    core->hold_count = 0;
    core->max_rms = 0.0F;
    // A power ratio: divided by 10, not 20. Kept, make-up gains are set by ear against it.
    core->post_gain = rounded::pow(10.0F, blk->pParam[kCompressorPostGain] / 10.0F);
}

// The gain that the curve draws at `level` dB.
float target_gain(const Compressor_Core& core, const float* x, float level)
{
    if (core.table_len < 2)
        return 1.0F;
    if (level <= x[0])
        return core.agc_table[0];
    if (level >= x[core.break_point])
        return 1.0F;
    for (int k = 0; k < core.break_point; ++k)
        if (x[k] <= level && level < x[k + 1]) {
            const int nearest = to_int(static_cast<double>((level - x[k]) / core.delta_x[k]) + 0.5);
            const int first = core.inter_num[k];
            return core.agc_table[first + std::clamp(nearest, 0, core.inter_num[k + 1] - first)];
        }
    return 1.0F;  // between the segments of an unordered curve
}

// A rise is taken at once and restarts the hold; a fall waits for the hold to end. Every channel counts the one counter
// down, and any channel's rise restarts it for all: kept.
void hold_and_decay(Compressor_Core* core, float& level, float value, int n)
{
    if (value > level) {
        level = value;
        core->hold_count = core->hold_time;
        return;
    }
    core->hold_count = hold_sub(core->hold_count, n);
    if (core->hold_count <= 0)
        level = follow(level, value, core->decay_coeff);
}

// Measures of up to eight channels' blocks.
void peaks(const float* const* in, int channels, int n, float* values)
{
    for (int ch = 0; ch < channels; ++ch) {
        float top[8] = {};  // of every eighth sample; a NaN is never a peak, so their order does not matter
        int i = 0;
        for (; i + 8 <= n; i += 8)
            for (int k = 0; k < 8; ++k)
                top[k] = std::max(top[k], std::fabs(in[ch][i + k]));
        for (; i < n; ++i)
            top[0] = std::max(top[0], std::fabs(in[ch][i]));
        values[ch] = *std::max_element(top, top + 8);
    }
}

template <class V>
LBX_KERNEL void sums_in_lanes(const float* const* in, int n, float* sums)
{
    V sum = {};
    each_sample<V>(in, nullptr, n, [&](V x, int) { return sum = mul_add(x, x, sum); });
    store(sums, sum);
}

// Sums of squares, of several channels side by side: each addition waits for the one before it.
void sums(const float* const* in, int channels, int n, float* values)
{
    if (channels == 1) {
        values[0] = sum_of_squares(in[0], n);
        return;
    }
    const float* lane[kGroup];
    for (int l = 0; l < kGroup; ++l)
        lane[l] = in[std::min(l, channels - 1)];
    (channels <= 4 ? sums_in_lanes<f4> : sums_in_lanes<f8>)(lane, n, values);
}

// One block's level of one channel in dB, from what was measured in it.
float rms_level(Compressor_Core* core, int ch, float sum, int n)
{
    float& mean = core->smooth_rms[ch];
    mean = follow(mean, sum * core->pre_div, core->rmstc_coeff);
    hold_and_decay(core, core->tarck_env[ch], mean, n);
    return level_db(core->tarck_env[ch], kPowerDb);
}

float peak_level(Compressor_Core* core, int ch, float top, int n)
{
    hold_and_decay(core, core->smooth_rms[ch], top, n);
    return level_db(core->smooth_rms[ch], kAmplitudeDb);
}

// Per sample, so that a gain goes up to its target within the block, or down by a share of the way, 1 - decay_coeff.
float step_to(const Compressor_Core& core, float gain, float target)
{
    const float keep = core.decay_coeff;
    const float way = target > gain ? target - gain : gain * (keep - 1.0F) + (1.0F - keep) * target;
    return way * core.pre_div;
}

// Up to eight channels along their gains' lines.
void apply(float post_gain, float* gain, const float* step, const float* const* in, float* const* out, int channels,
           int n)
{
    alignas(32) float rows[kGroup * kTile];
    for (int start = 0; start < n; start += kTile) {
        const int some = std::min(kTile, n - start);
        lines(gain, step, 1, channels, rows, some);
        for (int ch = 0; ch < channels; ++ch)
            each_index(some, [=, x = in[ch] + start, y = out[ch] + start, row = rows + ch * kTile](int i) {
                y[i] = std::max(std::min(row[i] * x[i] * post_gain, 1.0F), -1.0F);
            });
    }
}

template <auto Measure, auto Level>
void render(BlockAlgo* blk, Compressor_Core* core, float** in, const float* side, float** out, int n)
{
    float* const* signal = side ? in + 1 : in;
    float shared = 0.0F;
    if (side)
        Measure(&side, 1, n, &shared);
    for (int first = 0; first < blk->nOutputs; first += kGroup) {
        const int some = std::min(blk->nOutputs - first, kGroup);
        float* gain = core->smooth_gain + first;
        float value[kGroup], step[kGroup];
        if (!side)
            Measure(in + first, some, n, value);
        for (int k = 0; k < some; ++k) {
            const float level = Level(core, first + k, side ? shared : value[k], n);
            step[k] = step_to(*core, gain[k], target_gain(*core, blk->pParam + kLevels, level));
        }
        apply(core->post_gain, gain, step, signal + first, out + first, some, n);
    }
}

}  // namespace

BlockAlgo* Compressor_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    if (!pins_of_type(nInputs, nOutputs, type)) {
        LBX_LOG("wrong input %d pin and output %d pin in compressor\n", nInputs, nOutputs);
        return nullptr;
    }
    NewBlock blk = new_block(nInputs, nOutputs, block_pro, type, Compressor_destroy);
    auto* core = new_core<Compressor_Core>(blk);
    // Room for the longest curve, so that a parameter set never allocates.
    if (!core || !zeros(blk->pParam, kLevels + 2 * kMaxPoints) || !zeros(core->smooth_rms, nOutputs) ||
        !zeros(core->tarck_env, nOutputs) || !zeros(core->smooth_gain, nOutputs) ||
        !zeros(core->delta_x, kMaxPoints - 1) || !zeros(core->inter_num, kMaxPoints) ||
        !zeros(core->agc_table, kSteps + 1))
        return nullptr;
    std::ranges::copy(kDefaults, blk->pParam);
    clear_state::compressor(blk.get());
    core->pre_div = 1.0F / static_cast<float>(block_pro->nBlockSize);
    core->bit_norm = bit_norm(block_pro->bitRate);
    // The weights of a fresh block follow another law than those of one that was set: kept.
    core->rmstc_coeff = rise_weight(kDefaults[kCompressorRmstc], block_pro);
    core->decay_coeff = rise_weight(kDefaults[kCompressorDecayTime], block_pro);
    take_common(blk.get());
    take_curve(blk.get(), to_int(kDefaults[kCompressorTableLen]), kFloorAtInit);
    return blk.release();
}

int Compressor_param_set(BlockAlgo* blk, float* param)
{
    auto* core = core_of<Compressor_Core>(blk);
    copy_params(blk->pParam, param, kLevels);
    const int points = std::max(to_int(blk->pParam[kCompressorTableLen]), 0);
    if (points > kMaxPoints) {
        LBX_LOG("ERROR:Exceed limit table length\n");
        return 0;
    }
    copy_params(blk->pParam + kLevels, param ? param + kLevels : nullptr, 2 * points);
    take_curve(blk, points, kFloorWhenSet);
    const auto samples = static_cast<float>(blk->block_pro->nBlockSize);
    const float rate_hz = rate_of(blk->block_pro);
    core->rmstc_coeff = growing_weight(blk->pParam[kCompressorRmstc], samples, rate_hz);
    core->decay_coeff = 1.0F - decay_factor(blk->pParam[kCompressorDecayTime], samples, rate_hz, 8.0F);
    take_common(blk);
    return 0;
}

int Compressor_param_update(BlockAlgo*) { return 0; }

int Compressor_param_invoke(BlockAlgo* blk)
{
    const float* param = blk->pParam;
    LBX_LOG("Compressor param is %f,%f,%f,%f,%f,%f\n", static_cast<double>(param[kCompressorRmstc]),
            static_cast<double>(param[kCompressorHoldTime]), static_cast<double>(param[kCompressorDecayTime]),
            static_cast<double>(param[kCompressorSoftKnee]), static_cast<double>(param[kCompressorPostGain]),
            static_cast<double>(param[kCompressorTableLen]));
    return 0;
}

void Com_Rms_Render(BlockAlgo* blk, Compressor_Core* core, float** data_in, float* side, float** data_out, int n)
{
    render<sums, rms_level>(blk, core, data_in, side, data_out, n);
}

void Com_Peak_Render(BlockAlgo* blk, Compressor_Core* core, float** data_in, float* side, float** data_out, int n)
{
    render<peaks, peak_level>(blk, core, data_in, side, data_out, n);
}

int Compressor_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    const int type = blk->method_type;
    float* side = has_sidechain(type) ? data_in[0] : nullptr;
    const bool rms = type == EN_DP_COMPRESSOR_RMS || type == EN_DP_COMPRESSOR_EXT_RMS;
    const auto render_block = rms ? Com_Rms_Render : Com_Peak_Render;
    render_block(blk, core_of<Compressor_Core>(blk), data_in, side, data_out, blk->block_pro->nBlockSize);
    return 1;
}

void clear_state::compressor(BlockAlgo* blk)
{
    auto* core = core_of<Compressor_Core>(blk);
    std::fill_n(core->smooth_rms, blk->nOutputs, 0.0F);
    std::fill_n(core->tarck_env, blk->nOutputs, 0.0F);
    std::fill_n(core->smooth_gain, blk->nOutputs, 1.0F);
    core->hold_count = 0;
}

int Compressor_destroy(BlockAlgo* blk)
{
    if (blk && blk->AlgoCore) {
        auto* core = core_of<Compressor_Core>(blk);
        for (float* array : {core->smooth_rms, core->tarck_env, core->smooth_gain, core->delta_x, core->agc_table})
            std::free(array);
        std::free(core->inter_num);
    }
    return free_block(blk);
}
