// SPDX-License-Identifier: Apache-2.0
// Coefficients lane by lane, as the kernels of section.cpp load them.
#include <algorithm>

#include "../framework/new_block.h"
#include "section.h"

namespace lbx {

bool reserve(Cascade& cascade, int sections)
{
    const int groups = sections / 4 + 1;
    if (groups <= cascade.capacity)
        return true;
    CascadeGroup* fresh = nullptr;
    if (!zeros(fresh, groups))
        return false;
    std::free(cascade.groups);
    cascade = {fresh, groups, 0};
    return true;
}

void release(Cascade& cascade)
{
    std::free(cascade.groups);
    cascade = {};
}

// The lanes before it are idle until the next one comes; they share its state.
void put_first(Cascade& cascade, const float* coeff, float* state, std::ptrdiff_t stride)
{
    ++cascade.sections;
    CascadeGroup& group = cascade.groups[cascade.capacity - cascade.used()];
    const int own = cascade.idle();
    for (int l = 0; l <= own; ++l) {
        for (int j = 0; j < kSosCoeffs; ++j)
            group.coeff[j][l] = l == own ? coeff[j] : 0.0F;
        group.state[l] = state;
        group.stride[l] = stride;
    }
}

void set_bank(Bank& bank, const float* coeff, int bands)
{
    bank.bands = bands;
    for (int k = 0; k < Bank::kLanes; ++k)
        for (int j = 0; j < kSosCoeffs && bands > 0; ++j)
            bank.coeff[k / 8][j][k % 8] = coeff[kSosCoeffs * std::min(k, bands - 1) + j];
}

void set_split(Split& split, const float* coeff, const SplitBand* band, int bands)
{
    split = Split();
    split.bands = bands;
    for (int b = 0; b < bands; ++b) {
        split.band[b] = band[b];
        split.first[b] = split.sections;
        split.sections += band[b].sections;
        split.depth = std::max(split.depth, band[b].sections);
    }
    for (int l = 0; l < 4; ++l) {
        const int b = split.band_of(l);
        split.signs[l] = sign_bit(band[b].negate);
        for (int k = 0; k < band[b].sections; ++k)
            for (int j = 0; j < kSosCoeffs; ++j)
                split.stage[k].coeff[j][l] = coeff[kSosCoeffs * (split.first[b] + k) + j];
    }
}

}  // namespace lbx
