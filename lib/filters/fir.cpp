// SPDX-License-Identifier: Apache-2.0
#include "fir.h"

#include <algorithm>
#include <cmath>

#include "../framework/clear_state.h"
#include "../framework/new_block.h"
#include "../framework/params.h"
#include "../kernels/lanes.h"
#include "fir_info.h"

using namespace lbx;

namespace {

constexpr int kWide = kLanes<f8>;
constexpr int kPass = 256;  // samples per pass; the more, the less copying the past costs

struct Fir : FIR_Core {
    float* line;  // the past and the new samples of one pass, contiguous, oldest first
};

// ---- the kernel: lanes are time

// kRows packets of outputs y from the samples at x and the N - 1 before them, all sums in tap order.
template <int kRows>
LBX_KERNEL void convolve(const float* taps, int n_taps, const float* x, float* y)
{
    f8 sum[kRows];
    repeat<kRows>([&](auto r) { sum[r] = every<f8>(taps[0]) * load<f8>(x + kWide * r); });
    for (int k = 1; k < n_taps; ++k) {
        const f8 tap = every<f8>(taps[k]);
        repeat<kRows>([&](auto r) {
            if (r() == 4)
                keep_order();
            sum[r] = mul_add(tap, load<f8>(x - k + kWide * r), sum[r]);
        });
    }
    repeat<kRows>([&](auto r) { store(y + kWide * r, sum[r]); });
}

// n <= kPass outputs; reads up to a packet more.
void convolve(const float* taps, int n_taps, const float* x, float* y, int n)
{
    int i = 0;
    repeat<4>([&](auto halvings) {
        constexpr int kRows = 8 >> halvings;
        for (; i + kWide * kRows <= n; i += kWide * kRows)
            convolve<kRows>(taps, n_taps, x + i, y + i);
    });
    if (i < n) {
        float last[kWide];
        convolve<1>(taps, n_taps, x + i, last);
        std::copy_n(last, n - i, y + i);
    }
}

// ---- the past

// The `count` samples last written, oldest first.
void read_past(const CircularBuffer* ring, float* line, int count)
{
    const int from = (ring->writeIndex - count) & ring->wrapMask;
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

void filter(const Fir* core, CircularBuffer* ring, const float* in, float* out, int n)
{
    const int past = core->fir_len - 1;
    float* now = core->line + past;
    for (int start = 0; start < n; start += kPass) {
        const int some = std::min(n - start, kPass);
        read_past(ring, core->line, past);
        std::copy_n(in + start, some, now);
        write_past(ring, now, some);
        convolve(core->coeffs, core->fir_len, now, out + start, some);
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
    auto* core = core_of<Fir>(blk);
    CircularBuffer** lines = nullptr;
    float *line = nullptr, *vector = nullptr;
    // The lines come first: they end the process for a number of taps that they cannot hold.
    const std::ptrdiff_t floats = vector_floats(taps);
    if (!new_lines(lines, blk->nInputs, taps) || !zeros(vector, floats) || !zeros(line, floats + kPass + kWide)) {
        free_lines(lines, blk->nInputs);
        std::free(vector);
        return false;
    }
    std::copy_n(source, floats, vector);  // before the old vector is freed, which may be `source`
    free_lines(core->databuffer, blk->nInputs);
    std::free(core->line);
    std::free(blk->pParam);
    core->databuffer = lines;
    core->line = line;
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

void fir::linear_model(const BlockAlgo* blk, const info::Paths& paths)
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
    if (!new_core<Fir>(blk) || !start_again(blk.get(), fir::kTaps.initial_rows, kInitial<fir::kLayout>.data()))
        return nullptr;
    return blk.release();
}

int FIR_param_set(BlockAlgo* blk, float* param)
{
    if (!param)
        return RT_OK;
    const auto* core = core_of<Fir>(blk);
    if (param[0] != static_cast<float>(core->fir_len))
        return start_again(blk, to_int(param[0]), param) ? RT_OK : RT_ERR_MALLOC;
    std::copy_n(param, vector_floats(core->fir_len), blk->pParam);
    return RT_OK;
}

int FIR_param_update(BlockAlgo*) { return RT_OK; }

int FIR_param_invoke(BlockAlgo* blk)
{
    const auto* core = core_of<Fir>(blk);
    LBX_LOG("FIR numcoeff is %d\n", core->fir_len);
    for (int k = 0; k < core->fir_len; ++k)
        LBX_LOG("FIR coeff is %f\n", static_cast<double>(core->coeffs[k]));
    return RT_OK;
}

void FIR_Render(FIR_Core* core, float* buffer_in, float* buffer_out, int tickSize, int i_channel)
{
    filter(static_cast<const Fir*>(core), core->databuffer[i_channel], buffer_in, buffer_out, tickSize);
}

int FIR_process(BlockAlgo* blk, float** data_in, float** data_out)
{
    auto* core = core_of<Fir>(blk);
    for (int ch = 0; ch < blk->nInputs; ++ch)
        FIR_Render(core, data_in[ch], data_out[ch], blk->block_pro->nBlockSize, ch);
    return RT_OK;
}

void clear_state::fir(BlockAlgo* blk)
{
    for (int ch = 0; ch < blk->nInputs; ++ch) {
        CircularBuffer* ring = core_of<Fir>(blk)->databuffer[ch];
        std::fill_n(ring->buffer, ring->bufferLength, 0.0F);
    }
}

int FIR_destroy(BlockAlgo* blk)
{
    if (const auto* core = blk ? core_of<Fir>(blk) : nullptr) {
        free_lines(core->databuffer, blk->nInputs);
        std::free(core->line);
    }
    return free_block(blk);
}
