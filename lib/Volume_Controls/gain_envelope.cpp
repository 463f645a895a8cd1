// SPDX-License-Identifier: Apache-2.0
#include "gain_envelope.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

#include "../framework/clear_state.h"
#include "../framework/new_block.h"
#include "../framework/params.h"
#include "../kernels/ramp.h"
#include "gain_envelope_info.h"

using namespace lbx;
using gain_envelope::kBursts;

float time_example[6] = {kBursts[0], kBursts[2], kBursts[4], kBursts[6], kBursts[8], kBursts[10]};
float gainsdB_example[6] = {kBursts[1], kBursts[3], kBursts[5], kBursts[7], kBursts[9], kBursts[11]};

namespace {

constexpr int kExamplePoints = gain_envelope::kPoints.initial_rows;
constexpr float kFloorDb = gain_envelope::kGainDb.clamp.min;
constexpr int kTableSize = to_int(gain_envelope::kGainDb.valid.max - kFloorDb) + 1;  // of whole dB, both ends included

constexpr std::ptrdiff_t vector_size(int points) { return kGainEnvelopeParamOffset + 2 * std::ptrdiff_t{points}; }

float to_gain(double db) { return static_cast<float>(std::pow(10.0, db / 20.0)); }

// Samples and whole dB are subtracted as integers: a float counts samples only to 2^24, six minutes at 48 kHz.
float difference(int a, int b) { return static_cast<float>(std::int64_t{a} - b); }

// Segment `gear`; after the last point everything is the last point.
void load_segment(GainEnvelope_Core* core, int gear)
{
    const int last = core->numControl - 1;
    const int from = std::min(gear, last);
    const int to = from < last ? from + 1 : last;
    core->gear = gear;
    core->gain_dB_s = to_int(core->Gains_dB[from]);
    core->gain_dB_e = to_int(core->Gains_dB[to]);
    core->point_s = to_int(core->Points[from]);
    core->point_e = to_int(core->Points[to]);
    const float run = difference(core->point_e, core->point_s);
    core->rate = run == 0.0F ? 0.0F : difference(core->gain_dB_e, core->gain_dB_s) / run;
}

void restart(GainEnvelope_Core* core)
{
    core->counter = 1;
    load_segment(core, 0);
}

float level_gain(const GainEnvelope_Core* core)
{
    const float run = difference(core->counter, core->point_s);
    return GainTableFindNeast(core->gains_table, static_cast<float>(core->gain_dB_s) + core->rate * run);
}

struct Edges {
    float first, last;
};

// Runs the curve through one block.
Edges advance(GainEnvelope_Core* core, int n)
{
    Edges gain = {core->gain_s, core->gain_s};
    for (int i = 0; i < n && core->numControl > 0; ++i) {
        const bool ended = core->counter >= core->maxPoint;
        if (ended && core->loopFlag != 1)
            return {core->gain_e, core->gain_e};
        if (!ended && core->counter > core->point_e)
            load_segment(core, core->gear + 1);
        if (i == 0)
            gain.first = level_gain(core);
        if (i == n - 1)
            gain.last = level_gain(core);
        if (ended)
            restart(core);
        else
            ++core->counter;
    }
    return gain;
}

// The curve in samples and the state at its start, from the vector held.
void derive_curve(BlockAlgo* blk, int points)
{
    auto* core = core_of<GainEnvelope_Core>(blk);
    const float* ms = blk->pParam + kGainEnvelopeParamOffset;
    float* db = blk->pParam + kGainEnvelopeParamOffset + points;
    core->loopFlag = to_int(blk->pParam[kGainEnvelopeLoopFlag]);
    core->numControl = points;
    core->Points = blk->pState;
    core->Gains_dB = blk->pState + points;
    for (int k = 0; k < points; ++k) {
        core->Gains_dB[k] = clamp_back(db[k], gain_envelope::kGainDb.clamp);
        core->Points[k] =
            static_cast<float>(to_int(static_cast<double>(ms[k]) / 1000.0 * blk->block_pro->nSamplingRate));
    }
    if (points > 0) {
        core->gain_e = to_gain(static_cast<double>(db[points - 1]));
        core->maxPoint = to_int(core->Points[points - 1]);
        restart(core);
    }
}

}  // namespace

BlockAlgo* GainEnvelope_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    if (!info::pins_agree(info::kControlled, nInputs, nOutputs)) {
        LBX_LOG("wrong input pin number in Input_pin\n");
        return nullptr;
    }
    NewBlock blk = new_block(nInputs, nOutputs, block_pro, type);
    auto* core = new_core<GainEnvelope_Core>(blk);
    if (!core || !zeros(blk->pStateC, kTableSize))
        return nullptr;
    core->gains_table = blk->pStateC;
    for (int i = 0; i < kTableSize; ++i)
        core->gains_table[i] = to_gain(static_cast<double>(kFloorDb) + i);
    core->gain_s = 1.0F;
    float vector[kGainEnvelopeParamOffset + 2 * kExamplePoints] = {gain_envelope::kLoop.initial, kExamplePoints};
    std::ranges::copy(time_example, vector + kGainEnvelopeParamOffset);
    std::ranges::copy(gainsdB_example, vector + kGainEnvelopeParamOffset + kExamplePoints);
    return GainEnvelope_param_set(blk.get(), vector) == 0 ? blk.release() : nullptr;
}

[[gnu::cold]] int GainEnvelope_param_set(BlockAlgo* blk, float* param)
{
    const float* source = param ? param : blk->pParam;
    const int points = std::max(to_int(source[kGainEnvelopeNumPoints]), 0);
    float* vector = blk->pParam;
    if (!vector || points != core_of<GainEnvelope_Core>(blk)->numControl) {
        float* curve = nullptr;
        if (!zeros(vector, vector_size(points)) || !zeros(curve, 2 * std::ptrdiff_t{points})) {
            std::free(vector);
            return RT_ERR_MALLOC;
        }
        std::free(std::exchange(blk->pState, curve));
    }
    std::copy_n(source, vector_size(points), vector);
    if (vector != blk->pParam)
        std::free(std::exchange(blk->pParam, vector));
    derive_curve(blk, points);
    return 0;
}

int GainEnvelope_param_update(BlockAlgo* /*blk*/) { return 0; }

int GainEnvelope_param_invoke(BlockAlgo* blk)
{
    LBX_LOG("GainEnvelope param:\n\n");
    LBX_LOG("LoopFlag: %f\n", static_cast<double>(blk->pParam[kGainEnvelopeLoopFlag]));
    LBX_LOG("NumPoints: %f\n", static_cast<double>(blk->pParam[kGainEnvelopeNumPoints]));
    LBX_LOG("\n\n");
    return 0;
}

float GainTableFindNeast(float* table, float dB)
{
    const float above = dB - kFloorDb;
    const float position = above > 0.0F ? std::min(above, static_cast<float>(kTableSize - 1)) : 0.0F;
    const int i = std::min(to_int(position), kTableSize - 2);
    const float f = position - static_cast<float>(i);
    return (1.0F - f) * table[i] + f * table[i + 1];
}

void GainEnvelope_Render(float** data_in, float** data_out, int nOutputs, int nBlockSize, float gain_first,
                         float gain_last)
{
    float gain = gain_first;
    const float step = (gain_last - gain_first) / static_cast<float>(nBlockSize);
    // The rows are sums after each step; this line is used before it, so it begins one entry earlier.
    alignas(32) float storage[8 + rows_for(1) * kTile];
    float* rows = storage + 8;
    for (int start = 0; start < nBlockSize; start += kTile) {
        const int n = std::min(kTile, nBlockSize - start);
        rows[-1] = gain;
        lines(&gain, &step, 1, 1, rows, n);
        for (int ch = 0; ch < nOutputs; ++ch)
            multiply(data_in[ch + 1] + start, rows - 1, data_out[ch] + start, n);
    }
}

int GainEnvelope_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    const int n = blk->block_pro->nBlockSize;
    const Edges gain = advance(core_of<GainEnvelope_Core>(blk), n);
    GainEnvelope_Render(data_in, data_out, blk->nOutputs, n, gain.first, gain.last);
    return 0;
}

void clear_state::gain_envelope(BlockAlgo* blk)
{
    if (auto* core = core_of<GainEnvelope_Core>(blk); core->numControl > 0)
        restart(core);
}

int GainEnvelope_destroy(BlockAlgo* blk) { return free_block(blk); }
