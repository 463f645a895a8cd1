// SPDX-License-Identifier: Apache-2.0
// The transform behind long convolutions. `size` real samples, followed by as many zeros, are a polynomial modulo
// x^(2 size) + 1, and so `size` complex numbers modulo x^size - i: one weight each, and a complex transform of half the
// length (H. J. Nussbaumer, "Fast Fourier Transform and Convolution Algorithms", 1982). Nothing has to be taken apart
// or put in order: a spectrum stays in the order in which it comes, eight real parts and then eight imaginary ones.
//
// Everything is done in pieces of 64 points, so that the caller can spread it over time. A size is a power of 8: 64,
// 512 or 4096, and has 2, 3 or 4 passes, each of radix 8. Additions, products and fused products in a fixed order: the
// same bits on every machine.
#pragma once

#include "../lib/framework/owned.h"

namespace vquiet {

inline constexpr int kPiece = 64;  // points

struct Transform {
    int size, passes, pieces;  // pieces of a pass
    owned::Array<float> weights, twiddles;
};

[[nodiscard]] bool design(Transform& transform, int size);  // false: no memory

// A piece of a pass of the transform of `frame`; the passes one after the other, their pieces in any order.
void forward(const Transform& transform, int pass, int piece, const float* frame, float* spectrum);

// A piece of a pass of the way back, which leaves nothing of the spectrum. The last one adds the first half of the
// result to `tail` and has that in `now`; the second half is the next tail.
void backward(const Transform& transform, int pass, int piece, float* spectrum, float* tail, float* now);

// One piece of a product, or of a sum of `count` of them: spectra of `a` from `newest` on, each older than the one
// before, around in a ring of `ring`, by those of `b` in order. `on`: added to what `sum` is.
struct Products {
    const float *a, *b;
    int newest, ring, count;
};
void multiply(const Transform& transform, int piece, const Products& products, float* sum, bool on);

}  // namespace vquiet
