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
#include "mixers_info.h"

using namespace lbx;

namespace {

int merge(BlockAlgo* blk, float** xn, float** yn)
{
    return Mixers_SigMergerProcess(blk->nInputs, blk->block_pro->nBlockSize, xn, yn);
}

struct GainCount {
    int fixed;
    VantoroPer per;
};
constexpr GainCount kNone = {0, VANTORO_PER_NOTHING}, kOne = {1, VANTORO_PER_NOTHING}, kInputs = {0, VANTORO_PER_INPUT},
                    kPairs = {0, VANTORO_PER_INPUT_PAIR}, kMatrix = {0, VANTORO_PER_CROSSPOINT},
                    kOutputs = {0, VANTORO_PER_OUTPUT};

struct MixType {
    Codes codes;
    GainCount gains;
    int inputs, outputs;  // pins it cannot do without
    int (*process)(BlockAlgo* blk, float** xn, float** yn);

    bool has_gains() const { return gains.fixed > 0 || gains.per != VANTORO_PER_NOTHING; }
    bool runs(const BlockAlgo* blk) const { return blk->nInputs >= inputs && blk->nOutputs >= outputs; }
};

constexpr MixType kTypes[] = {
    {EN_MIXERS_MERGE, kNone, 0, 1, merge},
    {EN_MIXERS_SINGLE, kOne, 0, 1, Mixers_SingleProcess},
    {EN_MIXERS_MULTI, kInputs, 0, 1, Mixers_MultiProcess},
    {EN_MIXERS_STEREO, kPairs, 0, 2, Mixers_StereoProcess},
    {EN_MIXERS_CROSS, kMatrix, 0, 0, Mixers_NxMProcess},
    {EN_SPLIT_SINGLE, kOne, 1, 1, Splitters_SingleProcess},
    {EN_SPLIT_MULTI, kOutputs, 1, 0, Splitters_MultiProcess},
    {EN_SPLIT_T_CONNECT, kNone, 1, 0, Splitters_TConnect_Process},
    {EN_MIXERS_SINGLE_SLEW, kOne, 0, 1, Mixers_SingleSlewProcess},
    {EN_MIXERS_MULTI_SLEW, kInputs, 0, 1, Mixers_MultiSlewProcess},
    {EN_MIXERS_STEREO_SLEW, kPairs, 0, 2, Mixers_StereoSlewProcess},
    {EN_MIXERS_CROSS_SLEW, kMatrix, 0, 0, Mixers_NxMSlewProcess},
    {EN_SPLIT_SINGLE_SLEW, kOne, 1, 1, Splitters_SingleSlewProcess},
    {EN_SPLIT_MULTI_SLEW, kOutputs, 1, 0, Splitters_MultiSlewProcess},
};

constexpr bool is_slewed(int type) { return type >= EN_MIXERS_SINGLE_SLEW; }
constexpr bool is_cross(int type) { return type == EN_MIXERS_CROSS || type == EN_MIXERS_CROSS_SLEW; }

std::ptrdiff_t Mix_GetGainNum(const BlockAlgo* blk)
{
    const MixType* row = row_of<kTypes>(blk->method_type);
    if (!row)
        return 0;
    const std::ptrdiff_t inputs = std::max(blk->nInputs, 0);
    const std::ptrdiff_t outputs = std::max(blk->nOutputs, 0);
    return row->gains.fixed + info::count_per(row->gains.per, inputs, outputs);
}

int block_size(const BlockAlgo* blk) { return blk->block_pro->nBlockSize; }

// The cross types copy their inputs first, a tile at a time.
bool scratch(BlockAlgo* blk)
{
    return !is_cross(blk->method_type) || zeros(blk->pState, std::ptrdiff_t{blk->nInputs} * kTile + kLine);
}

// All gains of a slewed block are one array: old, set, and for more than one gain new, dlt and tmp; then the rows, as
// many as an output has paths, and never less than the splitter's eight.
bool slew_arrays(MixSlewSt* st, std::ptrdiff_t gains, int inputs)
{
    const bool lone = gains == 1;
    const std::ptrdiff_t held = (lone ? 2 : 5) * gains;
    const std::ptrdiff_t rows =
        rows_for(std::max<std::ptrdiff_t>(std::min<std::ptrdiff_t>(gains, inputs), kSplitGroup));
    if (!zeros(st->old_gain, held + rows * kTile + kLine))
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
    sum_paths(channels, n, {y}, [=](auto sum, int k, int, int t) { return sum + load<decltype(sum)>(xn[k] + t); });
}

PinBuffers pins(const BlockAlgo* blk, float** xn, float** yn)
{
    return {blk->nInputs, blk->nOutputs, xn, yn, block_size(blk)};
}

// One block of an arrangement with constant gains, and with gliding ones.
template <class Arrangement>
int plain(BlockAlgo* blk, Arrangement arrangement)
{
    arrangement(PlainGains{core_of<float>(blk)});
    return RT_OK;
}

template <class Arrangement>
int slewed(BlockAlgo* blk, Arrangement arrangement)
{
    auto* st = core_of<MixSlewSt>(blk);
    const int gains = static_cast<int>(Mix_GetGainNum(blk));
    Mixers_SlewGainEnter(st, gains);
    const Running gain = running(st);
    if (st->conv_flag)
        arrangement(SlewedGains{gain.now, gain.step, line_aligned(st->rows)});
    else
        arrangement(PlainGains{gain.now});
    Mixers_SlewGainOut(st, gains);
    return RT_OK;
}

// One channel under the only gain of a block, gliding where the type does.
void one_gain(BlockAlgo* blk, float* x, float* y)
{
    const int n = block_size(blk);
    if (!is_slewed(blk->method_type)) {
        scale(x, y, *core_of<float>(blk), n);
        return;
    }
    auto* st = core_of<MixSlewSt>(blk);
    if (st->old_gain[0] == st->set_gain[0]) [[likely]] {
        st->old_gain[0] = st->set_gain[0];  // the zeros' signs may differ
        scale(x, y, st->set_gain[0], n);
        return;
    }
    Mixers_SlewGainEnter(st, 1);
    ramp({st->lone[2], st->lone[0], st->lone[1]}, &x, &y, 1, n);
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
        copy(yn[0], yn[j], block_size(blk));
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

// The place of a path's gain; -1: there is no such path.
std::ptrdiff_t gain_of(const MixType& type, const BlockAlgo* blk, int in, int out)
{
    switch (type.gains.per) {
    case VANTORO_PER_INPUT:
        return in;
    case VANTORO_PER_OUTPUT:
        return out;
    case VANTORO_PER_INPUT_PAIR:
        return in % 2 == out && in / 2 < blk->nInputs / 2 ? in / 2 : -1;
    case VANTORO_PER_CROSSPOINT:
        return std::ptrdiff_t{in} * blk->nOutputs + out;
    default:
        return 0;
    }
}

// The gains in force, or those that are to be reached.
const float* gains_of(const BlockAlgo* blk)
{
    return is_slewed(blk->method_type) ? core_of<MixSlewSt>(blk)->set_gain : core_of<float>(blk);
}

}  // namespace

// A splitter has one input; a sum goes to the outputs that its type cannot do without. Without gains it is a mean.
[[gnu::cold]] void lbx::mixers::linear_model(const BlockAlgo* blk, const Paths& paths)
{
    const MixType& type = *row_of<kTypes>(blk->method_type);
    if (!type.runs(blk))
        return;
    const int inputs = type.inputs > 0 ? type.inputs : blk->nInputs;
    const int outputs = type.inputs == 0 && type.outputs > 0 ? type.outputs : blk->nOutputs;
    for (int in = 0; in < inputs; ++in)
        for (int out = 0; out < outputs; ++out)
            if (const std::ptrdiff_t at = gain_of(type, blk, in, out); at >= 0)
                paths.path(in, out, type.has_gains() ? static_cast<double>(gains_of(blk)[at]) : 1.0 / inputs);
}

int Mixers_Init(BlockAlgo* blk)
{
    const std::ptrdiff_t gains = Mix_GetGainNum(blk);
    float* linear = nullptr;
    const bool held = zeros(linear, gains + 1);  // never empty: destroy reports a missing array
    blk->AlgoCore = linear;
    if (!held || !zeros(blk->pParam, gains + 1) || !scratch(blk))
        return RT_ERR_MALLOC;
    static_assert(mixers::kGain.initial == 0.0F && mixers::kOneGain.initial == 0.0F, "as zeros() leaves them");
    std::fill_n(linear, gains, 1.0F);
    return RT_OK;
}

int Mixers_SlewInit(BlockAlgo* blk)
{
    const std::ptrdiff_t gains = Mix_GetGainNum(blk);
    MixSlewSt* st = nullptr;
    if (!zeros(st, 1))
        return RT_ERR_MALLOC;
    blk->AlgoCore = st;
    if (!slew_arrays(st, gains, blk->nInputs) || !zeros(blk->pParam, gains + 1) || !scratch(blk))
        return RT_ERR_MALLOC;
    blk->pParam[0] = mixers::kSlewRate.initial;
    std::fill_n(st->set_gain, gains, 1.0F);  // old_gain stays 0: a fresh block fades in from silence
    st->attack_gain = slew_alpha(mixers::kSlewRate.initial, blk->block_pro);
    st->pre_div = sample_share(blk->block_pro);
    return RT_OK;
}

[[gnu::cold]] int Mixers_SetParam(BlockAlgo* blk, float* param)
{
    const std::ptrdiff_t gains = Mix_GetGainNum(blk);
    auto* linear = core_of<float>(blk);
    if (param)
        std::copy_n(param, gains, blk->pParam);
    std::transform(blk->pParam, blk->pParam + gains, linear, db_to_gain);
    return RT_OK;
}

[[gnu::cold]] int Mixers_SlewSetParam(BlockAlgo* blk, float* param)
{
    const std::ptrdiff_t gains = Mix_GetGainNum(blk);
    auto* st = core_of<MixSlewSt>(blk);
    if (param)
        std::copy_n(param, gains + 1, blk->pParam);
    constexpr VantoroRange kRates = mixers::kSlewRate.clamp;
    blk->pParam[0] = ParamAdaptFloat(kRates.min, kRates.max, blk->pParam[0], "MixSlewRate");
    st->attack_gain = slew_alpha(blk->pParam[0], blk->block_pro);
    std::transform(blk->pParam + 1, blk->pParam + 1 + gains, st->set_gain, db_to_gain);
    return RT_OK;
}

int Mixers_Destroy(BlockAlgo* blk) { return release(blk); }

int Mixers_SlewDestroy(BlockAlgo* blk)
{
    if (const auto* st = core_of<MixSlewSt>(blk))
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
        const Glide g = moves ? glide(old, st->set_gain[k], st->attack_gain, st->pre_div) : Glide{old, old, 0.0F};
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
        st->old_gain[k] = settle({st->old_gain[k], gain.to[k], gain.step[k]}, st->set_gain[k]);
}

int Mixers_SigMergerProcess(int chanNum, int size, float** xn, float** yn)
{
    sum_inputs(chanNum, size, xn, yn[0]);
    const auto channels = static_cast<float>(std::max(chanNum, 1));
    each_index(size, [=, y = yn[0]](int i) { y[i] /= channels; });
    return RT_OK;
}

int Mixers_SingleProcess(BlockAlgo* blk, float** xn, float** yn) { return sum_one_gain(blk, xn, yn); }

int Mixers_MultiProcess(BlockAlgo* blk, float** xn, float** yn)
{
    return plain(blk, [=](const auto& gains) { multi(pins(blk, xn, yn), gains); });
}

int Mixers_StereoProcess(BlockAlgo* blk, float** xn, float** yn)
{
    return plain(blk, [=](const auto& gains) { stereo(pins(blk, xn, yn), gains); });
}

int Mixers_NxMProcess(BlockAlgo* blk, float** xn, float** yn)
{
    return plain(blk, [=](const auto& gains) { cross(pins(blk, xn, yn), gains, line_aligned(blk->pState)); });
}

int Splitters_SingleProcess(BlockAlgo* blk, float** xn, float** yn) { return split_one_gain(blk, xn, yn); }

int Splitters_MultiProcess(BlockAlgo* blk, float** xn, float** yn)
{
    return plain(blk, [=](const auto& gains) { split(pins(blk, xn, yn), gains); });
}

int Splitters_TConnect_Process(BlockAlgo* blk, float** xn, float** yn)
{
    for (int j = 0; j < blk->nOutputs; ++j)
        copy(xn[0], yn[j], block_size(blk));
    return RT_OK;
}

int Mixers_SingleSlewProcess(BlockAlgo* blk, float** xn, float** yn) { return sum_one_gain(blk, xn, yn); }

int Mixers_MultiSlewProcess(BlockAlgo* blk, float** xn, float** yn)
{
    return slewed(blk, [=](const auto& gains) { multi(pins(blk, xn, yn), gains); });
}

int Mixers_StereoSlewProcess(BlockAlgo* blk, float** xn, float** yn)
{
    return slewed(blk, [=](const auto& gains) { stereo(pins(blk, xn, yn), gains); });
}

int Mixers_NxMSlewProcess(BlockAlgo* blk, float** xn, float** yn)
{
    return slewed(blk, [=](const auto& gains) { cross(pins(blk, xn, yn), gains, line_aligned(blk->pState)); });
}

int Splitters_SingleSlewProcess(BlockAlgo* blk, float** xn, float** yn) { return split_one_gain(blk, xn, yn); }

int Splitters_MultiSlewProcess(BlockAlgo* blk, float** xn, float** yn)
{
    return slewed(blk, [=](const auto& gains) { split(pins(blk, xn, yn), gains); });
}

int BlockAlgo_Mixers_MulToOne(int in_chan, int size, float** xn, float** yn, float gain)
{
    sum_inputs(in_chan, size, xn, yn[0]);
    scale(yn[0], yn[0], db_to_gain(gain), size);
    return RT_OK;
}

BlockAlgo* BlockAlgo_Mixers_init(int nInputs, int nOutputs, BlockPro* pro, int type)
{
    const MixType* row = row_of<kTypes>(type);
    if (!row) {
        LBX_LOG_AS(__func__, 568, "Wrong input type in basic, type = %d\n\n", type);  // "basic": kept
        return nullptr;
    }
    NewBlock blk = new_block(nInputs, nOutputs, pro, type, BlockAlgo_Mixers_destroy);
    if (!blk)
        return nullptr;
    if (row->has_gains() && (is_slewed(type) ? Mixers_SlewInit(blk.get()) : Mixers_Init(blk.get())) != RT_OK)
        return nullptr;
    return blk.release();
}

[[gnu::cold]] int BlockAlgo_Mixers_param_reset(BlockAlgo* blk, float* param)
{
    const MixType* row = row_of<kTypes>(blk->method_type);
    if (!row || !row->has_gains())
        return RT_OK;
    return is_slewed(blk->method_type) ? Mixers_SlewSetParam(blk, param) : Mixers_SetParam(blk, param);
}

int BlockAlgo_Mixers_param_update(BlockAlgo* blk) { return BlockAlgo_Mixers_param_reset(blk, nullptr); }

int BlockAlgo_Mixers_param_invoke(BlockAlgo* blk)
{
    const int type = blk->method_type;
    if (type == EN_MIXERS_MERGE || !row_of<kTypes>(type))
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
    const MixType* row = row_of<kTypes>(blk->method_type);
    if (!row || !row->runs(blk))
        return RT_OK;
    return row->process(blk, data_in, data_out);
}

// Slewed types fade in from silence.
int BlockAlgo_Mixers_clear(BlockAlgo* blk)
{
    if (is_slewed(blk->method_type))
        std::fill_n(core_of<MixSlewSt>(blk)->old_gain, Mix_GetGainNum(blk), 0.0F);
    return RT_OK;
}

int BlockAlgo_Mixers_destroy(BlockAlgo* blk)
{
    int result = RT_OK;
    const MixType* row = row_of<kTypes>(blk->method_type);
    if (row && row->has_gains())
        result = is_slewed(blk->method_type) ? Mixers_SlewDestroy(blk) : Mixers_Destroy(blk);
    std::free(blk);
    return result;
}
