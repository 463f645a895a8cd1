// SPDX-License-Identifier: Apache-2.0
// Conversions between dB, milliseconds and linear values that several modules share.
#pragma once

#include <bit>
#include <cstdint>

#include "../framework/params.h"
#include "../math/rounded.h"

namespace lbx {

// 10^(dB / 20), to the last bits: what filters and crossovers scale by. LBX_DB2Gain is the coarse one.
inline float linear_gain(float db) { return rounded::pow(10.0F, db / 20.0F); }

// e^y by writing y into the exponent field of a double whose low word stays 0: N. Schraudolph, "A Fast, Compact
// Approximation of the Exponential Function". Relative error -2.9 % .. +2.98 %; e^0 gives 0.97100782. Kept as coarse as
// this, gains are tuned by ear through it.
inline double fast_exp(double y)
{
    const auto high = static_cast<std::uint32_t>(to_int(1512775.3951951857 * y + 1072632447.0));
    return std::bit_cast<double>(static_cast<std::uint64_t>(high) << 32U);
}

}  // namespace lbx
