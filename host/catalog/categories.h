// SPDX-License-Identifier: Apache-2.0
// The categories, one source file each.
#pragma once

#include "catalog.h"

namespace vantoro::rows {

extern const Category kBasic;

}  // namespace vantoro::rows
