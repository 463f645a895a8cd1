// SPDX-License-Identifier: Apache-2.0
// A schematic as a preset in C, for the graph runtime.
#pragma once

#include "export/c_text.h"

namespace vantoro {

CFiles c_table(const Product& product);

}  // namespace vantoro
