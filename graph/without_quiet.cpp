// SPDX-License-Identifier: Apache-2.0
// A build without the second arithmetic: presets that ask for it are refused.
#include "arithmetic.h"

VANTORO_GRAPH_WITHOUT_QUIET;
