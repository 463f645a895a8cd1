// SPDX-License-Identifier: Apache-2.0
// The processing context as modules read it.
#pragma once

#include "../common/block_types.h"

namespace lbx {

inline float rate_of(const BlockPro* pro) { return static_cast<float>(pro->nSamplingRate); }  // Hz

// The share of a block's step that one sample takes: a glide spreads its step over n + 1 samples.
inline float sample_share(const BlockPro* pro) { return 1.0F / (static_cast<float>(pro->nBlockSize) + 1.0F); }

}  // namespace lbx
