// SPDX-License-Identifier: Apache-2.0
#include "arithmetic_operations.h"

#include <algorithm>
#include <cmath>

#include "../common/common.h"
#include "../framework/clear_state.h"
#include "../framework/context.h"
#include "../framework/new_block.h"
#include "../framework/params.h"
#include "../kernels/fast_inline.h"
#include "../kernels/ramp.h"
#include "../kernels/recursion.h"
#include "arithmetic_operations_info.h"
#include "pins.h"

using namespace lbx;

namespace {

// 8686 is 1000 ms times 8.686 dB (20 log10 e): it turns a time constant in ms into a fall in dB per second. The factor
// takes the dB as of a power, so the average falls by twice as many, in half the time. Kept.
float smoothing_factor(float time, float is_db_per_second, const BlockPro* pro)
{
    const float db_per_second = to_flag(is_db_per_second) ? time : std::round(8686.0F / time);
    const float exponent = db_per_second / (rate_of(pro) * 10.0F);
    return std::fabs(1.0F - static_cast<float>(std::pow(10.0, static_cast<double>(exponent))));
}

// add(sum, x): of floats, or of lanes.
template <class Add>
int running_sums(const BlockAlgo* blk, float* const* xn, float* const* yn, Add add)
{
    auto* sums = core_of<float>(blk);
    const int outputs = blk->nInputs - 1;
    if (outputs < 1)
        return RT_OK;
    if (!sums)
        return RT_ERR_NULL_PTR;
    each_recursion({sums}, 1, xn + 1, yn, outputs, blk->block_pro->nBlockSize, [=, reset = xn[0]](auto lanes) {
        using V = decltype(lanes);
        return [=](V* sum, V x, int i) { return sum[0] = reset[i] == 0.0F ? add(sum[0], x) : V{}; };
    });
    return RT_OK;
}

// At most kTile samples. The powers are running products in double precision: their roundings of 2^-53 vanish in the
// rounding to float.
void polynomial(const float* c, int count, const float* x, float* y, int n)
{
    double base[kTile];
    double power[kTile];
    float sum[kTile];
    for (int i = 0; i < n; ++i) {
        base[i] = static_cast<double>(x[i]);
        power[i] = 1.0;
        sum[i] = c[0];
    }
    int m = 1;
    for (; m + 1 < count; m += 2)  // two terms for each time that the tile is read and written
        for (int i = 0; i < n; ++i) {
            const double odd = power[i] * base[i];
            power[i] = odd * base[i];
            sum[i] = std::fma(c[m + 1], static_cast<float>(power[i]), std::fma(c[m], static_cast<float>(odd), sum[i]));
        }
    for (int i = 0; m < count && i < n; ++i)
        sum[i] = std::fma(c[m], static_cast<float>(power[i] * base[i]), sum[i]);
    std::copy_n(sum, n, y);
}

}  // namespace

void lbx::arithmetic::invert_model(const BlockAlgo* blk, const Paths& paths)
{
    for (int pin = 0; pin < blk->nInputs; ++pin)
        paths.path(pin, pin, -1);
}

void lbx::arithmetic::sum_model(const BlockAlgo* blk, const Paths& paths)
{
    const double others = blk->method_type == EN_BASIC_ARITH_SUB ? -1 : 1;
    for (int pin = 0; pin < blk->nInputs; ++pin)
        paths.path(pin, 0, pin == 0 ? 1 : others);
}

int Basic_Arith_Abs(int chanNum, int size, float** xn, float** yn)
{
    return each_pin(chanNum, size, xn, yn, [](float x) { return std::fabs(x); });
}

int Basic_Arith_InvSquareRoot(int chanNum, int size, float** xn, float** yn)
{
    return each_pin(chanNum, size, xn, yn, [](float x) {
        const float result = 1.0F / std::sqrt(x);
        return x <= 0.0F ? 0.0F : result;
    });
}

int Basic_Arith_Exp2(int chanNum, int size, float** xn, float** yn)
{
    return each_pin(chanNum, size, xn, yn,
                    [](float x) { return static_cast<float>(fast_exp(static_cast<double>(x * 0.6931472F))); });
}

int Basic_Arith_Log2(int chanNum, int size, float** xn, float** yn)
{
    return each_pin(chanNum, size, xn, yn, fast_log2);
}

int Basic_Arith_Log10(int chanNum, int size, float** xn, float** yn)
{
    return each_pin(chanNum, size, xn, yn, [](float x) { return fast_log2(x) * 0.30102998F; });
}

int Basic_Arith_SquareRoot(int chanNum, int size, float** xn, float** yn)
{
    return each_pin(chanNum, size, xn, yn, [](float x) { return std::sqrt(x); });
}

int Basic_Arith_Divide(int chanNum, int size, float** xn, float** yn)
{
    return each_pair(chanNum, size, xn, yn, [](float a, float b) {
        const float quotient = a / b;
        return a == 0.0F || b == 0.0F ? 0.0F : quotient;
    });
}

int Basic_Arith_Multiply(int chanNum, int size, float** xn, float** yn)
{
    return each_pair(chanNum, size, xn, yn, [](float a, float b) { return a * b; });
}

int Basic_Arith_Invert(int chanNum, int size, float** xn, float** yn)
{
    return each_pin(chanNum, size, xn, yn, [](float x) { return -x; });
}

int Basic_Arith_Add(int chanNum, int size, float** xn, float** yn)
{
    return fold_pins(chanNum, size, xn, yn, [](float sum, float x) { return sum + x; });
}

int Basic_Arith_Subtract(int chanNum, int size, float** xn, float** yn)
{
    return fold_pins(chanNum, size, xn, yn, [](float rest, float x) { return rest - x; });
}

[[gnu::cold]] int Basic_Arith_RmsWithTcInit(BlockAlgo* blk)
{
    auto* core = new_core<RmsWithTcSt>(blk);
    if (!core || !zeros(core->oldVal, blk->nInputs) || !zeros(blk->pParam, kBasicRMSModuleSize)) {
        Basic_Arith_RmsWithTcDestroy(blk);
        return RT_ERR_MALLOC;
    }
    std::ranges::copy(kInitial<arithmetic::kSmootherLayout>, blk->pParam);
    return Basic_Arith_RmsWithTcSetParam(blk, nullptr);
}

// A set derives the factor from the time as handed over and stores the clamped one, from which the next update derives
// it. Kept.
[[gnu::cold]] int Basic_Arith_RmsWithTcSetParam(BlockAlgo* blk, float* param)
{
    auto* core = core_of<RmsWithTcSt>(blk);
    if (!core || !blk->pParam)
        return RT_ERR_NULL_PTR;
    const float* source = param ? param : blk->pParam;
    core->rms_rate = smoothing_factor(source[kBasicRMSTime], source[kBasicRMSIsDbPs], blk->block_pro);
    if (param) {
        constexpr VantoroRange kRange = arithmetic::kTime.clamp;
        blk->pParam[kBasicRMSTime] = ParamAdaptFloat(kRange.min, kRange.max, param[kBasicRMSTime], "rmsWIthTcTime");
        blk->pParam[kBasicRMSIsDbPs] = param[kBasicRMSIsDbPs];
    }
    return RT_OK;
}

int Basic_Arith_RmsWithTcProcess(BlockAlgo* blk, float** xn, float** yn)
{
    const auto* core = core_of<RmsWithTcSt>(blk);
    if (!core)
        return RT_ERR_NULL_PTR;
    each_recursion({core->oldVal}, 1, xn, yn, blk->nInputs, blk->block_pro->nBlockSize, [=](auto lanes) {
        using V = decltype(lanes);
        const float rate = core->rms_rate;
        return [rate = every<V>(rate), keep = every<V>(1.0F - rate)](V* level, V x, int) {
            return level[0] = keep * level[0] + rate * magnitude(x);
        };
    });
    return RT_OK;
}

int Basic_Arith_RmsWithTcDestroy(BlockAlgo* blk)
{
    auto* core = core_of<RmsWithTcSt>(blk);
    const bool whole = core && blk->pParam;
    if (core)
        std::free(core->oldVal);
    drop(blk->AlgoCore);
    drop(blk->pParam);
    return whole ? RT_OK : RT_ERR_NULL_PTR;
}

void clear_state::smoother(BlockAlgo* blk) { std::fill_n(core_of<RmsWithTcSt>(blk)->oldVal, blk->nInputs, 0.0F); }

void clear_state::sums(BlockAlgo* blk) { std::fill_n(core_of<float>(blk), blk->nInputs, 0.0F); }

int Basic_Arith_SummationInit(BlockAlgo* blk)
{
    float* sums = nullptr;
    if (!zeros(sums, blk->nInputs))
        return RT_ERR_NULL_PTR;
    blk->AlgoCore = sums;
    return RT_OK;
}

int Basic_Arith_SummationProcess(BlockAlgo* blk, float** xn, float** yn)
{
    return running_sums(blk, xn, yn, [](auto sum, auto x) { return sum + x; });
}

int Basic_Arith_SquareSummationProcess(BlockAlgo* blk, float** xn, float** yn)
{
    return running_sums(blk, xn, yn, [](auto sum, auto x) { return mul_add(x, x, sum); });
}

int Basic_Arith_SummationDestroy(BlockAlgo* blk)
{
    drop(blk->AlgoCore);
    return RT_OK;
}

[[gnu::cold]] int Basic_Polynomial_Init(BlockAlgo* blk)
{
    constexpr const auto& kVector = kInitial<arithmetic::kPolynomialLayout>;
    if (!zeros(blk->pParam, 1) || !zeros(blk->pState, std::size(kVector) - 1)) {
        Basic_Polynomial_Destroy(blk);
        return RT_ERR_MALLOC;
    }
    blk->pParam[0] = kVector[0];
    std::copy(kVector.begin() + 1, kVector.end(), blk->pState);
    return RT_OK;
}

// A count of NaN makes a polynomial without coefficients: silence.
[[gnu::cold]] int Basic_Polynomial_SetParam(BlockAlgo* blk, float* param)
{
    if (!blk->pParam)
        return RT_ERR_NULL_PTR;
    constexpr float kFewest = arithmetic::kCoefficients.min_rows, kMost = arithmetic::kCoefficients.max_rows;
    const float count = ParamAdaptFloat(kFewest, kMost, param ? param[0] : blk->pParam[0], "poly");
    const int n = to_int(count);
    if (n != to_int(blk->pParam[0])) {
        float* fresh = nullptr;
        if (!zeros(fresh, n))
            return RT_ERR_MALLOC;
        drop(blk->pState);
        blk->pState = fresh;
    }
    blk->pParam[0] = count;
    if (param)
        copy_params(blk->pState, param + 1, n);
    return RT_OK;
}

int Basic_Polynomial_Process(BlockAlgo* blk, float** xn, float** yn)
{
    if (!blk->pParam)
        return RT_ERR_NULL_PTR;
    constexpr float kSilence = 0.0F;
    const float* c = blk->pState ? blk->pState : &kSilence;
    const int count = to_int(blk->pParam[0]);
    const int n = blk->block_pro->nBlockSize;
    for (int pin = 0; pin < blk->nInputs; ++pin)
        for (int begin = 0; begin < n; begin += kTile)
            polynomial(c, count, xn[pin] + begin, yn[pin] + begin, std::min(kTile, n - begin));
    return RT_OK;
}

int Basic_Polynomial_Destroy(BlockAlgo* blk)
{
    const bool whole = blk->pParam != nullptr;
    drop(blk->pParam);
    drop(blk->pState);
    return whole ? RT_OK : RT_ERR_NULL_PTR;
}
