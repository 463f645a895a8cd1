// SPDX-License-Identifier: Apache-2.0
// The white noise's parameters.
#pragma once

#include "source_info.h"

namespace lbx::white_noise {

using namespace lbx::info;

inline constexpr VantoroParam kSwitch = source::on_off();
inline constexpr VantoroParam kMean = real("mean", "", 0, {-1, 1}, "constant under the noise").in_steps(0.01F);
inline constexpr VantoroParam kSigma =
    real("sigma", "", 0.01F, {1e-6F, 1}, "variance, the square of the standard deviation: 0.01 is -20 dB RMS")
        .logarithmic()
        .valid_in({0, kInfinity});
inline constexpr VantoroSlot kLayout[] = {value(kSwitch), value(kMean), value(kSigma)};

}  // namespace lbx::white_noise
