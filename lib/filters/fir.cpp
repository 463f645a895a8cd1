// SPDX-License-Identifier: Apache-2.0
#include "fir.h"

#include <algorithm>
#include <cmath>

#include "../framework/clear_state.h"
#include "../framework/new_block.h"
#include "../framework/params.h"
#include "../kernels/lanes.h"
#include "../kernels/ramp.h"
#include "fir_info.h"

using namespace lbx;

namespace {

constexpr int kWide = kLanes<f8>;
// What is filtered at a time: the more, the less copying the past costs.
constexpr int kPass = 256;     // samples, and the first taps
constexpr int kFarTaps = 512;  // of the others

// ---- the kernel: lanes are time

// kRows packets of outputs y from the samples at x and the N - 1 before them, in tap order. From the start, or on from
// what y is: a first sum of -0 takes the sign of the first product, and its value.
template <int kRows>
LBX_KERNEL void convolve(const float* taps, int n_taps, const float* x, float* y, bool on)
{
    f8 sum[kRows];
    repeat<kRows>([&](auto r) { sum[r] = on ? load<f8>(y + kWide * r) : every<f8>(-0.0F); });
    for (int k = 0; k < n_taps; ++k) {
        const f8 tap = every<f8>(taps[k]);
        repeat<kRows>([&](auto r) {
            if (r() == 4)
                keep_order();
            sum[r] = mul_add(tap, load<f8>(x - k + kWide * r), sum[r]);
        });
    }
    repeat<kRows>([&](auto r) { store(y + kWide * r, sum[r]); });
}

// n <= kPass outputs; reads up to a packet more of x.
void convolve(const float* taps, int n_taps, const float* x, float* y, int n, bool on)
{
    int i = 0;
    repeat<4>([&](auto halvings) {
        constexpr int kRows = 8 >> halvings;
        for (; i + kWide * kRows <= n; i += kWide * kRows)
            convolve<kRows>(taps, n_taps, x + i, y + i, on);
    });
    if (i < n) {
        float last[kWide] = {};
        std::copy_n(y + i, n - i, last);
        convolve<1>(taps, n_taps, x + i, last, on);
        std::copy_n(last, n - i, y + i);
    }
}

// ---- the past

// `count` samples, the first of them written `ago` samples before the next.
void read_past(const CircularBuffer* ring, int ago, float* line, int count)
{
    const int from = (ring->writeIndex - ago) & ring->wrapMask;
    const int first = std::min(count, ring->bufferLength - from);
    std::copy_n(ring->buffer + from, first, line);
    std::copy_n(ring->buffer, count - first, line + first);
}

void write_past(CircularBuffer* ring, const float* x, int n)
{
    const int count = std::min(n, ring->bufferLength);
    const int first = std::min(count, ring->bufferLength - ring->writeIndex);
    x += n - count;
    std::copy_n(x, first, ring->buffer + ring->writeIndex);
    std::copy_n(x + first, count - first, ring->buffer);
    ring->writeIndex = (ring->writeIndex + count) & ring->wrapMask;
}

// The taps from kPass on. All that they meet was there before this pass.
[[gnu::noinline]] void add_far_taps(const FIR_Core* core, const CircularBuffer* ring, float* out, int n)
{
    float line[kFarTaps - 1 + kPass + kWide];
    for (int tap = kPass; tap < core->fir_len; tap += kFarTaps) {
        const int taps = std::min(core->fir_len - tap, kFarTaps), before = taps - 1;
        read_past(ring, tap + before, line, before + n);
        store(line + before + n, f8{});
        convolve(core->coeffs + tap, taps, line + before, out, n, true);
    }
}

void filter(const FIR_Core* core, CircularBuffer* ring, const float* in, float* out, int n)
{
    const int taps = std::min(core->fir_len, kPass), before = taps - 1;
    float line[2 * kPass - 1 + kWide];
    float* now = line + kPass - 1;
    for (int start = 0; start < n; start += kPass) {
        const int some = std::min(n - start, kPass);
        read_past(ring, before, now - before, before);
        copy(in + start, now, some);
        store(now + some, f8{});
        convolve(core->coeffs, taps, now, out + start, some, false);
        if (core->fir_len > kPass)
            add_far_taps(core, ring, out + start, some);
        write_past(ring, now, some);
    }
}

// ---- what depends on the number of taps

void free_lines(CircularBuffer** lines, int channels)
{
    for (int ch = 0; lines && ch < channels; ++ch)
        circularbuffer_destroy(lines[ch]);
    std::free(lines);
}

bool new_lines(CircularBuffer**& lines, int channels, int taps)
{
    if (!zeros(lines, channels))
        return false;
    for (int ch = 0; ch < channels; ++ch) {
        lines[ch] = circularbuffer_init();
        if (!lines[ch] || circularbuffer_createCircularBuffer(lines[ch], taps) != RT_OK)
            return false;
    }
    return true;
}

std::ptrdiff_t vector_floats(int taps) { return std::ptrdiff_t{1} + std::max(taps, 0); }

// Takes silent lines and a copy of the vector `source` with its `taps` taps. Without memory the old ones stay.
bool start_again(BlockAlgo* blk, int taps, const float* source)
{
    auto* core = core_of<FIR_Core>(blk);
    CircularBuffer** lines = nullptr;
    float* vector = nullptr;
    // The lines come first: they end the process for a number of taps that they cannot hold.
    const std::ptrdiff_t floats = vector_floats(taps);
    if (!new_lines(lines, blk->nInputs, taps) || !zeros(vector, floats)) {
        free_lines(lines, blk->nInputs);
        return false;
    }
    std::copy_n(source, floats, vector);  // before the old vector is freed, which may be `source`
    free_lines(core->databuffer, blk->nInputs);
    std::free(blk->pParam);
    core->databuffer = lines;
    blk->pParam = vector;
    core->coeffs = vector + 1;
    core->fir_len = taps;
    return true;
}

}  // namespace

void fir::impulse_response(const BlockAlgo* blk, const info::Paths& paths)
{
    const auto* core = core_of<FIR_Core>(blk);
    paths.taps(core->coeffs, core->fir_len);
}

[[gnu::cold]] void fir::linear_model(const BlockAlgo* blk, const info::Paths& paths)
{
    for (int ch = 0; ch < blk->nInputs; ++ch) {
        paths.path(ch, ch);
        impulse_response(blk, paths);
    }
}

BlockAlgo* FIR_init(int Input_pin, int Output_pin, BlockPro* block_pro, int type)
{
    if (!info::pins_agree(info::kSame, Input_pin, Output_pin)) {
        LBX_LOG("wrong input pin number in FIR\n");
        return nullptr;
    }
    NewBlock blk = new_block(Input_pin, Output_pin, block_pro, type, FIR_destroy);
    if (!new_core<FIR_Core>(blk) || !start_again(blk.get(), fir::kTaps.initial_rows, kInitial<fir::kLayout>.data()))
        return nullptr;
    return blk.release();
}

int FIR_param_set(BlockAlgo* blk, float* param)
{
    if (!param)
        return RT_OK;
    const auto* core = core_of<FIR_Core>(blk);
    if (param[0] != static_cast<float>(core->fir_len))
        return start_again(blk, to_int(param[0]), param) ? RT_OK : RT_ERR_MALLOC;
    std::copy_n(param, vector_floats(core->fir_len), blk->pParam);
    return RT_OK;
}

int FIR_param_update(BlockAlgo*) { return RT_OK; }

int FIR_param_invoke(BlockAlgo* blk)
{
    const auto* core = core_of<FIR_Core>(blk);
    LBX_LOG("FIR numcoeff is %d\n", core->fir_len);
    for (int k = 0; k < core->fir_len; ++k)
        LBX_LOG("FIR coeff is %f\n", static_cast<double>(core->coeffs[k]));
    return RT_OK;
}

void FIR_Render(FIR_Core* core, float* buffer_in, float* buffer_out, int tickSize, int i_channel)
{
    filter(core, core->databuffer[i_channel], buffer_in, buffer_out, tickSize);
}

int FIR_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    auto* core = core_of<FIR_Core>(blk);
    for (int ch = 0; ch < blk->nInputs; ++ch)
        FIR_Render(core, data_in[ch], data_out[ch], blk->block_pro->nBlockSize, ch);
    return RT_OK;
}

void clear_state::fir(BlockAlgo* blk)
{
    for (int ch = 0; ch < blk->nInputs; ++ch) {
        CircularBuffer* ring = core_of<FIR_Core>(blk)->databuffer[ch];
        std::fill_n(ring->buffer, ring->bufferLength, 0.0F);
    }
}

int FIR_destroy(BlockAlgo* blk)
{
    if (const auto* core = blk ? core_of<FIR_Core>(blk) : nullptr)
        free_lines(core->databuffer, blk->nInputs);
    return free_block(blk);
}
