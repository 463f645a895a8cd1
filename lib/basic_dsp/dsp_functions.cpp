// SPDX-License-Identifier: Apache-2.0
#include "dsp_functions.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "../framework/clear_state.h"
#include "../framework/new_block.h"
#include "../framework/params.h"
#include "../kernels/fast_inline.h"
#include "../kernels/ramp.h"
#include "../kernels/ring.h"
#include "dsp_functions_info.h"

using namespace lbx;

namespace {

// The laws of the four holds: the held value after a tracked sample, and after a held one. The start values are
// deliberate: an extreme is reported from -16 or 16 on only.
struct HoldValue {
    static float track(float held) { return held; }
    static float hold(float held, bool tracked, float x) { return tracked ? x : held; }
};
struct HoldAbsMax {
    static float track(float) { return -16.0F; }
    static float hold(float held, bool, float x) { return std::fabs(x) > held ? std::fabs(x) : held; }
};
struct HoldMax {
    static float track(float) { return -16.0F; }
    static float hold(float held, bool, float x) { return x > held ? x : held; }
};
struct HoldMin {
    static float track(float) { return 16.0F; }
    static float hold(float held, bool, float x) { return x < held ? x : held; }
};

// Signal after signal, as many samples at a time as all their outputs have room for: any output may be any input, so
// none is written before all inputs were read.
template <class Law>
int hold(const BlockAlgo* blk, const HoldSt& core, float* const* xn, float* const* yn)
{
    constexpr int kRoom = 8 * kTile;
    const int n = blk->block_pro->nBlockSize, signals = std::max(blk->nInputs - 1, 0);
    const int tile = std::clamp(kRoom / std::max(signals, 1), 1, kTile);
    float room[kRoom];
    float* const rows = signals <= kRoom ? room : core.tmpY;
    for (int t = 0, some; signals > 0 && t < n; t += some) {
        some = std::min(tile, n - t);
        const float* control = xn[0] + t;
        for (int j = 0; j < signals; ++j) {
            const float* x = xn[j + 1] + t;
            float* y = rows + std::ptrdiff_t{tile} * j;
            float held = core.holdVal[j];
            bool tracked = core.lastVal[j] == 0.0F;
            for (int i = 0; i < some; ++i) {
                const bool tracks = control[i] == 0.0F;
                held = tracks ? Law::track(held) : Law::hold(held, tracked, x[i]);
                y[i] = tracks ? x[i] : held;
                tracked = tracks;
            }
            core.holdVal[j] = held;
            core.lastVal[j] = control[some - 1];
            core.tmpY[j] = y[some - 1];
        }
        for (int j = 0; j < signals; ++j)
            copy(rows + std::ptrdiff_t{tile} * j, yn[j] + t, some);
    }
    return RT_OK;
}

int ring_count(const BlockAlgo* blk) { return blk->method_type == EN_BASIC_DSP_VOL_DELAY ? 1 : blk->nInputs; }

void free_rings(RingBufSt* rings, int count)
{
    for (int i = 0; rings && i < count; ++i)
        std::free(rings[i].buf);
    std::free(rings);
}

// All rings or none.
bool resize_rings(DelaySt& core, int count, int samples)
{
    RingBufSt* fresh = nullptr;
    bool done = zeros(fresh, count);
    for (int i = 0; done && i < count; ++i)
        done = ring_resized(core.rbuf ? core.rbuf[i] : RingBufSt{}, samples, fresh[i]);
    free_rings(done ? core.rbuf : fresh, count);
    if (done) {
        core.rbuf = fresh;
        core.maxDelay = samples;
    }
    return done;
}

// The clamped length of a line, in the unit it came in.
float longest_of(float asked)
{
    constexpr VantoroRange kRange = dsp_functions::kMaxDelay.clamp;
    return ParamAdaptFloat(kRange.min, kRange.max, asked, "maxDelay");
}

// A millisecond can be shorter than a sample, below 1 kHz, and NaN passes the clamps: a line has at least one sample,
// and the delay stays within it.
bool set_delay(const BlockAlgo* blk, DelaySt& core, float longest, float delay)
{
    const int samples = std::max(to_int(longest), 1);
    if (samples != core.maxDelay && !resize_rings(core, ring_count(blk), samples))
        return false;
    core.delay = std::clamp(to_int(delay), 0, samples);
    return true;
}

// Whole runs up to the next wrap of either position.
void delay_pin(RingBufSt& ring, int delay, const float* x, float* y, int n)
{
    float* buf = ring.buf;
    int write = ring.idx;
    int read = write - delay;
    if (read < 0)
        read += ring.num;
    while (n > 0) {
        const int run = std::min({n, ring.num - write, ring.num - read});
        for (int i = 0; i < run; ++i) {
            const float now = x[i];
            y[i] = buf[read + i];
            buf[write + i] = now;
        }
        x += run;
        y += run;
        n -= run;
        write = write + run < ring.num ? write + run : 0;
        read = read + run < ring.num ? read + run : 0;
    }
    ring.idx = write;
}

int tap_delay(float control, int longest)
{
    const int delay = to_int(control);
    const bool inside = delay >= 0 && delay <= longest;  // asked here, so that the common case costs no call
    return inside ? delay : ParamAdapt(0, longest, delay, "Delay");
}

float linear_factor(const float* param)
{
    const float gain = param[kBasicGainGain];
    return to_flag(param[kBasicGainType]) ? gain : db_to_gain(gain);
}

void derive_slew(const BlockAlgo* blk, GainSlewSt& core)
{
    core.attack_gain = slew_alpha(blk->pParam[kBasicGainSlewRate], blk->block_pro);
}

float stored_factor(const BlockAlgo* blk)
{
    float factor = 0.0F;
    std::memcpy(&factor, &blk->AlgoCore, sizeof factor);
    return factor;
}

void each_gain_path(const BlockAlgo* blk, const info::Paths& paths, float gain)
{
    for (int pin = 0; pin < blk->nOutputs; ++pin)
        paths.path(pin, pin, static_cast<double>(gain));
}

}  // namespace

void lbx::dsp_functions::delay_model(const BlockAlgo* blk, const Paths& paths)
{
    const auto* core = core_of<DelaySt>(blk);
    for (int pin = 0; core && pin < blk->nInputs; ++pin)
        paths.path(pin, pin, 1, core->delay > 0 ? core->delay : core->maxDelay);
}

void lbx::dsp_functions::gain_model(const BlockAlgo* blk, const Paths& paths)
{
    each_gain_path(blk, paths, stored_factor(blk));
}

void lbx::dsp_functions::gain_slew_model(const BlockAlgo* blk, const Paths& paths)
{
    if (const auto* core = core_of<GainSlewSt>(blk))
        each_gain_path(blk, paths, core->set_gain);
}

[[gnu::cold]] int Basic_DSP_HoldInit(BlockAlgo* blk)
{
    auto* core = new_core<HoldSt>(blk);
    if (core && zeros(core->holdVal, blk->nInputs) && zeros(core->lastVal, blk->nInputs) &&
        zeros(core->tmpY, blk->nInputs))
        return RT_OK;
    Basic_DSP_HoldDestroy(blk);
    return RT_ERR_MALLOC;
}

int Basic_DSP_HoldProcess(BlockAlgo* blk, float** xn, float** yn)
{
    const auto* core = core_of<HoldSt>(blk);
    if (!core)
        return RT_ERR_NULL_PTR;
    switch (blk->method_type) {
    case EN_BASIC_DSP_HOLD_ABSMAX:
        return hold<HoldAbsMax>(blk, *core, xn, yn);
    case EN_BASIC_DSP_HOLD_MAX:
        return hold<HoldMax>(blk, *core, xn, yn);
    case EN_BASIC_DSP_HOLD_MIN:
        return hold<HoldMin>(blk, *core, xn, yn);
    default:
        return hold<HoldValue>(blk, *core, xn, yn);
    }
}

void clear_state::hold(BlockAlgo* blk)
{
    const auto* core = core_of<HoldSt>(blk);
    std::fill_n(core->holdVal, blk->nInputs, 0.0F);
    std::fill_n(core->lastVal, blk->nInputs, 0.0F);
}

int Basic_DSP_HoldDestroy(BlockAlgo* blk)
{
    auto* core = core_of<HoldSt>(blk);
    if (!core)
        return RT_ERR_NO_BUFFER;
    std::free(core->holdVal);
    std::free(core->lastVal);
    std::free(core->tmpY);
    drop(blk->AlgoCore);
    return RT_OK;
}

[[gnu::cold]] int Basic_DSP_DelayInit(BlockAlgo* blk)
{
    constexpr const auto& kVector = kInitial<dsp_functions::kDelayLayout>;
    auto* core = new_core<DelaySt>(blk);
    if (core && zeros(blk->pParam, kBasicDelayModuleSize) &&
        set_delay(blk, *core, kVector[kBasicDelayMaxDelay], kVector[kBasicDelayDelay])) {
        std::ranges::copy(kVector, blk->pParam);
        return RT_OK;
    }
    Basic_DSP_DelayDestroy(blk);
    return RT_ERR_MALLOC;
}

[[gnu::cold]] int Basic_DSP_DelaySetParam(BlockAlgo* blk, float* param)
{
    auto* core = core_of<DelaySt>(blk);
    if (!core || !blk->pParam)
        return RT_ERR_NULL_PTR;
    const float* source = param ? param : blk->pParam;
    const float longest = longest_of(source[kBasicDelayMaxDelay]);
    const float delay = ParamAdaptFloat(dsp_functions::kDelay.clamp.min, longest, source[kBasicDelayDelay], "delay");
    const float type = source[kBasicDelayType];
    const auto samples = [=, rate_hz = rate_of(blk->block_pro)](float v) {
        return type == float{dsp_functions::kMilliseconds} ? v * rate_hz / 1000.0F : v;
    };
    if (!set_delay(blk, *core, samples(longest), samples(delay)))
        return RT_ERR_MALLOC;
    blk->pParam[kBasicDelayMaxDelay] = longest;
    blk->pParam[kBasicDelayDelay] = delay;
    blk->pParam[kBasicDelayType] = type;
    return RT_OK;
}

int Basic_DSP_DelayProcess(BlockAlgo* blk, float** xn, float** yn)
{
    auto* core = core_of<DelaySt>(blk);
    if (!core)
        return RT_ERR_NULL_PTR;
    for (int pin = 0; pin < blk->nInputs; ++pin)
        delay_pin(core->rbuf[pin], core->delay, xn[pin], yn[pin], blk->block_pro->nBlockSize);
    return RT_OK;
}

void clear_state::delay(BlockAlgo* blk)
{
    for (int i = 0; i < ring_count(blk); ++i) {
        const RingBufSt& ring = core_of<DelaySt>(blk)->rbuf[i];
        std::fill_n(ring.buf, ring.num, 0.0F);
    }
}

int Basic_DSP_DelayDestroy(BlockAlgo* blk)
{
    auto* core = core_of<DelaySt>(blk);
    const bool whole = core && blk->pParam;
    if (core)
        free_rings(core->rbuf, ring_count(blk));
    drop(blk->AlgoCore);
    drop(blk->pParam);
    return whole ? RT_OK : RT_ERR_NULL_PTR;
}

[[gnu::cold]] int Basic_DSP_VolDelaySetParam(BlockAlgo* blk, float* param)
{
    auto* core = core_of<DelaySt>(blk);
    if (!core || !blk->pParam)
        return RT_ERR_NULL_PTR;
    const float longest = longest_of(param ? param[kBasicDelayMaxDelay] : blk->pParam[kBasicDelayMaxDelay]);
    if (!set_delay(blk, *core, longest, 0.0F))
        return RT_ERR_MALLOC;
    blk->pParam[kBasicDelayMaxDelay] = longest;
    return RT_OK;
}

int Basic_DSP_VolDelayProcess(BlockAlgo* blk, float** xn, float** yn)
{
    auto* core = core_of<DelaySt>(blk);
    if (!core)
        return RT_ERR_NULL_PTR;
    RingBufSt ring = core->rbuf[0];
    const int taps = blk->nInputs - 1;
    const int n = blk->block_pro->nBlockSize;
    for (int i = 0; taps >= 0 && i < n; ++i) {
        const float x = xn[taps][i];
        for (int j = 0; j < taps; ++j)
            yn[j][i] = ring_at(ring, tap_delay(xn[j][i], ring.num));
        ring_update(ring, x);
    }
    core->rbuf[0].idx = ring.idx;
    return RT_OK;
}

int Basic_Gain_Init(BlockAlgo* blk)
{
    if (!zeros(blk->pParam, kBasicGainModuleSize))
        return RT_ERR_MALLOC;
    std::ranges::copy(kInitial<dsp_functions::kGainLayout>, blk->pParam);
    return RT_OK;
}

int Basic_Gain_SetParam(BlockAlgo* blk, float* param)
{
    if (!blk->pParam)
        return RT_ERR_NULL_PTR;
    copy_params(blk->pParam, param, kBasicGainSlewRate);
    const float factor = linear_factor(blk->pParam);
    blk->AlgoCore = nullptr;
    std::memcpy(&blk->AlgoCore, &factor, sizeof factor);
    return RT_OK;
}

int Basic_Gain_Process(BlockAlgo* blk, float** xn, float** yn)
{
    if (!blk->pParam)
        return RT_ERR_NULL_PTR;
    const float factor = stored_factor(blk);
    for (int pin = 0; pin < blk->nOutputs; ++pin)
        scale(xn[pin], yn[pin], factor, blk->block_pro->nBlockSize);
    return RT_OK;
}

// AlgoCore holds a float, nothing to free; null is a gain of 0, not a missing state.
int Basic_Gain_Destroy(BlockAlgo* blk)
{
    const bool whole = blk->pParam != nullptr;
    blk->AlgoCore = nullptr;
    drop(blk->pParam);
    return whole ? RT_OK : RT_ERR_NULL_PTR;
}

[[gnu::cold]] int Basic_GainSlew_Init(BlockAlgo* blk)
{
    auto* core = new_core<GainSlewSt>(blk);
    if (!core || !zeros(blk->pParam, kBasicGainModuleSize)) {
        Basic_GainSlew_Destroy(blk);
        return RT_ERR_MALLOC;
    }
    std::ranges::copy(kInitial<dsp_functions::kGainSlewLayout>, blk->pParam);
    core->pre_div = sample_share(blk->block_pro);
    core->set_gain = 1.0F;
    derive_slew(blk, *core);
    return RT_OK;
}

int Basic_GainSlew_SetParam(BlockAlgo* blk, float* param)
{
    auto* core = core_of<GainSlewSt>(blk);
    if (!core || !blk->pParam)
        return RT_ERR_NULL_PTR;
    copy_params(blk->pParam, param, kBasicGainModuleSize);
    constexpr VantoroRange kRange = dsp_functions::kSlewRate.clamp;
    float& slew_rate = blk->pParam[kBasicGainSlewRate];
    slew_rate = ParamAdaptFloat(kRange.min, kRange.max, slew_rate, "GainSlewRate");
    derive_slew(blk, *core);
    core->set_gain = linear_factor(blk->pParam);
    return RT_OK;
}

int Basic_GainSlew_Process(BlockAlgo* blk, float** xn, float** yn)
{
    auto* core = core_of<GainSlewSt>(blk);
    if (!core)
        return RT_ERR_NULL_PTR;
    const int n = blk->block_pro->nBlockSize;
    if (core->old_gain == core->set_gain) {
        for (int pin = 0; pin < blk->nOutputs; ++pin)
            scale(xn[pin], yn[pin], core->set_gain, n);
        return RT_OK;
    }
    const Glide g = glide(core->old_gain, core->set_gain, core->attack_gain, core->pre_div);
    ramp(g, xn, yn, blk->nOutputs, n);
    core->old_gain = settle(g, core->set_gain);
    return RT_OK;
}

void clear_state::gain_slew(BlockAlgo* blk) { core_of<GainSlewSt>(blk)->old_gain = 0.0F; }

int Basic_GainSlew_Destroy(BlockAlgo* blk)
{
    const bool whole = blk->AlgoCore && blk->pParam;
    drop(blk->AlgoCore);
    drop(blk->pParam);
    return whole ? RT_OK : RT_ERR_NULL_PTR;
}
