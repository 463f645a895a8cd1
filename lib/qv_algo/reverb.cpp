// SPDX-License-Identifier: Apache-2.0
#include "reverb.h"

#include <algorithm>
#include <limits>

#include "../framework/clear_state.h"
#include "../framework/params.h"
#include "../kernels/delay_line.h"
#include "../kernels/each_index.h"
#include "../kernels/lanes.h"
#include "../kernels/ramp.h"
#include "reverb_info.h"

using namespace lbx;

namespace {

constexpr int kCombs = 8;
constexpr int kAllpasses = 4;
// Delays in ms, and what each channel adds to all of its own so that the channels' echoes never coincide.
constexpr float kCombTuning[kCombs] = {25.31F, 26.94F, 28.96F, 30.75F, 32.24F, 33.81F, 35.31F, 36.67F};
constexpr float kAllpassTuning[kAllpasses] = {12.61F, 10.0F, 7.73F, 5.1F};
constexpr float kSpread[] = {0.0F, 0.5668F, -0.4668F, -0.96356F};
constexpr float kAllpassFeedback = 0.5F;

constexpr ParamLabel kLabels[kReverbModuleSize] = {{"Enable"},   {"DryLevel"}, {"WetLevel"},
                                                   {"RoomSize"}, {"Damp"},     {"Width"}};

int delay_samples(float tuning_ms, int channel, int rate)
{
    const float spread_ms = kSpread[std::min<std::size_t>(static_cast<std::size_t>(channel), std::size(kSpread) - 1)];
    const int samples = to_int((tuning_ms + spread_ms) * static_cast<float>(rate) / 1000.0F);
    return std::max(samples / kGroup * kGroup, kGroup);
}

bool build_channel(Reverb_Core& core, int channel, int rate)
{
    if (!zeros(core.combs[channel], kCombs) || !zeros(core.allpasss[channel], kAllpasses))
        return false;
    for (int j = 0; j < kCombs; ++j)
        if (!line_resize(core.combs[channel][j], delay_samples(kCombTuning[j], channel, rate)))
            return false;
    for (int j = 0; j < kAllpasses; ++j) {
        qv_allpass& allpass = core.allpasss[channel][j];
        allpass.feedback = kAllpassFeedback;
        allpass.decay = 1.0F;
        if (!line_resize(allpass, delay_samples(kAllpassTuning[j], channel, rate)))
            return false;
    }
    return true;
}

template <class Line>
void free_lines(Line** channels, int num_channel, int lines)
{
    for (int c = 0; channels && c < num_channel; ++c) {
        for (int j = 0; channels[c] && j < lines; ++j)
            std::free(channels[c][j].buffer);
        std::free(channels[c]);
    }
    std::free(channels);
}

void apply(Reverb_Core& core, const float* param)
{
    core.enbale_flag = to_int(param[kReverbEnable]);
    core.dry_level = param[kReverbDryLevel] / 100.0F;
    core.wet_level = param[kReverbWetLevel] / 100.0F;
    core.room_size = 0.7F + 0.28F * param[kReverbRoomSize];
    core.damp = param[kReverbDamp];
    core.width = param[kReverbWidth] / 100.0F;
    const bool stereo = core.num_channel == 2;
    core.wet1 = stereo ? core.wet_level * (0.5F * core.width + 0.5F) : core.wet_level;
    core.wet2 = stereo ? core.wet_level * 0.5F * (1.0F - core.width) : 0.0F;
    for (int c = 0; c < core.num_channel; ++c)
        for (int j = 0; j < kCombs; ++j) {
            core.combs[c][j].feedback = core.room_size;
            core.combs[c][j].damp = core.damp;
        }
}

// A channel's lines from here to wherever the first of them wraps.
template <int N, class Line>
struct Run {
    float* at[N];
    int length;

    Run(Line* lines, int wanted) : length(wanted)
    {
        for (int l = 0; l < N; ++l) {
            at[l] = lines[l].buffer + lines[l].bufIdx;
            length = std::min(length, lines[l].bufSize - lines[l].bufIdx);
        }
    }
    void finish(Line* lines) const
    {
        for (int l = 0; l < N; ++l)
            line_advance(lines[l], length);
    }
};

// Eight combs at once. A packet row holds four samples of comb k and four of comb k + 4; transposed, it holds one
// sample of all eight, which is how the low-pass needs them.
struct CombBank {
    f8 damp, fresh, low;
    f8 feedback[4];
    f8 stored[4];  // the low-pass outputs of the last group, as rows

    explicit CombBank(const qv_comb* combs)
        : damp(lanes_of<f8>([=](int l) { return combs[l].damp; })), fresh(every<f8>(1.0F) - damp),
          low(lanes_of<f8>([=](int l) { return combs[l].filterstore[3]; }))
    {
        for (int k = 0; k < 4; ++k)
            feedback[k] = join(every<f4>(combs[k].feedback), every<f4>(combs[k + 4].feedback));
    }

    // Four samples on; the sum of the eight outputs, added in their order.
    LBX_INLINE f4 group(float* const* at, int t, f4 x)
    {
        f8 y[4];
#pragma GCC unroll 4
        for (int k = 0; k < 4; ++k)
            y[k] = join(load<f4>(at[k] + t), load<f4>(at[k + 4] + t));
        f4 sum = every<f4>(0.0F);
#pragma GCC unroll 4
        for (int k = 0; k < 4; ++k)
            sum = sum + lower(y[k]);
#pragma GCC unroll 4
        for (int k = 0; k < 4; ++k)
            sum = sum + upper(y[k]);
        transpose(y);
#pragma GCC unroll 4
        for (int k = 0; k < 4; ++k)
            stored[k] = low = mul_add(damp, low, fresh * y[k]);
        transpose(stored);
#pragma GCC unroll 4
        for (int k = 0; k < 4; ++k) {
            const f8 back = mul_add(stored[k], feedback[k], every<f8>(x));
            store(at[k] + t, lower(back));
            store(at[k + 4] + t, upper(back));
        }
        return sum;
    }

    void keep(qv_comb* combs) const
    {
        for (int k = 0; k < 4; ++k) {
            store(combs[k].filterstore, lower(stored[k]));
            store(combs[k + 4].filterstore, upper(stored[k]));
        }
    }
};

void run_combs(qv_comb* combs, const float* x, float* wet, int n)
{
    CombBank bank(combs);
    for (int done = 0; done < n;) {
        const Run<kCombs, qv_comb> run(combs, n - done);
        for (int t = 0; t < run.length; t += kGroup)
            store(wet + done + t, bank.group(run.at, t, load<f4>(x + done + t)));
        run.finish(combs);
        done += run.length;
    }
    bank.keep(combs);
}

// Samples t on through all four allpasses. The lines are longer than a packet, so its lanes never meet.
template <class V>
LBX_INLINE void allpass_packet(const qv_allpass* allpasses, float* const* at, int t, float* x)
{
    V v = load<V>(x);
#pragma GCC unroll 8
    for (int k = 0; k < kAllpasses; ++k) {
        const V gain = every<V>(allpasses[k].feedback);
        const V delayed = load<V>(at[k] + t);
        const V w = mul_add(delayed, gain, v);
        store(at[k] + t, w);
        v = mul_sub(w, gain, delayed);
    }
    store(x, v);
}

void run_allpasses(qv_allpass* allpasses, float* x, int n)
{
    for (int done = 0; done < n;) {
        const Run<kAllpasses, qv_allpass> run(allpasses, n - done);
        int t = 0;
        for (; t + 8 <= run.length; t += 8)
            allpass_packet<f8>(allpasses, run.at, t, x + done + t);
        if (t < run.length)
            allpass_packet<f4>(allpasses, run.at, t, x + done + t);
        run.finish(allpasses);
        done += run.length;
    }
}

void run_channel(Reverb_Core& core, int channel, const float* x, float* wet, int n)
{
    run_combs(core.combs[channel], x, wet, n);
    run_allpasses(core.allpasss[channel], wet, n);
}

void render_stereo(Reverb_Core& core, const float* const* in, float* left, float* right, int n)
{
    float *x = core.scratch, *wet_left = x + n, *wet_right = wet_left + n;
    left = left ? left : wet_left;
    right = right ? right : wet_right;
    each_index(n, [=](int i) { x[i] = 0.0625F * (in[0][i] + in[1][i]); });
    run_channel(core, 0, x, wet_left, n);
    run_channel(core, 1, x, wet_right, n);
    const f4 wet1 = every<f4>(core.wet1), wet2 = every<f4>(core.wet2), dry = every<f4>(core.dry_level);
    for (int i = 0; i < n; i += kGroup) {
        const f4 in_left = load<f4>(in[0] + i), in_right = load<f4>(in[1] + i);
        const f4 own_left = load<f4>(wet_left + i), own_right = load<f4>(wet_right + i);
        const f4 done = mul_add(in_left, dry, mul_add(own_right, wet2, own_left * wet1));
        store(left + i, done);
        // The right cross term takes the finished left output, dry part included. Kept: it vanishes at full width.
        store(right + i, mul_add(in_right, dry, mul_add(done, wet2, own_right * wet1)));
    }
}

void render_alone(Reverb_Core& core, int channel, const float* in, float* out, int n)
{
    float *x = core.scratch, *wet = x + n;
    out = out ? out : wet;
    scale(in, x, 0.125F, n);
    run_channel(core, channel, x, wet, n);
    each_index(n, [=, dry = core.dry_level, wet1 = core.wet1](int i) { out[i] = std::fma(in[i], dry, wet[i] * wet1); });
}

}  // namespace

BlockAlgo* Reverb_init(int nInputs, int nOutputs, BlockPro* block_pro, int type)
{
    if (nInputs >= 3 && nInputs != nOutputs) {
        LBX_LOG("wrong input pin number in Reverb\n");
        return nullptr;
    }
    NewBlock blk = new_block(nInputs, nOutputs, block_pro, type, Reverb_destroy);
    auto* core = new_core<Reverb_Core>(blk);
    if (!core)
        return nullptr;
    core->num_channel = nInputs;
    core->gain = 0.1F;
    core->frame_size = static_cast<short>(std::clamp<int>(block_pro->nBlockSize, 0, std::numeric_limits<short>::max()));
    if (!zeros(blk->pParam, kReverbModuleSize) || !zeros(core->combs, nInputs) || !zeros(core->allpasss, nInputs) ||
        !zeros(core->scratch, 3 * core->frame_size))
        return nullptr;
    for (int c = 0; c < nInputs; ++c)
        if (!build_channel(*core, c, block_pro->nSamplingRate))
            return nullptr;
    std::ranges::copy(kInitial<reverb::kLayout>, blk->pParam);
    apply(*core, blk->pParam);
    return blk.release();
}

int Reverb_param_set(BlockAlgo* blk, float* param)
{
    copy_params(blk->pParam, param, kReverbModuleSize);
    apply(*core_of<Reverb_Core>(blk), blk->pParam);
    return RT_OK;
}

int Reverb_param_update(BlockAlgo* blk) { return Reverb_param_set(blk, nullptr); }

int Reverb_param_invoke(BlockAlgo* blk)
{
    print_params("Reverb_param_invoke", "Reverb", kLabels, blk->pParam);
    return RT_OK;
}

int Reverb_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    auto& core = *core_of<Reverb_Core>(blk);
    const int n = core.frame_size / kGroup * kGroup;
    if (core.enbale_flag == 0 || n <= 0)
        return RT_OK;
    const auto pin = [=](int c) { return c < blk->nOutputs ? data_out[c] : nullptr; };
    if (core.num_channel == 2) {
        render_stereo(core, data_in, pin(0), pin(1), n);
        return RT_OK;
    }
    for (int c = 0; c < core.num_channel; ++c)
        render_alone(core, c, data_in[c], pin(c), n);
    return RT_OK;
}

void clear_state::reverb(BlockAlgo* blk)
{
    const auto* core = core_of<Reverb_Core>(blk);
    for (int c = 0; c < core->num_channel; ++c) {
        std::for_each_n(core->combs[c], kCombs, [](qv_comb& comb) { comb_mute(&comb); });
        std::for_each_n(core->allpasss[c], kAllpasses, [](qv_allpass& allpass) { allpass_mute(&allpass); });
    }
}

int Reverb_destroy(BlockAlgo* blk)
{
    if (auto* core = blk ? core_of<Reverb_Core>(blk) : nullptr) {
        free_lines(core->combs, core->num_channel, kCombs);
        free_lines(core->allpasss, core->num_channel, kAllpasses);
        std::free(core->scratch);
    }
    return free_block(blk);
}
