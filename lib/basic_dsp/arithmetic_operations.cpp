// SPDX-License-Identifier: Apache-2.0
#include "arithmetic_operations.h"

#include <algorithm>
#include <cmath>

#include "../common/common.h"
#include "../framework/new_block.h"
#include "../framework/params.h"
#include "../kernels/fast_inline.h"
#include "../kernels/ramp.h"
#include "../kernels/recursion.h"
#include "pins.h"

namespace {

constexpr float kRmsDefaults[kBasicRMSModuleSize] = {121.0F, 0.0F};
constexpr float kPolynomialDefaults[] = {1.0F, 0.0F, 0.0F};

// 8686 = 1000 ms times 8.686 dB, what one time constant falls by in the power domain: it turns ms into dB per second.
float smoothing_factor(float time, float is_db_per_second, int rate_hz)
{
    const float db_per_second = lbx::to_flag(is_db_per_second) ? time : std::round(8686.0F / time);
    const float exponent = db_per_second / (static_cast<float>(rate_hz) * 10.0F);
    return std::fabs(1.0F - static_cast<float>(std::pow(10.0, static_cast<double>(exponent))));
}

// add(sum, x): of floats, or of lanes.
template <class Add>
int running_sums(const BlockAlgo* blk, float* const* xn, float* const* yn, Add add)
{
    auto* sums = lbx::core_of<float>(blk);
    const int outputs = blk->nInputs - 1;
    if (outputs < 1)
        return RT_OK;
    if (!sums)
        return RT_ERR_NULL_PTR;
    lbx::each_recursion({sums}, 1, xn + 1, yn, outputs, blk->block_pro->nBlockSize, [=, reset = xn[0]](auto lanes) {
        using V = decltype(lanes);
        return [=](V* sum, V x, int i) { return sum[0] = reset[i] == 0.0F ? add(sum[0], x) : V{}; };
    });
    return RT_OK;
}

// At most lbx::kTile samples. The powers are running products in double precision: n - 1 roundings of 2^-53 vanish in
// the rounding to float.
void polynomial(const float* c, int count, const float* x, float* y, int n)
{
    double base[lbx::kTile];
    double power[lbx::kTile];
    float sum[lbx::kTile];
    for (int i = 0; i < n; ++i) {
        base[i] = static_cast<double>(x[i]);
        power[i] = 1.0;
        sum[i] = c[0];
    }
    for (int m = 1; m < count; ++m)
        for (int i = 0; i < n; ++i) {
            power[i] *= base[i];
            sum[i] = std::fma(c[m], static_cast<float>(power[i]), sum[i]);
        }
    std::copy_n(sum, n, y);
}

}  // namespace

int Basic_Arith_Abs(int chanNum, int size, float** xn, float** yn)
{
    return lbx::each_pin(chanNum, size, xn, yn, [](float x) { return std::fabs(x); });
}

int Basic_Arith_InvSquareRoot(int chanNum, int size, float** xn, float** yn)
{
    return lbx::each_pin(chanNum, size, xn, yn, [](float x) {
        const float result = 1.0F / std::sqrt(x);
        return x <= 0.0F ? 0.0F : result;
    });
}

int Basic_Arith_Exp2(int chanNum, int size, float** xn, float** yn)
{
    return lbx::each_pin(chanNum, size, xn, yn, [](float x) {
        return static_cast<float>(lbx::fast_exp(static_cast<double>(x * 0.6931472F)));
    });
}

int Basic_Arith_Log2(int chanNum, int size, float** xn, float** yn)
{
    return lbx::each_pin(chanNum, size, xn, yn, lbx::fast_log2);
}

int Basic_Arith_Log10(int chanNum, int size, float** xn, float** yn)
{
    return lbx::each_pin(chanNum, size, xn, yn, [](float x) { return lbx::fast_log2(x) * 0.30102998F; });
}

int Basic_Arith_SquareRoot(int chanNum, int size, float** xn, float** yn)
{
    return lbx::each_pin(chanNum, size, xn, yn, [](float x) { return std::sqrt(x); });
}

int Basic_Arith_Divide(int chanNum, int size, float** xn, float** yn)
{
    return lbx::each_pair(chanNum, size, xn, yn, [](float a, float b) {
        const float quotient = a / b;
        return a == 0.0F || b == 0.0F ? 0.0F : quotient;
    });
}

int Basic_Arith_Multiply(int chanNum, int size, float** xn, float** yn)
{
    return lbx::each_pair(chanNum, size, xn, yn, [](float a, float b) { return a * b; });
}

int Basic_Arith_Invert(int chanNum, int size, float** xn, float** yn)
{
    return lbx::each_pin(chanNum, size, xn, yn, [](float x) { return -x; });
}

int Basic_Arith_Add(int chanNum, int size, float** xn, float** yn)
{
    return lbx::fold_pins(
        chanNum, size, xn, yn, [](float x) { return x; }, [](float sum, float x) { return sum + x; });
}

int Basic_Arith_Subtract(int chanNum, int size, float** xn, float** yn)
{
    return lbx::fold_pins(
        chanNum, size, xn, yn, [](float x) { return x; }, [](float rest, float x) { return rest - x; });
}

int Basic_Arith_RmsWithTcInit(BlockAlgo* blk)
{
    auto* core = lbx::new_core<RmsWithTcSt>(blk);
    if (!core || !lbx::zeros(core->oldVal, blk->nInputs) || !lbx::zeros(blk->pParam, kBasicRMSModuleSize)) {
        Basic_Arith_RmsWithTcDestroy(blk);
        return RT_ERR_MALLOC;
    }
    std::ranges::copy(kRmsDefaults, blk->pParam);
    return Basic_Arith_RmsWithTcSetParam(blk, nullptr);
}

// A new vector's factor follows the time as handed over; the clamped time is what is stored, and what the next update
// derives the factor from. Kept.
int Basic_Arith_RmsWithTcSetParam(BlockAlgo* blk, float* param)
{
    auto* core = lbx::core_of<RmsWithTcSt>(blk);
    if (!core || !blk->pParam)
        return RT_ERR_NULL_PTR;
    const float* source = param ? param : blk->pParam;
    core->rms_rate = smoothing_factor(source[kBasicRMSTime], source[kBasicRMSIsDbPs], blk->block_pro->nSamplingRate);
    if (param) {
        blk->pParam[kBasicRMSTime] = ParamAdaptFloat(1.0F, 8686.0F, param[kBasicRMSTime], "rmsWIthTcTime");
        blk->pParam[kBasicRMSIsDbPs] = param[kBasicRMSIsDbPs];
    }
    return RT_OK;
}

int Basic_Arith_RmsWithTcProcess(BlockAlgo* blk, float** xn, float** yn)
{
    const auto* core = lbx::core_of<RmsWithTcSt>(blk);
    if (!core)
        return RT_ERR_NULL_PTR;
    lbx::each_recursion({core->oldVal}, 1, xn, yn, blk->nInputs, blk->block_pro->nBlockSize, [=](auto lanes) {
        using V = decltype(lanes);
        const float rate = core->rms_rate;
        return [rate = lbx::every<V>(rate), keep = lbx::every<V>(1.0F - rate)](V* level, V x, int) {
            return level[0] = keep * level[0] + rate * lbx::magnitude(x);
        };
    });
    return RT_OK;
}

int Basic_Arith_RmsWithTcDestroy(BlockAlgo* blk)
{
    auto* core = lbx::core_of<RmsWithTcSt>(blk);
    const bool whole = core && blk->pParam;
    if (core)
        std::free(core->oldVal);
    lbx::drop(blk->AlgoCore);
    lbx::drop(blk->pParam);
    return whole ? RT_OK : RT_ERR_NULL_PTR;
}

int Basic_Arith_SummationInit(BlockAlgo* blk)
{
    float* sums = nullptr;
    if (!lbx::zeros(sums, blk->nInputs))
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
    return running_sums(blk, xn, yn, [](auto sum, auto x) { return lbx::mul_add(x, x, sum); });
}

int Basic_Arith_SummationDestroy(BlockAlgo* blk)
{
    lbx::drop(blk->AlgoCore);
    return RT_OK;
}

int Basic_Polynomial_Init(BlockAlgo* blk)
{
    constexpr int kCount = std::size(kPolynomialDefaults);
    if (!lbx::zeros(blk->pParam, 1) || !lbx::zeros(blk->pState, kCount)) {
        Basic_Polynomial_Destroy(blk);
        return RT_ERR_MALLOC;
    }
    blk->pParam[0] = static_cast<float>(kCount);
    std::ranges::copy(kPolynomialDefaults, blk->pState);
    return RT_OK;
}

// A count that is no number makes a polynomial without coefficients: silence.
int Basic_Polynomial_SetParam(BlockAlgo* blk, float* param)
{
    if (!blk->pParam)
        return RT_ERR_NULL_PTR;
    const float count = ParamAdaptFloat(2.0F, 10000.0F, param ? param[0] : blk->pParam[0], "poly");
    const int n = lbx::to_int(count);
    if (n != lbx::to_int(blk->pParam[0])) {
        float* fresh = nullptr;
        if (!lbx::zeros(fresh, n))
            return RT_ERR_MALLOC;
        lbx::drop(blk->pState);
        blk->pState = fresh;
    }
    blk->pParam[0] = count;
    if (param)
        lbx::copy_params(blk->pState, param + 1, n);
    return RT_OK;
}

int Basic_Polynomial_Process(BlockAlgo* blk, float** xn, float** yn)
{
    if (!blk->pParam)
        return RT_ERR_NULL_PTR;
    constexpr float kSilence = 0.0F;
    const float* c = blk->pState ? blk->pState : &kSilence;
    const int count = lbx::to_int(blk->pParam[0]);
    const int n = blk->block_pro->nBlockSize;
    for (int pin = 0; pin < blk->nInputs; ++pin)
        for (int begin = 0; begin < n; begin += lbx::kTile)
            polynomial(c, count, xn[pin] + begin, yn[pin] + begin, std::min(lbx::kTile, n - begin));
    return RT_OK;
}

int Basic_Polynomial_Destroy(BlockAlgo* blk)
{
    const bool whole = blk->pParam != nullptr;
    lbx::drop(blk->pParam);
    lbx::drop(blk->pState);
    return whole ? RT_OK : RT_ERR_NULL_PTR;
}
