// SPDX-License-Identifier: Apache-2.0
#include "logic.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include "../common/common.h"
#include "../framework/clear_state.h"
#include "../framework/new_block.h"
#include "../framework/params.h"
#include "arithmetic_operations.h"
#include "logic_info.h"
#include "pins.h"

using namespace lbx;

namespace {

struct OneShotSt {
    float last;   // the previous signal sample
    float held;   // the latched output
    float start;  // `last` of a fresh block
};

// 2^k for k modulo 32, as a shift takes it. 31 gives +2147483648.
float power_of_two(float k) { return static_cast<float>(1U << (static_cast<unsigned>(to_int(k)) & 31U)); }

template <class Compare>
int choose(const BlockAlgo* blk, const float* a, const float* b, const float* c, const float* d, float* y,
           Compare holds)
{
    each_index(blk->block_pro->nBlockSize, [=](int i) { y[i] = holds(a[i], b[i]) ? c[i] : d[i]; });
    return RT_OK;
}

int unknown_condition(const BlockAlgo* blk, unsigned operation, float* y)
{
    const int n = blk->block_pro->nBlockSize;
    for (int i = 0; i < n; ++i) {
        LBX_LOG_AS("LogicCondition", 78, "the logic condition is error =%d,  <=%d and <= %d\n\n",
                   static_cast<int>(operation), COMPARE_GT, COMPARE_EQ);
        y[i] = 0.0F;
    }
    return RT_OK;
}

int condition(const BlockAlgo* blk, const float* a, const float* b, const float* c, const float* d, float* y)
{
    if (!blk->pParam)
        return RT_ERR_NULL_PTR;
    switch (const unsigned operation = to_uint(blk->pParam[0])) {
    case COMPARE_GT:
        return choose(blk, a, b, c, d, y, std::greater<>());
    case COMPARE_LT:
        return choose(blk, a, b, c, d, y, std::less<>());
    case COMPARE_GE:
        return choose(blk, a, b, c, d, y, std::greater_equal<>());
    case COMPARE_LE:
        return choose(blk, a, b, c, d, y, std::less_equal<>());
    case COMPARE_EQ:
        return choose(blk, a, b, c, d, y, std::equal_to<>());
    default:
        return unknown_condition(blk, operation, y);
    }
}

// rule(a, b, y) writes y where it has a result. The other samples are left on purpose: hosts keep a buffer per output
// pin from call to call.
template <class Rule>
int apply_rule(const BlockAlgo* blk, const float* a, const float* b, float* y, Rule rule)
{
    const int n = blk->block_pro->nBlockSize;
    for (int i = 0; i < n; ++i)
        rule(a[i], b[i], y[i]);
    return RT_OK;
}

void rule_and(float a, float b, float& y)
{
    if (a == b)
        y = a;
}

void rule_nand(float a, float b, float& y) { y = a == 1.0F && b == 1.0F ? 0.0F : 1.0F; }

void rule_or(float a, float b, float& y)
{
    if (a != 0.0F)
        y = b != 0.0F ? 1.0F : a;
    else if (b != 0.0F)
        y = b;
}

void rule_nor(float a, float b, float& y)
{
    if (a == 0.0F && b == 0.0F)
        y = 1.0F;
}

void rule_xor(float a, float b, float& y)
{
    if ((a != 0.0F) != (b != 0.0F))
        y = a != 0.0F ? a : b;
}

constexpr bool is_falling(int type)
{
    return type == EN_BASIC_LOGIC_ONESHOT_FALL || type == EN_BASIC_LOGIC_ONESHOT_FALLRST;
}
constexpr bool has_reset(int type)
{
    return type == EN_BASIC_LOGIC_ONESHOT_FALLRST || type == EN_BASIC_LOGIC_ONESHOT_RISERST;
}

template <class Edge>
void latch(OneShotSt& state, float pulse, const float* reset, const float* x, float* y, int n, Edge edge)
{
    float last = state.last, held = state.held;
    for (int i = 0; i < n; ++i) {
        const float now = x[i];
        if (reset && reset[i] != 0.0F)
            held = 0.0F;
        else if (edge(last, now))
            held = pulse;
        y[i] = held;
        last = now;
    }
    state = {last, held, state.start};
}

}  // namespace

int Basic_Logic_AbsMax(int chanNum, int size, float** xn, float** yn)
{
    // Of the most so far only the magnitude counts: it was one already, or it is that of the first pin.
    if (chanNum == 1)
        return Basic_Arith_Abs(1, size, xn, yn);
    return fold_pins(chanNum, size, xn, yn, [](float most, float x) {
        return std::fabs(x) > std::fabs(most) ? std::fabs(x) : std::fabs(most);
    });
}

int Basic_Logic_Max(int chanNum, int size, float** xn, float** yn)
{
    return fold_pins(chanNum, size, xn, yn, [](float most, float x) { return x > most ? x : most; });
}

int Basic_Logic_Min(int chanNum, int size, float** xn, float** yn)
{
    return fold_pins(chanNum, size, xn, yn, [](float least, float x) { return x < least ? x : least; });
}

int Basic_Logic_ABCondition(BlockAlgo* blk, float** xn, float** yn)
{
    return condition(blk, xn[0], xn[1], xn[0], xn[1], yn[0]);
}

int Basic_Logic_ABCDCondition(BlockAlgo* blk, float** xn, float** yn)
{
    return condition(blk, xn[0], xn[1], xn[2], xn[3], yn[0]);
}

int Basic_Logic_BufferGateProcess(BlockAlgo* blk, float** xn, float** yn)
{
    if (!blk->pParam)
        return RT_ERR_NULL_PTR;
    const float open = power_of_two(blk->pParam[0]);
    return each_pin(blk->nInputs, blk->block_pro->nBlockSize, xn, yn,
                    [open](float x) { return x != 0.0F ? open : 0.0F; });
}

int Basic_Logic_ZeroComparatorProcess(BlockAlgo* blk, float** xn, float** yn)
{
    if (!blk->pParam)
        return RT_ERR_NULL_PTR;
    const float at_zero = blk->pParam[0];
    return each_pin(blk->nInputs, blk->block_pro->nBlockSize, xn, yn,
                    [at_zero](float x) { return x == 0.0F ? at_zero : 0.0F; });
}

int Basic_Logic_LogicCalc(BlockAlgo* blk, float** xn, float** yn)
{
    if (!blk->pParam)
        return RT_ERR_NULL_PTR;
    switch (to_int(blk->pParam[0])) {
    case LOGIC_AND:
        return apply_rule(blk, xn[0], xn[1], yn[0], rule_and);
    case LOGIC_NAND:
        return apply_rule(blk, xn[0], xn[1], yn[0], rule_nand);
    case LOGIC_OR:
        return apply_rule(blk, xn[0], xn[1], yn[0], rule_or);
    case LOGIC_NOR:
        return apply_rule(blk, xn[0], xn[1], yn[0], rule_nor);
    case LOGIC_XOR:
        return apply_rule(blk, xn[0], xn[1], yn[0], rule_xor);
    default:
        return RT_OK;
    }
}

int Basic_Logic_OneShotInit(BlockAlgo* blk)
{
    if (new_core<OneShotSt>(blk) && zeros(blk->pParam, 1))
        return RT_OK;
    Basic_Logic_OneShotDestroy(blk);
    return RT_ERR_MALLOC;
}

// Stores 2 to the power of the bit; process takes 2 to the power of that again, modulo 32. Kept: hosts expect these
// pulses.
[[gnu::cold]] int Basic_Logic_OneShotSetParam(BlockAlgo* blk, float* param)
{
    auto* state = core_of<OneShotSt>(blk);
    if (!state || !blk->pParam)
        return RT_ERR_NULL_PTR;
    constexpr VantoroRange kRange = logic::kPulseBit.clamp;
    if (param)
        blk->pParam[0] = power_of_two(ParamAdaptFloat(kRange.min, kRange.max, param[0], "oneShotBit"));
    state->start = is_falling(blk->method_type) ? 0.0F : 1.0F;  // the first sample is never an edge
    clear_state::one_shot(blk);
    return RT_OK;
}

void clear_state::one_shot(BlockAlgo* blk)
{
    auto* state = core_of<OneShotSt>(blk);
    *state = {state->start, 0.0F, state->start};
}

int Basic_Logic_OneShotProcess(BlockAlgo* blk, float** xn, float** yn)
{
    auto* state = core_of<OneShotSt>(blk);
    if (!state || !blk->pParam)
        return RT_ERR_NULL_PTR;
    if (blk->nInputs > 2)
        LBX_LOG_AS(__func__, 167, "Logic OneShot only support one channel\n\n");
    const bool resettable = has_reset(blk->method_type);
    const float* reset = resettable ? xn[0] : nullptr;
    const float* x = xn[resettable ? 1 : 0];
    const float pulse = power_of_two(blk->pParam[0]);
    const int n = blk->block_pro->nBlockSize;
    if (is_falling(blk->method_type))
        latch(*state, pulse, reset, x, yn[0], n, [](float last, float now) { return last != 0.0F && now == 0.0F; });
    else
        latch(*state, pulse, reset, x, yn[0], n, [](float last, float now) { return last == 0.0F && now != 0.0F; });
    return RT_OK;
}

int Basic_Logic_OneShotDestroy(BlockAlgo* blk)
{
    const bool whole = blk->AlgoCore && blk->pParam;
    drop(blk->AlgoCore);
    drop(blk->pParam);
    return whole ? RT_OK : RT_ERR_NULL_PTR;
}
