// SPDX-License-Identifier: Apache-2.0
// The life of a source, over a description of what is its own.
#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <limits>
#include <numbers>
#include <span>

#include "../framework/context.h"
#include "../framework/log.h"
#include "../framework/new_block.h"
#include "../framework/params.h"
#include "../kernels/lanes.h"
#include "../kernels/ramp.h"
#include "source_types.h"

namespace lbx {

inline constexpr double kTwoPi = 2.0 * std::numbers::pi;

template <class Core>
struct Generator {
    std::span<const float> initial;  // the default vector
    // Fills the record from the vector and sets the waveform to its start.
    void (*apply)(Core& core, float* param, const BlockPro& pro);
    int more = 0;  // floats that the stored vector has after those

    constexpr int length() const { return static_cast<int>(initial.size()); }
};

template <class Core>
LBX_INLINE BlockAlgo* source_init(const Generator<Core>& source, int inputs, int outputs, BlockPro* pro, int type)
{
    NewBlock blk = new_block(inputs, outputs, pro, type);
    auto* core = new_core<Core>(blk);
    if (!core || !zeros(blk->pParam, source.length() + source.more))
        return nullptr;
    std::ranges::copy(source.initial, blk->pParam);
    core->Out_NumChannel = outputs;
    source.apply(*core, blk->pParam, *pro);
    return blk.release();
}

template <class Core>
int source_reset(const Generator<Core>& source, BlockAlgo* blk, const void* vector)
{
    if (!blk)
        return RT_ERR_NULL_PTR;
    copy_params(blk->pParam, static_cast<const float*>(vector), source.length());
    source.apply(*core_of<Core>(blk), blk->pParam, *blk->block_pro);
    return RT_OK;
}

// Writes next(), called once per sample, to every pin. Without a pin the signal runs on all the same.
template <std::invocable Next>
int fill_pins(const BlockAlgo* blk, int pins, float* const* out, Next next)
{
    const int n = blk->block_pro->nBlockSize;
    float* first = pins > 0 ? out[0] : nullptr;
    for (int i = 0; i < n; ++i) {
        const float v = next();
        if (first)
            first[i] = v;
    }
    for (int pin = 1; pin < pins && n > 0; ++pin)
        std::copy_n(first, n, out[pin]);
    return RT_OK;
}

// The same value in every sample.
inline int fill_pins(const BlockAlgo* blk, int pins, float* const* out, float v)
{
    for (int pin = 0; pin < pins; ++pin)
        fill(out[pin], blk->block_pro->nBlockSize, v);
    return RT_OK;
}

// One step of a phase held in single precision. At most one turn is taken off, in double precision; that happens once a
// period, so that the samples between wait for one addition only.
template <class Step>
float step_phase(float phi, Step step)
{
    const auto moved = static_cast<float>(static_cast<Step>(phi) + step);
    if (static_cast<double>(moved) > kTwoPi) [[unlikely]]
        return static_cast<float>(static_cast<double>(moved) - kTwoPi);
    return moved;
}

// Counts samples. It stops at the end of its range, which takes half a day at 48 kHz, instead of wrapping.
inline void advance(int& samples)
{
    if (samples < std::numeric_limits<int>::max())
        ++samples;
}

}  // namespace lbx
