// SPDX-License-Identifier: Apache-2.0
// What the graphical and the text equaliser have in common: a cascade of bands on every channel, as many as the first
// entry of the vector says, each band switched by a flag of its own.
//
// A Kind names the block's documented record and layout:
//   Core, kFlags                  the record, and the member that holds the flags
//   kStride, kFlag                floats per band, and the flag's place among them
//   runs(flag)                    whether a band with that flag filters
//   design(coeff, rate, band)     one band from its floats
//   kDefaults                     the vector of a new block, an array
#pragma once

#include <algorithm>
#include <cstddef>

#include "../framework/context.h"
#include "../framework/new_block.h"
#include "../kernels/level.h"
#include "../kernels/section.h"
#include "../math/rounded.h"
#include "arranged.h"
#include "section_info.h"

namespace lbx {

template <class Kind>
struct Equaliser : Kind::Core {
    Cascade cascade;      // the bands that run
    float* arranged;      // what the cascade was arranged from: the coefficients of all bands
    float* arranged_for;  // and their flags
};

template <class Kind>
std::ptrdiff_t eq_vector_floats(int bands)
{
    return std::ptrdiff_t{1} + std::ptrdiff_t{Kind::kStride} * bands;
}

// Takes silent arrays for the bands of `param`, and a copy of it. Without memory the old ones stay.
template <class Kind>
[[nodiscard]] bool eq_start_again(BlockAlgo* blk, const float* param)
{
    auto* core = core_of<Equaliser<Kind>>(blk);
    const int bands = std::max(to_int(param[0]), 0);
    const std::ptrdiff_t sections = bands;
    float *coeff = nullptr, *state = nullptr, *flags = nullptr, *vector = nullptr, *arranged = nullptr;
    if (!zeros(coeff, kSosCoeffs * sections) || !zeros(state, kSosWords * sections * blk->nInputs) ||
        !zeros(flags, sections) || !zeros(vector, eq_vector_floats<Kind>(bands)) ||
        !zeros(arranged, (kSosCoeffs + 1) * sections) || !reserve(core->cascade, bands)) {
        for (float* array : {coeff, state, flags, vector, arranged})
            std::free(array);
        return false;
    }
    std::copy_n(param, eq_vector_floats<Kind>(bands), vector);  // before the old vector is freed, which may be `param`
    for (float* array : {blk->pState, blk->pStateB, blk->pStateC, blk->pParam, core->arranged})
        std::free(array);
    core->cascade.sections = 0;  // those that ran had the old states
    core->arranged = arranged;
    core->arranged_for = arranged + kSosCoeffs * sections;
    core->numFilter = bands;
    core->coeffArray = blk->pState = coeff;
    core->stateBuffer = blk->pStateB = state;
    core->*Kind::kFlags = blk->pStateC = flags;
    blk->pParam = vector;
    return true;
}

template <class Kind>
void eq_silence(const BlockAlgo* blk)
{
    const auto* core = core_of<Equaliser<Kind>>(blk);
    std::fill_n(core->stateBuffer, std::ptrdiff_t{kSosWords} * core->numFilter * blk->nInputs, 0.0F);
}

template <class Kind>
[[gnu::cold]] void eq_arrange(Equaliser<Kind>* core)
{
    const float* flags = core->*Kind::kFlags;
    arrange(core->cascade, core->coeffArray, core->stateBuffer, std::ptrdiff_t{kSosWords} * core->numFilter,
            core->numFilter, [&](std::ptrdiff_t k) { return Kind::runs(flags[k]); });
    std::copy_n(core->coeffArray, std::ptrdiff_t{kSosCoeffs} * core->numFilter, core->arranged);
    std::copy_n(flags, core->numFilter, core->arranged_for);
}

// Designs every band from the stored vector, and starts again from silence.
template <class Kind>
[[gnu::cold]] void eq_apply(const BlockAlgo* blk)
{
    auto* core = core_of<Equaliser<Kind>>(blk);
    float* flags = core->*Kind::kFlags;
    const float rate_hz = rate_of(blk->block_pro);
    const float* band = blk->pParam + 1;
    for (int k = 0; k < core->numFilter; ++k, band += Kind::kStride) {
        flags[k] = band[Kind::kFlag];
        Kind::design(core->coeffArray + std::ptrdiff_t{kSosCoeffs} * k, rate_hz, band);
    }
    eq_arrange(core);
    eq_silence<Kind>(blk);
}

template <class Kind>
int eq_set(BlockAlgo* blk, const float* param)
{
    const auto* core = core_of<Equaliser<Kind>>(blk);
    if (param && param[0] == static_cast<float>(core->numFilter))
        std::copy_n(param, eq_vector_floats<Kind>(core->numFilter), blk->pParam);
    else if (param && !eq_start_again<Kind>(blk, param))
        return RT_ERR_MALLOC;
    eq_apply<Kind>(blk);
    return RT_OK;
}

template <class Kind>
int eq_destroy(BlockAlgo* blk)
{
    if (auto* core = blk ? core_of<Equaliser<Kind>>(blk) : nullptr) {
        release(core->cascade);
        std::free(core->arranged);
    }
    return free_block(blk);
}

template <class Kind>
BlockAlgo* eq_create(int inputs, int outputs, BlockPro* pro, int type)
{
    NewBlock blk = new_block(inputs, outputs, pro, type, eq_destroy<Kind>);
    if (!new_core<Equaliser<Kind>>(blk) || eq_set<Kind>(blk.get(), Kind::kDefaults.data()) != RT_OK)
        return nullptr;
    return blk.release();
}

template <class Kind>
void eq_process(const BlockAlgo* blk, const float* const* in, float* const* out)
{
    auto* core = core_of<Equaliser<Kind>>(blk);
    const std::ptrdiff_t bands = core->numFilter;
    if (!same_floats(core->coeffArray, core->arranged, kSosCoeffs * bands) ||
        !same_floats(core->*Kind::kFlags, core->arranged_for, bands))
        eq_arrange(core);
    run_cascade(core->cascade, 0, in, out, blk->nInputs, blk->block_pro->nBlockSize);
}

// One channel of any record of the documented layout: a few bands at a time, arranged here.
template <class Kind>
void eq_render(const typename Kind::Core* core, const float* in, float* out, int channel, int n)
{
    constexpr int kGroups = 3, kSome = 4 * kGroups;
    CascadeGroup groups[kGroups];
    const float* flags = core->*Kind::kFlags;
    const int bands = std::max(core->numFilter, 0);
    float* state = core->stateBuffer + std::ptrdiff_t{kSosWords} * bands * channel;
    int first = 0;
    do {
        Cascade some = {groups, kGroups, 0};
        arrange(some, core->coeffArray + std::ptrdiff_t{kSosCoeffs} * first, state + std::ptrdiff_t{kSosWords} * first,
                0, std::min(bands - first, kSome), [&](std::ptrdiff_t k) { return Kind::runs(flags[first + k]); });
        run_cascade(some, 0, &in, &out, 1, n);
        in = out;
        first += kSome;
    } while (first < bands);
}

template <class Kind>
void eq_linear_model(const BlockAlgo* blk, const info::Paths& paths)
{
    const auto* core = core_of<Equaliser<Kind>>(blk);
    for (int ch = 0; ch < blk->nInputs; ++ch) {
        paths.path(ch, ch);
        for (int k = 0; k < core->numFilter; ++k)
            if (Kind::runs((core->*Kind::kFlags)[k]))
                paths.second_order(core->coeffArray + std::ptrdiff_t{kSosCoeffs} * k);
    }
}

// What a band is designed from. All of it is in single precision, 2 pi too.
struct EqBand {
    Corner corner;
    float fourth, boost_db;  // clamped: Q, slope or octaves, as the type reads it
};
template <std::size_t kTypes>
EqBand eq_band(float rate_hz, float fc_hz, float fourth, float boost_db, int type,
               const std::array<VantoroRange, kTypes>& clamps)
{
    const auto number = static_cast<std::size_t>(type);
    return {corner(fc_hz * 6.2831855F / rate_hz),
            number < kTypes ? clamp_back(fourth, clamps[number]) : fourth,  // an unknown type is not designed
            clamp_back(boost_db, info::kSectionBoostDb.clamp)};
}

enum EqCommonType {
    kEqPeaking,
    kEqLowShelf,
    kEqHighShelf,
    kEqLowPass,
    kEqHighPass
};

// The types that both blocks number alike; of low- and high-pass the boost is the gain. False for others.
inline bool eq_common(int type, const EqBand& band, Sos& h, float& gain)
{
    const float A = rounded::pow(10.0F, band.boost_db / 40.0F);
    switch (type) {
    case kEqPeaking:
        h = peaking_eq(band.corner, A, alpha_q(band.corner, band.fourth));
        return true;
    case kEqLowShelf:
        h = low_shelf(band.corner, A, alpha_slope(band.corner, A, band.fourth));
        return true;
    case kEqHighShelf:
        h = high_shelf(band.corner, A, alpha_slope(band.corner, A, band.fourth));
        return true;
    case kEqLowPass:
        h = low_pass(band.corner, alpha_q(band.corner, band.fourth));
        break;
    case kEqHighPass:
        h = high_pass(band.corner, alpha_q(band.corner, band.fourth));
        break;
    default:
        return false;
    }
    gain = linear_gain(band.boost_db);
    return true;
}

}  // namespace lbx
