// SPDX-License-Identifier: Apache-2.0
// Every category. An object of its own: a static link takes it only where the product has no table itself.
#include "framework/categories.h"

constinit const VantoroCategory Vantoro_categories[VANTORO_CATEGORY_COUNT] = {
    VANTORO_FUNCTIONS(LD),      // EN_LOUDNESS
    VANTORO_FUNCTIONS(Basic),   // EN_BASIC_DSP
    VANTORO_FUNCTIONS(DP),      // EN_DP
    VANTORO_FUNCTIONS(FILTER),  // EN_FILTER
    VANTORO_FUNCTIONS(DETECTOR),
    VANTORO_FUNCTIONS(Mixers),
    VANTORO_FUNCTIONS(MUXES),
    VANTORO_FUNCTIONS(NLP),
    {},  // EN_SHARC
    VANTORO_FUNCTIONS(SOURCE),
    VANTORO_FUNCTIONS(VC),
    {},  // EN_IN
    {},  // EN_OUT
    {},  // EN_HARDWARE
    VANTORO_FUNCTIONS(QVALGO),
};
