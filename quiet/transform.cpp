// SPDX-License-Identifier: Apache-2.0
#include "transform.h"

#include <bit>
#include <cmath>

#include "../lib/kernels/lanes.h"

namespace vquiet {

using namespace lbx;

namespace {

constexpr int kRadix = 8;
constexpr int kWide = kLanes<f8>;
constexpr int kTwiddled = 2 * kWide * (kRadix - 1);  // floats of the twiddles of one piece

struct Wide {
    f8 re, im;
};

// Point p, a multiple of eight, of a spectrum.
LBX_INLINE Wide load_wide(const float* p) { return {load<f8>(p), load<f8>(p + kWide)}; }
LBX_INLINE void store_wide(float* p, f8 re, f8 im)
{
    store(p, re);
    store(p + kWide, im);
}
LBX_INLINE Wide times(Wide a, Wide b) { return {mul_sub(a.im, b.im, a.re * b.re), mul_add(a.re, b.im, a.im * b.re)}; }
LBX_INLINE Wide times_conjugate(Wide a, Wide b)
{
    return {mul_add(a.im, b.im, a.re * b.re), mul_sub(a.re, b.im, a.im * b.re)};
}

// Eight points in place. With the parts exchanged it is the way back.
LBX_INLINE void transform_eight(f8 (&re)[kRadix], f8 (&im)[kRadix])
{
    const f8 half = every<f8>(0.70710678F);
    f8 p[kRadix], q[kRadix];  // sums and differences of points that are four apart
    repeat<4>([&](auto j) {
        p[j] = re[j] + re[j + 4];
        q[j] = im[j] + im[j + 4];
        p[j + 4] = re[j] - re[j + 4];
        q[j + 4] = im[j] - im[j + 4];
    });
    repeat<2>([&](auto j) {  // the even results from sums
        const f8 ar = p[j] + p[j + 2], ai = q[j] + q[j + 2], br = p[j] - p[j + 2], bi = q[j] - q[j + 2];
        p[j] = ar;
        q[j] = ai;
        p[j + 2] = br;
        q[j + 2] = bi;
    });
    re[0] = p[0] + p[1];
    im[0] = q[0] + q[1];
    re[4] = p[0] - p[1];
    im[4] = q[0] - q[1];
    re[2] = p[2] + q[3];
    im[2] = q[2] - p[3];
    re[6] = p[2] - q[3];
    im[6] = q[2] + p[3];
    // The odd ones from differences.
    const f8 ur = p[4] + q[6], ui = q[4] - p[6], vr = p[4] - q[6], vi = q[4] + p[6];
    const f8 sr = p[5] + q[7], si = q[5] - p[7], tr = p[5] - q[7], ti = q[5] + p[7];
    const f8 cr = (sr + si) * half, ci = (si - sr) * half, dr = (ti - tr) * half, di = (tr + ti) * half;
    re[1] = ur + cr;
    im[1] = ui + ci;
    re[5] = ur - cr;
    im[5] = ui - ci;
    re[3] = vr + dr;
    im[3] = vi - di;
    re[7] = vr - dr;
    im[7] = vi + di;
}

// v[row][lane] becomes v[lane][row].
LBX_INLINE void transpose_eight(f8 (&v)[kRadix])
{
    f8 low[4], high[4];
    repeat<4>([&](auto j) {
        low[j] = join(lower(v[j]), lower(v[j + 4]));
        high[j] = join(upper(v[j]), upper(v[j + 4]));
    });
    transpose(low);
    transpose(high);
    repeat<4>([&](auto j) {
        v[j] = low[j];
        v[j + 4] = high[j];
    });
}

// Where the eight points of a piece of a pass begin, and how far apart they are.
struct Place {
    std::ptrdiff_t first, apart;
    const float* twiddles;
};

Place place_of(const Transform& transform, int pass, int piece)
{
    int length = transform.size;
    const float* twiddles = transform.twiddles.get();
    for (; pass > 0; --pass, length /= kRadix)
        twiddles += std::ptrdiff_t{kTwiddled} * (length / kPiece);
    const int apart = length / kRadix, along = apart / kWide;  // vectors
    return {std::ptrdiff_t{piece / along} * length + std::ptrdiff_t{piece % along} * kWide, apart,
            twiddles + std::ptrdiff_t{kTwiddled} * (piece % along)};
}

LBX_KERNEL void forward_first(const float* frame, const float* weights, const Place& place, float* spectrum)
{
    f8 re[kRadix], im[kRadix];
    repeat<kRadix>([&](auto j) {
        const std::ptrdiff_t at = place.first + j * place.apart;
        const f8 x = load<f8>(frame + at);
        const Wide weight = load_wide(weights + 2 * at);
        re[j] = x * weight.re;
        im[j] = x * weight.im;
    });
    transform_eight(re, im);
    store_wide(spectrum + 2 * place.first, re[0], im[0]);
    repeat<kRadix - 1>([&](auto k) {
        const Wide y = times({re[k + 1], im[k + 1]}, load_wide(place.twiddles + 2 * kWide * k));
        store_wide(spectrum + 2 * (place.first + (k + 1) * place.apart), y.re, y.im);
    });
}

LBX_KERNEL void forward_middle(const Place& place, float* spectrum)
{
    f8 re[kRadix], im[kRadix];
    repeat<kRadix>([&](auto j) {
        const Wide x = load_wide(spectrum + 2 * (place.first + j * place.apart));
        re[j] = x.re;
        im[j] = x.im;
    });
    transform_eight(re, im);
    store_wide(spectrum + 2 * place.first, re[0], im[0]);
    repeat<kRadix - 1>([&](auto k) {
        const Wide y = times({re[k + 1], im[k + 1]}, load_wide(place.twiddles + 2 * kWide * k));
        store_wide(spectrum + 2 * (place.first + (k + 1) * place.apart), y.re, y.im);
    });
}

// Eight neighbours each: vectors are exchanged for lanes, and stay so.
LBX_KERNEL void forward_last(float* points)
{
    f8 re[kRadix], im[kRadix];
    repeat<kRadix>([&](auto j) {
        const Wide x = load_wide(points + 2 * kWide * j);
        re[j] = x.re;
        im[j] = x.im;
    });
    transpose_eight(re);
    transpose_eight(im);
    transform_eight(re, im);
    repeat<kRadix>([&](auto k) { store_wide(points + 2 * kWide * k, re[k], im[k]); });
}

LBX_KERNEL void backward_first(float* points)
{
    f8 re[kRadix], im[kRadix];
    repeat<kRadix>([&](auto k) {
        const Wide x = load_wide(points + 2 * kWide * k);
        re[k] = x.re;
        im[k] = x.im;
    });
    transform_eight(im, re);
    transpose_eight(re);
    transpose_eight(im);
    repeat<kRadix>([&](auto j) { store_wide(points + 2 * kWide * j, re[j], im[j]); });
}

LBX_INLINE void load_back(const Place& place, const float* spectrum, f8 (&re)[kRadix], f8 (&im)[kRadix])
{
    const Wide first = load_wide(spectrum + 2 * place.first);
    re[0] = first.re;
    im[0] = first.im;
    repeat<kRadix - 1>([&](auto k) {
        const Wide x = times_conjugate(load_wide(spectrum + 2 * (place.first + (k + 1) * place.apart)),
                                       load_wide(place.twiddles + 2 * kWide * k));
        re[k + 1] = x.re;
        im[k + 1] = x.im;
    });
}

LBX_KERNEL void backward_middle(const Place& place, float* spectrum)
{
    f8 re[kRadix], im[kRadix];
    load_back(place, spectrum, re, im);
    transform_eight(im, re);
    repeat<kRadix>([&](auto j) { store_wide(spectrum + 2 * (place.first + j * place.apart), re[j], im[j]); });
}

LBX_KERNEL void backward_last(const Place& place, const float* spectrum, const Transform& transform, float* tail,
                              float* now)
{
    const float* weights = transform.weights.get();
    const f8 scale = every<f8>(1.0F / static_cast<float>(transform.size));
    f8 re[kRadix], im[kRadix];
    load_back(place, spectrum, re, im);
    transform_eight(im, re);
    repeat<kRadix>([&](auto j) {
        const std::ptrdiff_t at = place.first + j * place.apart;
        const Wide y = times_conjugate({re[j], im[j]}, load_wide(weights + 2 * at));
        store(now + at, load<f8>(tail + at) + y.re * scale);
        store(tail + at, y.im * scale);
    });
}

// ---- design: square roots and products alone, which round alike everywhere

struct Root {
    double re, im;
};

// e^(2 pi i k / 2^bits)
Root root_of(unsigned k, int bits)
{
    Root step = {-1, 0}, product = {1, 0};  // of one half of the circle, then ever smaller parts
    for (int b = bits - 1; b >= 0; --b) {
        if (((k >> static_cast<unsigned>(b)) & 1U) != 0)
            product = {product.re * step.re - product.im * step.im, product.re * step.im + product.im * step.re};
        const double re = std::sqrt(0.5 * (1 + step.re));
        step = {re, step.re < 0 ? 1 : 0.5 * step.im / re};
    }
    return product;
}

void put_root(float* table, int n, Root root)
{
    float* at = table + n / kWide * 2 * kWide + n % kWide;
    at[0] = static_cast<float>(root.re);
    at[kWide] = static_cast<float>(root.im);
}

int bits_of(int size) { return std::countr_zero(static_cast<unsigned>(size)); }

void fill_twiddles(int length, float* table)
{
    for (int n = 0; n < length / kRadix; ++n)
        for (int k = 1; k < kRadix; ++k) {
            const Root root = root_of(static_cast<unsigned>(k * n), bits_of(length));
            put_root(table + n / kWide * kTwiddled + 2 * kWide * (k - 1), n % kWide, {root.re, -root.im});
        }
}

}  // namespace

bool design(Transform& transform, int size)
{
    const int pieces = size / kPiece;
    transform.size = size;
    transform.pieces = pieces;
    transform.passes = bits_of(size) / bits_of(kRadix);
    if (!owned::silence(transform.weights, 2 * static_cast<std::size_t>(size)) ||
        !owned::silence(transform.twiddles, 2 * static_cast<std::size_t>(kTwiddled) * static_cast<std::size_t>(pieces)))
        return false;
    for (int n = 0; n < size; ++n)
        put_root(transform.weights.get(), n, root_of(static_cast<unsigned>(n), bits_of(4 * size)));
    float* table = transform.twiddles.get();
    for (int length = size; length >= kPiece; length /= kRadix) {
        fill_twiddles(length, table);
        table += kTwiddled * (length / kPiece);
    }
    return true;
}

void forward(const Transform& transform, int pass, int piece, const float* frame, float* spectrum)
{
    if (pass == 0)
        forward_first(frame, transform.weights.get(), place_of(transform, pass, piece), spectrum);
    else if (pass + 1 < transform.passes)
        forward_middle(place_of(transform, pass, piece), spectrum);
    else
        forward_last(spectrum + std::ptrdiff_t{2 * kPiece} * piece);
}

void backward(const Transform& transform, int pass, int piece, float* spectrum, float* tail, float* now)
{
    if (pass == 0)
        return backward_first(spectrum + std::ptrdiff_t{2 * kPiece} * piece);
    const Place place = place_of(transform, transform.passes - 1 - pass, piece);
    if (pass + 1 < transform.passes)
        backward_middle(place, spectrum);
    else
        backward_last(place, spectrum, transform, tail, now);
}

LBX_KERNEL void multiply(const Transform& transform, int piece, const Products& products, float* sum, bool on)
{
    constexpr int kRows = 4;
    const std::ptrdiff_t stride = 2 * transform.size, begin = std::ptrdiff_t{2 * kPiece} * piece;
    for (std::ptrdiff_t at = begin; at < begin + 2 * kPiece; at += std::ptrdiff_t{2 * kWide} * kRows) {
        Wide total[kRows];
        repeat<kRows>([&](auto r) {
            total[r] = on ? load_wide(sum + at + 2 * kWide * r) : Wide{every<f8>(0.0F), every<f8>(0.0F)};
        });
        for (int k = 0, frame = products.newest; k < products.count; ++k) {
            const float *a = products.a + stride * frame + at, *b = products.b + stride * k + at;
            repeat<kRows>([&](auto r) {
                const Wide x = load_wide(a + 2 * kWide * r), y = load_wide(b + 2 * kWide * r);
                total[r].re = mul_sub(x.im, y.im, mul_add(x.re, y.re, total[r].re));
                total[r].im = mul_add(x.im, y.re, mul_add(x.re, y.im, total[r].im));
            });
            frame = frame > 0 ? frame - 1 : products.ring - 1;
        }
        repeat<kRows>([&](auto r) { store_wide(sum + at + 2 * kWide * r, total[r].re, total[r].im); });
    }
}

}  // namespace vquiet
