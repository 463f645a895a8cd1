// SPDX-License-Identifier: Apache-2.0
// Low- and high-pass designs of order 2 to 4 by the bilinear transform, as second-order sections.
#ifndef VANTORO_MATH_FILTER_DESIGN_H
#define VANTORO_MATH_FILTER_DESIGN_H

#include "../common/api.h"

LBX_BEGIN_C

enum FilterDesignAlgorithm {
    kDesignButterworth,
    kDesignBessel,    // poles scaled to product 1: high- and low-pass mirror each other, order 2 is s^2 + sqrt(3) s + 1
    kDesignChebyshev  // type I
};

enum FilterDesignKind {
    kDesignLowPass,
    kDesignHighPass
};

enum FilterDesignLayout {
    kFilterDesignStride = 4,  // section k at 4 k: b1 / b0, b2 / b0, a1, a2; a1 and a2 as in 1 + a1 z^-1 + a2 z^-2
    kFilterDesignGain = 16,   // the gain of the whole cascade
    kFilterDesignSize = 17    // floats in `ba`
};

// Designs a cascade of order N, 2 to 4, into `ba`. Rp is the passband ripple in dB, which Chebyshev designs alone read.
// Wn is the corner as a fraction of half the sampling rate: -3 dB for Butterworth, the end of the ripple for Chebyshev,
// and the frequency where the prototype's phase is half its total for Bessel. The corner is prewarped, so it is met
// exactly. Chebyshev ripples between 0 and -Rp dB; those of even order start at -Rp.
//
// Pairs come in order of rising Q; the last section of an odd order is of first order (b2 = a2 = 0). Unused entries are
// 0. Wn is held to [0, 1] (NaN is 0); at its ends every entry is finite, and either zeros cancel poles or the gain is
// next to 0. A Chebyshev design without ripple (Rp not above 0), and any other order, algorithm or kind, passes
// everything: entries of 0, gain 1.
void filter_design(int N, float Rp, float Wn, int algorithm, int filterType, float* ba);

LBX_END_C

#endif
