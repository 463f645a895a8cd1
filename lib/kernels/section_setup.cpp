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

void set_bank(Bank& bank, const float* coeff, int bands)
{
    bank.bands = bands;
    for (int k = 0; k < Bank::kLanes; ++k)
        for (int j = 0; j < kSosCoeffs && bands > 0; ++j)
            bank.coeff[k / 8][j][k % 8] = coeff[kSosCoeffs * std::min(k, bands - 1) + j];
}

}  // namespace lbx
