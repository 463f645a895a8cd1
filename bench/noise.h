// SPDX-License-Identifier: Apache-2.0
// The noise of rounding in a second-order section: what it puts out for white noise, against the same coefficients in
// double precision.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "vantoro.h"
#include "vantoro_quiet.h"

namespace noise {

constexpr int kBlock = 64;

// Error over output, both root mean square, in dB.
struct Figures {
    double documented;
    double section;  // the second arithmetic in a block of one section
    double cascade;  // and in an equaliser
};

class Error {
public:
    void add(double y, double exact)
    {
        signal_ += exact * exact;
        error_ += (y - exact) * (y - exact);
    }
    double db() const { return 10.0 * std::log10(error_ / signal_ + 1e-30); }

private:
    double signal_ = 0, error_ = 0;
};

// A block with a vector, or with a vector and these coefficients; filters kBlock samples.
class Subject {
public:
    Subject(int type, std::vector<float> vector, int rate, bool quiet, const float* coeff = nullptr)
        : pro_{rate, 32, kBlock, 0, 0}, blk_(BlockAlgo_init(&pro_, 1, 1, type))
    {
        BlockAlgo_param_reset(blk_, vector.data());
        if (coeff)
            std::copy_n(coeff, 5, blk_->pState);
        quiet_ = quiet ? Vantoro_quiet_create(blk_) : nullptr;
    }
    ~Subject()
    {
        Vantoro_quiet_destroy(quiet_);
        BlockAlgo_destroy(blk_);
    }
    Subject(const Subject&) = delete;
    Subject& operator=(const Subject&) = delete;

    const float* coeff() const { return blk_->pState; }
    const std::array<float, kBlock>& filter(std::array<float, kBlock>& x)
    {
        float *in = x.data(), *out = y_.data();
        if (quiet_)
            Vantoro_quiet_process(quiet_, &in, &out);
        else
            BlockAlgo_process(blk_, &in, &out);
        return y_;
    }

private:
    BlockPro pro_;
    BlockAlgo* blk_;
    VantoroQuiet* quiet_;
    std::array<float, kBlock> y_ = {};
};

// Of the section that a vector of EN_FILTER_2ND_GENERAL asks for.
inline Figures measured(const std::vector<float>& vector, int rate, int samples)
{
    Subject documented(EN_FILTER_2ND_GENERAL, vector, rate, false), section(EN_FILTER_2ND_GENERAL, vector, rate, true);
    Subject cascade(EN_FILTER_GRAPHICAL_EQ, {1, 1000, 0, 1, 0, 0}, rate, true, documented.coeff());
    std::array<float, kBlock> x;
    Error error[3];
    const float* c = documented.coeff();
    double s1 = 0, s2 = 0;
    std::uint32_t seed = 7;
    for (int start = 0; start < samples; start += kBlock) {
        for (float& v : x)
            v = static_cast<float>(static_cast<std::int32_t>(seed = seed * 1664525U + 1013904223U)) * 0x1p-32F;
        const std::array<float, kBlock>* out[] = {&documented.filter(x), &section.filter(x), &cascade.filter(x)};
        for (std::size_t i = 0; i < kBlock; ++i) {
            const double in = x[i], y = c[0] * in + s1;
            s1 = c[1] * in - c[2] * y + s2;
            s2 = c[3] * in - c[4] * y;
            for (int k = 0; k < 3; ++k)
                error[k].add(static_cast<double>((*out[k])[i]), y);
        }
    }
    return {error[0].db(), error[1].db(), error[2].db()};
}

struct Response {
    const char* name;
    GENERAL_TYPE type;
    std::vector<float> fourths;  // Q, slope, octaves or ripple
};
inline const std::vector<Response>& responses()
{
    static const std::vector<Response> kAll = {
        {"peak", Gen_Param, {0.3F, 1.4F, 5, 16}},
        {"low shelf", Gen_LS, {0.3F, 1}},
        {"high shelf", Gen_HS, {0.3F, 1}},
        {"low-pass", Gen_LP, {0.1F, 0.5F, 0.7071F, 16}},  // real poles, equal ones, complex ones
        {"high-pass", Gen_HP, {0.1F, 0.5F, 0.7071F, 16}},
        {"band-pass", Gen_BP, {0.3F, 2}},
        {"band-stop", Gen_BS, {0.3F, 2}},
        {"all-pass", Gen_APF, {0.5F, 5}},
        {"resonance", Gen_Peaking, {1, 16}},
        {"notch", Gen_Notvh, {1, 16}},
        {"Chebyshev low-pass", Gen_Cheby_LP, {1, 6}},
        {"Chebyshev high-pass", Gen_Cheby_HP, {1, 6}},
        {"Bessel low-pass", Gen_Bessel_LP, {1}},
        {"Bessel high-pass", Gen_Bessel_HP, {1}},
    };
    return kAll;
}

// take(response, rate, fourth, corner in Hz, figures) for corners from 20 Hz to 0.49 times the rate.
template <class Take>
void each(std::span<const int> rates, double corners_per_octave, int samples, Take take)
{
    for (const Response& response : responses())
        for (const int rate : rates)
            for (const float fourth : response.fourths)
                for (int k = 0;; ++k) {
                    const double hz = 20.0 * std::exp2(k / corners_per_octave), last = 0.49 * rate;
                    const auto fc = static_cast<float>(std::min(hz, last));
                    take(response, rate, fourth, fc,
                         measured({1, 0, static_cast<float>(response.type), 0, fc, fourth, 6}, rate, samples));
                    if (hz >= last)
                        break;
                }
}

}  // namespace noise
