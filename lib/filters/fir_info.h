// SPDX-License-Identifier: Apache-2.0
// The FIR filter's taps.
#pragma once

#include "../framework/info.h"
#include "fir.h"

namespace lbx::fir {

using namespace lbx::info;

inline constexpr VantoroParam kTap[] = {
    real("tap", "", 0, {-1, 1}, "factor of a sample, the newest first").in_steps(1e-4F)};
inline constexpr float kIdentity[] = {1, 0, 0, 0, 0, 0, 0, 0, 0, 0};
inline constexpr VantoroTable kTaps =
    list("taps", kTap, 1, kManyRows, kIdentity, "the impulse response; a new length starts from silence");
inline constexpr VantoroSlot kLayout[] = {count(kTaps), rows(kTaps)};

void impulse_response(const BlockAlgo* blk, const Paths& paths);  // the taps of every channel
void linear_model(const BlockAlgo* blk, const Paths& paths);

}  // namespace lbx::fir
