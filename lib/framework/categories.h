// SPDX-License-Identifier: Apache-2.0
// The table that the entry points route through: the library's (all_categories.cpp) or a product's own. Hidden, so that
// it is reached without a relocation.
#pragma once

#include "../common/categories.h"

extern "C" [[gnu::visibility("hidden")]] const VantoroCategory Vantoro_categories[VANTORO_CATEGORY_COUNT];
