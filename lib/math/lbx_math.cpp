// SPDX-License-Identifier: Apache-2.0
#include "lbx_math.h"

#include "../kernels/fast_inline.h"

using namespace lbx;

namespace {

// Read as a whole before anything is written, so that a result may replace an operand.
struct Complex {
    float re, im;
};

Complex load(const float* p) { return {p[0], p[1]}; }

float store(float* p, Complex c)
{
    p[0] = c.re;
    p[1] = c.im;
    return c.re;
}

Complex product(Complex a, Complex b) { return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re}; }

Complex times_conjugate(Complex a, Complex b) { return {a.re * b.re + a.im * b.im, a.im * b.re - a.re * b.im}; }

}  // namespace

float LBX_ABSR(float a) { return a > 0.0F ? a : -a; }

float LBX_DB2Gain(float db) { return db_to_gain(db); }

float SlewAlphaGet(float slewRate, float sampling_rate, float blockSize)
{
    return slew_alpha(slewRate, sampling_rate, blockSize);
}

float MultiC1(const float* in_1, const float* in_2, float* out) { return store(out, product(load(in_1), load(in_2))); }

void MultiC2(const float* in_1, float in_2, float* out) { store(out, {in_1[0] * in_2, in_1[1] * in_2}); }

void ConjMultiC(const float* in_1, const float* in_2, float* out)
{
    store(out, times_conjugate(load(in_1), load(in_2)));
}

void ConjMultiC1(const float* in_1, const float* in_2, float* out)
{
    store(out, times_conjugate(load(in_2), load(in_1)));
}

float MultiAddC1(const float* in_1, const float* in_2, float* out)
{
    const Complex p = product(load(in_1), load(in_2));
    store(out, {out[0] + p.re, out[1] + p.im});
    return p.re;
}

void MinusC1(const float* in_1, const float* in_2, float* out) { store(out, {in_1[0] - in_2[0], in_1[1] - in_2[1]}); }

void AddC1(const float* in_1, const float* in_2, float* out) { store(out, {in_1[0] + in_2[0], in_1[1] + in_2[1]}); }

float PowC1(const float* in_1) { return in_1[0] * in_1[0] + in_1[1] * in_1[1]; }

float ABSC1(const float* in_1) { return fast_sqrt(PowC1(in_1)); }

float DivC1(const float* in_1, const float* in_2, float* out)
{
    const float p = PowC1(in_2);
    if (static_cast<double>(p) < 1e-10)
        return store(out, {0.0F, 0.0F});
    const Complex q = times_conjugate(load(in_1), load(in_2));
    return store(out, {q.re / p, q.im / p});
}
