// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace lbx {

inline constexpr int kLine = 64 / sizeof(float);  // samples of a cache line

}  // namespace lbx
