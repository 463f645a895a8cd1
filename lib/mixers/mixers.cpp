// SPDX-License-Identifier: Apache-2.0
#include "mixers.h"

#include <algorithm>
#include <utility>

#include "../common/common.h"
#include "../framework/dispatch.h"
#include "../framework/log.h"
#include "../framework/new_block.h"
#include "../kernels/each_index.h"
#include "../kernels/fast_inline.h"
#include "arrangements.h"

namespace {

using lbx::kTile;

constexpr float kDefaultSlewRate = 15.0F;

int merge(BlockAlgo* blk, float** xn, float** yn)
{
    return Mixers_SigMergerProcess(blk->nInputs, blk->block_pro->nBlockSize, xn, yn);
}

enum class Gains : std::uint8_t {
    kNone,
    kOne,
    kInputs,
    kPairs,
    kMatrix,
    kOutputs
};

struct MixType {
    lbx::Codes codes;
    Gains gains;
    int inputs, outputs;  // pins it cannot do without
    int (*process)(BlockAlgo* blk, float** xn, float** yn);
};

constexpr MixType kTypes[] = {
    {EN_MIXERS_MERGE, Gains::kNone, 0, 1, merge},
    {EN_MIXERS_SINGLE, Gains::kOne, 0, 1, Mixers_SingleProcess},
    {EN_MIXERS_MULTI, Gains::kInputs, 0, 1, Mixers_MultiProcess},
    {EN_MIXERS_STEREO, Gains::kPairs, 0, 2, Mixers_StereoProcess},
    {EN_MIXERS_CROSS, Gains::kMatrix, 0, 0, Mixers_NxMProcess},
    {EN_SPLIT_SINGLE, Gains::kOne, 1, 1, Splitters_SingleProcess},
    {EN_SPLIT_MULTI, Gains::kOutputs, 1, 0, Splitters_MultiProcess},
    {EN_SPLIT_T_CONNECT, Gains::kNone, 1, 0, Splitters_TConnect_Process},
    {EN_MIXERS_SINGLE_SLEW, Gains::kOne, 0, 1, Mixers_SingleSlewProcess},
    {EN_MIXERS_MULTI_SLEW, Gains::kInputs, 0, 1, Mixers_MultiSlewProcess},
    {EN_MIXERS_STEREO_SLEW, Gains::kPairs, 0, 2, Mixers_StereoSlewProcess},
    {EN_MIXERS_CROSS_SLEW, Gains::kMatrix, 0, 0, Mixers_NxMSlewProcess},
    {EN_SPLIT_SINGLE_SLEW, Gains::kOne, 1, 1, Splitters_SingleSlewProcess},
    {EN_SPLIT_MULTI_SLEW, Gains::kOutputs, 1, 0, Splitters_MultiSlewProcess},
};

constexpr bool is_slewed(int type) { return type >= EN_MIXERS_SINGLE_SLEW; }
constexpr bool is_cross(int type) { return type == EN_MIXERS_CROSS || type == EN_MIXERS_CROSS_SLEW; }

inline std::ptrdiff_t Mix_GetGainNum(const BlockAlgo* blk)
{
    const MixType* row = lbx::row_of<kTypes>(blk->method_type);
    const std::ptrdiff_t inputs = std::max(blk->nInputs, 0);
    const std::ptrdiff_t outputs = std::max(blk->nOutputs, 0);
    switch (row ? row->gains : Gains::kNone) {
    case Gains::kOne:
        return 1;
    case Gains::kInputs:
        return inputs;
    case Gains::kPairs:
        return inputs / 2;
    case Gains::kMatrix:
        return inputs * outputs;
    case Gains::kOutputs:
        return outputs;
    case Gains::kNone:
        break;
    }
    return 0;
}

int block_size(const BlockAlgo* blk) { return blk->block_pro->nBlockSize; }

float slew_factor(const BlockAlgo* blk, float rate)
{
    return lbx::slew_alpha(rate, static_cast<float>(blk->block_pro->nSamplingRate),
                           static_cast<float>(block_size(blk)));
}

// The cross types copy their inputs first, a tile at a time.
bool scratch(BlockAlgo* blk)
{
    return !is_cross(blk->method_type) || lbx::zeros(blk->pState, std::ptrdiff_t{blk->nInputs} * kTile + lbx::kLine);
}

// All gains of a slewed block are one array: old, set, and for more than one gain new, dlt and tmp; then the rows, as
// many as an output has paths, and never less than the splitter's eight.
bool slew_arrays(MixSlewSt* st, std::ptrdiff_t gains, int inputs)
{
    const bool lone = gains == 1;
    const std::ptrdiff_t held = (lone ? 2 : 5) * gains;
    const std::ptrdiff_t rows =
        lbx::rows_for(std::max<std::ptrdiff_t>(std::min<std::ptrdiff_t>(gains, inputs), lbx::kSplitGroup));
    if (!lbx::zeros(st->old_gain, held + rows * kTile + lbx::kLine))
        return false;
    st->set_gain = st->old_gain + gains;
    st->new_gain = lone ? nullptr : st->old_gain + 2 * gains;
    st->dlt_gain = lone ? nullptr : st->old_gain + 3 * gains;
    st->tmp_gain = lone ? nullptr : st->old_gain + 4 * gains;
    st->rows = st->old_gain + held;
    return true;
}

int release(BlockAlgo* blk)
{
    const bool missing = !blk->pParam || !blk->AlgoCore;
    std::free(std::exchange(blk->pParam, nullptr));
    std::free(std::exchange(blk->AlgoCore, nullptr));
    std::free(std::exchange(blk->pState, nullptr));
    return missing ? RT_ERR_NULL_PTR : RT_OK;
}

// What is to be reached, per sample, and running: arrays, or the places of a lone gain.
struct Running {
    float *to, *step, *now;
};

Running running(MixSlewSt* st)
{
    if (st->tmp_gain)
        return {st->new_gain, st->dlt_gain, st->tmp_gain};
    return {&st->lone[0], &st->lone[1], &st->lone[2]};
}

void sum_inputs(int channels, int n, float** xn, float* y)
{
    lbx::sum_paths(channels, n, {y},
                   [=](auto sum, int k, int, int t) { return sum + lbx::load<decltype(sum)>(xn[k] + t); });
}

lbx::Pins pins(const BlockAlgo* blk, float** xn, float** yn)
{
    return {blk->nInputs, blk->nOutputs, xn, yn, block_size(blk)};
}

// One block of an arrangement with constant gains, and with gliding ones.
template <class Arrangement>
int plain(BlockAlgo* blk, Arrangement arrangement)
{
    arrangement(lbx::Constant{static_cast<const float*>(blk->AlgoCore)});
    return RT_OK;
}

template <class Arrangement>
int slewed(BlockAlgo* blk, Arrangement arrangement)
{
    auto* st = static_cast<MixSlewSt*>(blk->AlgoCore);
    const int gains = static_cast<int>(Mix_GetGainNum(blk));
    Mixers_SlewGainEnter(st, gains);
    const Running gain = running(st);
    if (st->conv_flag)
        arrangement(lbx::Moving{gain.now, gain.step, lbx::line_aligned(st->rows)});
    else
        arrangement(lbx::Constant{gain.now});
    Mixers_SlewGainOut(st, gains);
    return RT_OK;
}

// One channel under the only gain of a block, gliding where the type does.
void one_gain(BlockAlgo* blk, float* x, float* y)
{
    const int n = block_size(blk);
    if (!is_slewed(blk->method_type)) {
        lbx::scale(x, y, *static_cast<const float*>(blk->AlgoCore), n);
        return;
    }
    auto* st = static_cast<MixSlewSt*>(blk->AlgoCore);
    Mixers_SlewGainEnter(st, 1);
    if (st->conv_flag)
        lbx::ramp({st->lone[2], st->lone[0], st->lone[1]}, &x, &y, 1, n);
    else
        lbx::scale(x, y, st->set_gain[0], n);
    Mixers_SlewGainOut(st, 1);
}

int sum_one_gain(BlockAlgo* blk, float** xn, float** yn)
{
    sum_inputs(blk->nInputs, block_size(blk), xn, yn[0]);
    one_gain(blk, yn[0], yn[0]);
    return RT_OK;
}

int split_one_gain(BlockAlgo* blk, float** xn, float** yn)
{
    one_gain(blk, xn[0], yn[0]);
    for (int j = 1; j < blk->nOutputs; ++j)
        lbx::copy(yn[0], yn[j], block_size(blk));
    return RT_OK;
}

// The cross print takes the matrix for nInputs rows of nInputs, and so shows another selection unless it is square.
// Kept; what lies past the vector is left out.
void print_cross(const char* func, const BlockAlgo* blk, const float* gains)
{
    const std::ptrdiff_t count = Mix_GetGainNum(blk);
    for (std::ptrdiff_t row = 0; row < blk->nInputs; ++row) {
        for (std::ptrdiff_t k = row * blk->nInputs; k < std::min((row + 1) * blk->nInputs, count); ++k)
            LBX_LOG_AS(func, __LINE__, "%f, \n", static_cast<double>(gains[k]));
        LBX_LOG_AS(func, __LINE__, "\n\n");
    }
}

void print_gains(const char* func, const BlockAlgo* blk, const float* gains)
{
    if (is_cross(blk->method_type)) {
        print_cross(func, blk, gains);
        return;
    }
    for (std::ptrdiff_t k = 0; k < Mix_GetGainNum(blk); ++k)
        LBX_LOG_AS(func, __LINE__, "%f, \n", static_cast<double>(gains[k]));
}

}  // namespace

int Mixers_Init(BlockAlgo* blk)
{
    const std::ptrdiff_t gains = Mix_GetGainNum(blk);
    float* linear = nullptr;
    const bool held = lbx::zeros(linear, gains + 1);  // never empty: destroy tells a missing array
    blk->AlgoCore = linear;
    if (!held || !lbx::zeros(blk->pParam, gains + 1) || !scratch(blk))
        return RT_ERR_MALLOC;
    std::fill_n(linear, gains, 1.0F);
    return RT_OK;
}

int Mixers_SlewInit(BlockAlgo* blk)
{
    const std::ptrdiff_t gains = Mix_GetGainNum(blk);
    MixSlewSt* st = nullptr;
    if (!lbx::zeros(st, 1))
        return RT_ERR_MALLOC;
    blk->AlgoCore = st;
    if (!slew_arrays(st, gains, blk->nInputs) || !lbx::zeros(blk->pParam, gains + 1) || !scratch(blk))
        return RT_ERR_MALLOC;
    blk->pParam[0] = kDefaultSlewRate;
    std::fill_n(st->set_gain, gains, 1.0F);  // old_gain stays 0: a fresh block fades in from silence
    st->attack_gain = slew_factor(blk, kDefaultSlewRate);
    st->pre_div = 1.0F / (static_cast<float>(block_size(blk)) + 1.0F);
    return RT_OK;
}

int Mixers_SetParam(BlockAlgo* blk, float* param)
{
    const std::ptrdiff_t gains = Mix_GetGainNum(blk);
    auto* linear = static_cast<float*>(blk->AlgoCore);
    if (param)
        std::copy_n(param, gains, blk->pParam);
    std::transform(blk->pParam, blk->pParam + gains, linear, lbx::db_to_gain);
    return RT_OK;
}

int Mixers_SlewSetParam(BlockAlgo* blk, float* param)
{
    const std::ptrdiff_t gains = Mix_GetGainNum(blk);
    auto* st = static_cast<MixSlewSt*>(blk->AlgoCore);
    if (param)
        std::copy_n(param, gains + 1, blk->pParam);
    blk->pParam[0] = ParamAdaptFloat(1.0F, 23.0F, blk->pParam[0], "MixSlewRate");
    st->attack_gain = slew_factor(blk, blk->pParam[0]);
    std::transform(blk->pParam + 1, blk->pParam + 1 + gains, st->set_gain, lbx::db_to_gain);
    return RT_OK;
}

int Mixers_Destroy(BlockAlgo* blk) { return release(blk); }

int Mixers_SlewDestroy(BlockAlgo* blk)
{
    if (const auto* st = static_cast<MixSlewSt*>(blk->AlgoCore))
        std::free(st->old_gain);
    return release(blk);
}

void Mixers_SlewGainEnter(MixSlewSt* st, int chanNum)
{
    const Running gain = running(st);
    st->conv_flag = 0;
    for (int k = 0; k < chanNum; ++k) {
        const float old = st->old_gain[k];
        const bool moves = old != st->set_gain[k];
        const lbx::Glide g =
            moves ? lbx::glide(old, st->set_gain[k], st->attack_gain, st->pre_div) : lbx::Glide{old, old, 0.0F};
        gain.to[k] = g.to;
        gain.step[k] = g.step;
        gain.now[k] = g.from;
        st->conv_flag |= static_cast<int>(moves);
    }
}

void Mixers_SlewGainOut(MixSlewSt* st, int chanNum)
{
    const Running gain = running(st);
    for (int k = 0; k < chanNum; ++k)
        st->old_gain[k] = lbx::settle({st->old_gain[k], gain.to[k], gain.step[k]}, st->set_gain[k]);
}

int Mixers_SigMergerProcess(int chanNum, int size, float** xn, float** yn)
{
    sum_inputs(chanNum, size, xn, yn[0]);
    const auto channels = static_cast<float>(std::max(chanNum, 1));
    lbx::each_index(size, [=, y = yn[0]](int i) { y[i] /= channels; });
    return RT_OK;
}

int Mixers_SingleProcess(BlockAlgo* blk, float** xn, float** yn) { return sum_one_gain(blk, xn, yn); }

int Mixers_MultiProcess(BlockAlgo* blk, float** xn, float** yn)
{
    return plain(blk, [=](const auto& gains) { lbx::multi(pins(blk, xn, yn), gains); });
}

int Mixers_StereoProcess(BlockAlgo* blk, float** xn, float** yn)
{
    return plain(blk, [=](const auto& gains) { lbx::stereo(pins(blk, xn, yn), gains); });
}

int Mixers_NxMProcess(BlockAlgo* blk, float** xn, float** yn)
{
    return plain(blk, [=](const auto& gains) { lbx::cross(pins(blk, xn, yn), gains, lbx::line_aligned(blk->pState)); });
}

int Splitters_SingleProcess(BlockAlgo* blk, float** xn, float** yn) { return split_one_gain(blk, xn, yn); }

int Splitters_MultiProcess(BlockAlgo* blk, float** xn, float** yn)
{
    return plain(blk, [=](const auto& gains) { lbx::split(pins(blk, xn, yn), gains); });
}

int Splitters_TConnect_Process(BlockAlgo* blk, float** xn, float** yn)
{
    for (int j = 0; j < blk->nOutputs; ++j)
        lbx::copy(xn[0], yn[j], block_size(blk));
    return RT_OK;
}

int Mixers_SingleSlewProcess(BlockAlgo* blk, float** xn, float** yn) { return sum_one_gain(blk, xn, yn); }

int Mixers_MultiSlewProcess(BlockAlgo* blk, float** xn, float** yn)
{
    return slewed(blk, [=](const auto& gains) { lbx::multi(pins(blk, xn, yn), gains); });
}

int Mixers_StereoSlewProcess(BlockAlgo* blk, float** xn, float** yn)
{
    return slewed(blk, [=](const auto& gains) { lbx::stereo(pins(blk, xn, yn), gains); });
}

int Mixers_NxMSlewProcess(BlockAlgo* blk, float** xn, float** yn)
{
    return slewed(blk,
                  [=](const auto& gains) { lbx::cross(pins(blk, xn, yn), gains, lbx::line_aligned(blk->pState)); });
}

int Splitters_SingleSlewProcess(BlockAlgo* blk, float** xn, float** yn) { return split_one_gain(blk, xn, yn); }

int Splitters_MultiSlewProcess(BlockAlgo* blk, float** xn, float** yn)
{
    return slewed(blk, [=](const auto& gains) { lbx::split(pins(blk, xn, yn), gains); });
}

int BlockAlgo_Mixers_MulToOne(int in_chan, int size, float** xn, float** yn, float gain)
{
    sum_inputs(in_chan, size, xn, yn[0]);
    lbx::scale(yn[0], yn[0], lbx::db_to_gain(gain), size);
    return RT_OK;
}

BlockAlgo* BlockAlgo_Mixers_init(int nInputs, int nOutputs, BlockPro* pro, int type)
{
    const MixType* row = lbx::row_of<kTypes>(type);
    if (!row) {
        LBX_LOG_AS(__func__, 568, "Wrong input type in basic, type = %d\n\n", type);  // "basic": kept
        return nullptr;
    }
    lbx::NewBlock blk = lbx::new_block(nInputs, nOutputs, pro, type, BlockAlgo_Mixers_destroy);
    if (!blk)
        return nullptr;
    if (row->gains != Gains::kNone && (is_slewed(type) ? Mixers_SlewInit : Mixers_Init)(blk.get()) != RT_OK)
        return nullptr;
    return blk.release();
}

int BlockAlgo_Mixers_param_reset(BlockAlgo* blk, float* param)
{
    const MixType* row = lbx::row_of<kTypes>(blk->method_type);
    if (!row || row->gains == Gains::kNone)
        return RT_OK;
    return (is_slewed(blk->method_type) ? Mixers_SlewSetParam : Mixers_SetParam)(blk, param);
}

int BlockAlgo_Mixers_param_update(BlockAlgo* blk) { return BlockAlgo_Mixers_param_reset(blk, nullptr); }

int BlockAlgo_Mixers_param_invoke(BlockAlgo* blk)
{
    const int type = blk->method_type;
    if (type == EN_MIXERS_MERGE || !lbx::row_of<kTypes>(type))
        return RT_OK;
    if (is_slewed(type)) {
        LBX_LOG("Mix Model = %d, slew = %f, gain = \n", type, static_cast<double>(blk->pParam[0]));
        print_gains(__func__, blk, blk->pParam + 1);
    } else {
        LBX_LOG("Mix Model = %d, gain = \n", type);
        print_gains(__func__, blk, blk->pParam);
    }
    return RT_OK;
}

int BlockAlgo_Mixers_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    if (!blk || !data_in || !data_out) {
        LBX_LOG("Input is NULL\n\n");
        return RT_ERR_NULL_PTR;
    }
    const MixType* row = lbx::row_of<kTypes>(blk->method_type);
    if (!row || blk->nInputs < row->inputs || blk->nOutputs < row->outputs)
        return RT_OK;
    return row->process(blk, data_in, data_out);
}

int BlockAlgo_Mixers_destroy(BlockAlgo* blk)
{
    int result = RT_OK;
    const MixType* row = lbx::row_of<kTypes>(blk->method_type);
    if (row && row->gains != Gains::kNone)
        result = (is_slewed(blk->method_type) ? Mixers_SlewDestroy : Mixers_Destroy)(blk);
    std::free(blk);
    return result;
}
