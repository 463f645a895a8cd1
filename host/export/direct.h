// SPDX-License-Identifier: Apache-2.0
// A schematic as C that calls the modules itself: no table, no runtime, and only what it uses is linked.
#pragma once

#include "export/c_text.h"

namespace vantoro {

CFiles c_direct(const Product& product);

}  // namespace vantoro
