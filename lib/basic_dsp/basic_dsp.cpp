// SPDX-License-Identifier: Apache-2.0
#include "basic_dsp.h"

#include "../framework/clear_state.h"
#include "../framework/dispatch.h"
#include "../framework/log.h"
#include "../framework/new_block.h"
#include "../framework/params.h"

using namespace lbx;

namespace {

// What a block does: with its record, or without one, on so many pins and samples.
struct Process {
    int (*of_block)(BlockAlgo* blk, float** xn, float** yn) = nullptr;
    int (*of_pins)(int chanNum, int size, float** xn, float** yn) = nullptr;
    constexpr Process(decltype(of_block) f) : of_block(f) {}
    constexpr Process(decltype(of_pins) f) : of_pins(f) {}

    LBX_INLINE int operator()(BlockAlgo* blk, float** xn, float** yn) const
    {
        return of_pins ? of_pins(blk->nInputs, blk->block_pro->nBlockSize, xn, yn) : of_block(blk, xn, yn);
    }
};

// One row per run of types. A null function: nothing to do, for the type has no state or no parameters.
struct Row {
    Codes codes;
    Process process;
    int (*init)(BlockAlgo* blk) = nullptr;
    int (*set)(BlockAlgo* blk, float* param) = nullptr;
    int (*destroy)(BlockAlgo* blk) = nullptr;
    void (*print)(const char* label, const float* param) = nullptr;
    const char* label = nullptr;
    void (*clear)(BlockAlgo* blk) = nullptr;
};

int one_float_init(BlockAlgo* blk) { return zeros(blk->pParam, 1) ? RT_OK : RT_ERR_MALLOC; }

int one_float_set(BlockAlgo* blk, float* param)
{
    if (!blk->pParam)
        return RT_ERR_NULL_PTR;
    copy_params(blk->pParam, param, 1);
    return RT_OK;
}

#define LBX_PRINT(message, ...) LBX_LOG_AS("BlockAlgo_Basic_param_invoke", __LINE__, message, __VA_ARGS__)

double shown(float v) { return static_cast<double>(v); }

void print_one(const char* label, const float* p) { LBX_PRINT("%s param = %f\n\n", label, shown(p[0])); }

void print_level(const char* label, const float* p)
{
    LBX_PRINT("%s param = %f, %f\n\n", label, shown(p[kBasicRMSTime]), shown(p[kBasicRMSIsDbPs]));
}

void print_delay(const char* label, const float* p)
{
    LBX_PRINT("%s param = %f:%f:%f\n\n", label, shown(p[kBasicDelayMaxDelay]), shown(p[kBasicDelayDelay]),
              shown(p[kBasicDelayType]));
}

void print_gain(const char* label, const float* p)
{
    LBX_PRINT("%s param = %f:%f\n\n", label, shown(p[kBasicGainGain]), shown(p[kBasicGainType]));
}

void print_gain_slew(const char* label, const float* p)
{
    LBX_PRINT("%s param = %f:%f, slew=%f\n\n", label, shown(p[kBasicGainGain]), shown(p[kBasicGainType]),
              shown(p[kBasicGainSlewRate]));
}

// The polynomial prints its coefficients too, which pParam does not hold.
void print_coefficients(const BlockAlgo* blk)
{
    const int count = to_int(blk->pParam[0]);
    for (int i = 0; i < count; ++i)
        LBX_PRINT("%f,\n", shown(blk->pState[i]));
}

// clang-format off
constexpr Row kRows[] = {
    {EN_BASIC_ARITH_ABS, Basic_Arith_Abs},
    {EN_BASIC_ARITH_INV_SQRT, Basic_Arith_InvSquareRoot},
    {EN_BASIC_ARITH_EXP2, Basic_Arith_Exp2},
    {EN_BASIC_ARITH_LOG2, Basic_Arith_Log2},
    {EN_BASIC_ARITH_LOG10, Basic_Arith_Log10},
    {EN_BASIC_ARITH_SQRT, Basic_Arith_SquareRoot},
    {EN_BASIC_ARITH_DIV, Basic_Arith_Divide},
    {EN_BASIC_ARITH_MUL, Basic_Arith_Multiply},
    {EN_BASIC_ARITH_INVERT, Basic_Arith_Invert},
    {EN_BASIC_ARITH_ADD, Basic_Arith_Add},
    {EN_BASIC_ARITH_SUB, Basic_Arith_Subtract},
    {EN_BASIC_ARITH_RMS, Basic_Arith_RmsWithTcProcess, Basic_Arith_RmsWithTcInit, Basic_Arith_RmsWithTcSetParam,
     Basic_Arith_RmsWithTcDestroy, print_level, "Basic Arith Rms", clear_state::smoother},
    {EN_BASIC_ARITH_SUMMAT, Basic_Arith_SummationProcess, Basic_Arith_SummationInit, nullptr,
     Basic_Arith_SummationDestroy, nullptr, nullptr, clear_state::sums},
    {EN_BASIC_ARITH_SQUARE_SUMMAT, Basic_Arith_SquareSummationProcess, Basic_Arith_SummationInit, nullptr,
     Basic_Arith_SummationDestroy, nullptr, nullptr, clear_state::sums},
    {EN_BASIC_LOGIC_ABSMAX, Basic_Logic_AbsMax},
    {EN_BASIC_LOGIC_MAX, Basic_Logic_Max},
    {EN_BASIC_LOGIC_MIN, Basic_Logic_Min},
#define LBX_ONE_FLOAT(type, process, label) \
    {EN_BASIC_##type, process, one_float_init, one_float_set, nullptr, print_one, label}
    LBX_ONE_FLOAT(LOGIC_AB, Basic_Logic_ABCondition, "BASIC_LOGIC_AB"),
    LBX_ONE_FLOAT(LOGIC_ABCD, Basic_Logic_ABCDCondition, "BASIC_LOGIC_ABCD"),
    LBX_ONE_FLOAT(LOGIC_BUFFER_GATE, Basic_Logic_BufferGateProcess, "BASIC_LOGIC_Buffer"),
    LBX_ONE_FLOAT(LOGIC_ZERO_COMP, Basic_Logic_ZeroComparatorProcess, "BASIC_LOGIC_ZERO"),
#define LBX_ONE_SHOT(type, label)                                                                             \
    {EN_BASIC_##type, Basic_Logic_OneShotProcess, Basic_Logic_OneShotInit, Basic_Logic_OneShotSetParam,       \
     Basic_Logic_OneShotDestroy, print_one, label, clear_state::one_shot}
    LBX_ONE_SHOT(LOGIC_ONESHOT_FALL, "BASIC_LOGIC_OneShot_Fall"),
    LBX_ONE_SHOT(LOGIC_ONESHOT_FALLRST, "BASIC_LOGIC_OneShot_FallRst"),
    LBX_ONE_SHOT(LOGIC_ONESHOT_RISE, "BASIC_LOGIC_OneShot_Rise"),
    LBX_ONE_SHOT(LOGIC_ONESHOT_RISERST, "BASIC_LOGIC_OneShot_RiseRst"),
    LBX_ONE_FLOAT(LOGIC_CALC, Basic_Logic_LogicCalc, "BASIC_LOGIC_CALC"),
    {{EN_BASIC_DSP_HOLD_VALUE, EN_BASIC_DSP_HOLD_MIN}, Basic_DSP_HoldProcess, Basic_DSP_HoldInit, nullptr,
     Basic_DSP_HoldDestroy, nullptr, nullptr, clear_state::hold},
    {EN_BASIC_DSP_DELAY, Basic_DSP_DelayProcess, Basic_DSP_DelayInit, Basic_DSP_DelaySetParam, Basic_DSP_DelayDestroy,
     print_delay, "BASIC_LOGIC_Delay", clear_state::delay},
    {EN_BASIC_DSP_VOL_DELAY, Basic_DSP_VolDelayProcess, Basic_DSP_DelayInit, Basic_DSP_VolDelaySetParam,
     Basic_DSP_DelayDestroy, print_one, "BASIC_LOGIC_Delay", clear_state::delay},
    {EN_BASIC_GAIN, Basic_Gain_Process, Basic_Gain_Init, Basic_Gain_SetParam, Basic_Gain_Destroy, print_gain,
     "BASIC_GAIN"},
    {EN_BASIC_GAIN_SLEW, Basic_GainSlew_Process, Basic_GainSlew_Init, Basic_GainSlew_SetParam, Basic_GainSlew_Destroy,
     print_gain_slew, "BASIC_GAIN", clear_state::gain_slew},
    {EN_BASIC_POLY, Basic_Polynomial_Process, Basic_Polynomial_Init, Basic_Polynomial_SetParam,
     Basic_Polynomial_Destroy, print_one, "BASIC_POLY"},
};
// clang-format on

[[gnu::cold]] int refuse_type(const char* func, int type, int result)
{
    LBX_LOG_AS(func, __LINE__, "wrong input type in basic, type = %d\n\n", type);
    return result;
}

// One row per case of a switch: what the cases share is here.
[[gnu::noinline]] BlockAlgo* create(int nInputs, int nOutputs, BlockPro* block_pro, int type, int (*init)(BlockAlgo*))
{
    BlockAlgo* blk = new_block(nInputs, nOutputs, block_pro, type).release();
    if (blk && init)
        init(blk);
    return blk;
}

[[gnu::cold, gnu::noinline]] int print(const BlockAlgo* blk, void (*print)(const char*, const float*),
                                       const char* label)
{
    if (!print) {
        LBX_PRINT("Model = %d have't param to print\n\n", blk->method_type);
        return RT_OK;
    }
    if (!blk->pParam)
        return RT_ERR_NULL_PTR;
    print(label, blk->pParam);
    if (blk->method_type == EN_BASIC_POLY)
        print_coefficients(blk);
    return RT_OK;
}

[[gnu::noinline]] int destroy(BlockAlgo* blk, int (*destroy)(BlockAlgo*))
{
    const int result = destroy ? destroy(blk) : RT_OK;
    free_block(blk);
    return result;
}

}  // namespace

// The module's result is ignored: a block without its state is returned, and its calls report it.
BlockAlgo* BlockAlgo_Basic_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    const char* const func = __func__;
    return with_row<kRows>(
        type, [=](const Row& row) LBX_INLINED { return create(nInputs, nOutputs, block_pro, type, row.init); },
        [=]() -> BlockAlgo* {
            LBX_LOG_AS(func, __LINE__, "Wrong input type in basic, type = %d\n\n", type);
            return nullptr;
        });
}

[[gnu::cold]] int BlockAlgo_Basic_param_reset(BlockAlgo* blk, float* param)
{
    const char* const func = __func__;
    return with_row<kRows>(
        blk->method_type, [=](const Row& row) LBX_INLINED { return row.set ? row.set(blk, param) : RT_OK; },
        [=] { return refuse_type(func, blk->method_type, 1); });
}

[[gnu::cold]] int BlockAlgo_Basic_param_update(BlockAlgo* blk)
{
    if (!is_served<kRows>(blk->method_type))
        return refuse_type(__func__, blk->method_type, 1);
    return BlockAlgo_Basic_param_reset(blk, nullptr);
}

[[gnu::cold]] int BlockAlgo_Basic_param_invoke(BlockAlgo* blk)
{
    return with_row<kRows>(
        blk->method_type, [=](const Row& row) LBX_INLINED { return print(blk, row.print, row.label); },
        [=] { return print(blk, nullptr, nullptr); });
}

int BlockAlgo_Basic_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    if (!blk || !data_in || !data_out)
        return refuse("BlockAlgo_Basic_process", __LINE__, "Input is NULL\n\n", RT_ERR_NULL_PTR);
    return with_row<kRows>(
        blk->method_type, [=](const Row& row) LBX_INLINED { return row.process(blk, data_in, data_out); },
        [type = blk->method_type] {
            return type < EN_BASIC_LOGIC_ABSMAX ? refuse_type("Basic_Atirh_process", type, 0)
                                                : refuse_type("Basic_DSP_process", type, RT_ERR_VALUE);
        });
}

// A block that got no memory for its state has none to clear.
[[gnu::cold]] int BlockAlgo_Basic_clear(BlockAlgo* blk)
{
    const char* const func = __func__;
    return with_row<kRows>(
        blk->method_type,
        [=](const Row& row) LBX_INLINED {
            if (row.clear && blk->AlgoCore)
                row.clear(blk);
            return int{RT_OK};
        },
        [=] { return refuse_type(func, blk->method_type, 1); });
}

[[gnu::cold]] int BlockAlgo_Basic_destroy(BlockAlgo* blk)
{
    const char* const func = __func__;
    return with_row<kRows>(
        blk->method_type, [=](const Row& row) LBX_INLINED { return destroy(blk, row.destroy); },
        [=] { return refuse_type(func, blk->method_type, 1); });
}
