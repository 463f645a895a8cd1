// SPDX-License-Identifier: Apache-2.0
// FIR, DC blocking and the state-variable filters.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/filters.h"
#include "support/rig.h"

namespace {

using Vector = std::vector<float>;

// The three outputs at w rad per sample, from the signal flow: two integrators in a loop of gain f and damping f / Q.
std::complex<double> state_variable(int output, double f, double q, double w)
{
    const std::complex<double> z = std::polar(1.0, -w), low = f * f * z;
    const auto denominator = 1.0 + (f * f + f / q - 2.0) * z + (1.0 - f / q) * z * z;
    const std::complex<double> numerators[] = {low, (1.0 - z) * (1.0 - z), f * (1.0 - z)};
    return numerators[output] / denominator;
}

}  // namespace

TEST(Fir, ConvolvesToTheOrderOfItsTaps)
{
    for (const int count : {1, 2, 7, 8, 9, 64, 256, 333, 1400})
        for (const int block : {1, 5, 64, 257, 700}) {
            SCOPED_TRACE(testing::Message() << count << " taps, block " << block);
            rig::Rig blk(EN_FILTER_FIR, 2, 2, {.block = block});
            blk.alias(1, 1);
            Vector c = rig::noise(count + 1, 99);
            c[0] = static_cast<float>(count);
            blk.set(c);
            const int n = (1400 + block - 1) / block * block;
            const auto signal = std::vector{rig::noise(n, 1), rig::noise(n, 2)};
            const auto out = blk.run(signal);
            for (std::size_t ch = 0; ch < 2; ++ch)
                for (std::size_t i = 0; i < signal[ch].size(); ++i) {
                    float sum = c[1] * signal[ch][i];
                    for (std::size_t k = 1; k < static_cast<std::size_t>(count); ++k)
                        sum = std::fma(c[k + 1], i < k ? 0.0F : signal[ch][i - k], sum);
                    ASSERT_EQ(out[ch][i], sum) << i;
                }
        }
}

TEST(Fir, KeepsThePastWhileTheNumberOfTapsStays)
{
    rig::Rig blk(EN_FILTER_FIR, 1, 1, {.block = 4});
    const auto next = [&blk] { return blk.run({{1, 2, 3, 4}})[0]; };
    EXPECT_EQ(next(), (Vector{1, 2, 3, 4}));  // an identity at first
    blk.set({10, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(next(), (Vector{3, 4, 1, 2}));
    blk->pParam[1] = 100;  // the taps lie in the vector
    EXPECT_EQ(blk.update(), RT_OK);
    EXPECT_EQ(FIR_param_set(blk.block(), nullptr), RT_OK);
    EXPECT_EQ(next(), (Vector{103, 204, 301, 402}));
    blk.set({3, 0, 0, 1});  // another number of taps: silence
    EXPECT_EQ(next(), (Vector{0, 0, 1, 2}));
    EXPECT_EQ(static_cast<FIR_Core*>(blk->AlgoCore)->databuffer[0]->bufferLength, 4);
}

TEST(DcBlocking, TakesTenThousandSamplesToForget)
{
    rig::Rig blk(EN_FILTER_MISCE_DCBLOCKING, 2, 2, {.block = 10000});
    const auto y = blk.run({Vector(10000, 1.0F), Vector(10000)});
    EXPECT_EQ(y[0][0], 1.0F);
    EXPECT_NEAR(y[0][9999], std::pow(0.9999, 9999), 1e-3);  // 10000 roundings of 2^-24
    EXPECT_EQ(y[1], Vector(10000));
}

TEST(StateVariable, AnswersAsItsSignalFlow)
{
    constexpr int kLength = 16384;
    Vector impulse(kLength);
    impulse[0] = 1.0F;
    for (const float fc : {73.0F, 1000.0F, 6000.0F})
        for (const float q : {0.707F, 4.0F}) {
            rig::Rig fixed(EN_FILTER_MISCE_STATEVARIABLE, 1, 3, {.block = kLength}),
                piloted(EN_FILTER_MISCE_STATEVARIABLEQ, 2, 3, {.block = kLength});
            fixed.set({fc, q});
            piloted.set({fc});
            Vector control(kLength, 17.0F);
            control[0] = q;  // only the first sample counts
            const auto bands = fixed.run({impulse});
            EXPECT_EQ(piloted.run({control, impulse}), bands);
            const double f = 2.0 * std::sin(rig::kPi * static_cast<double>(fc) / 48000.0);
            // a1, close to -2, is rounded to 2^-23; it stands against f^2 at resonance.
            const double blur = 1e-4 + static_cast<double>(q) * std::exp2(-22.0) / (f * f);
            for (int b = 0; b < 3; ++b)
                for (const double w : {0.01, 0.1, 1.0, 3.0}) {
                    const auto expected = state_variable(b, f, static_cast<double>(q), w);
                    const auto found = rig::spectrum(bands[static_cast<std::size_t>(b)], w);
                    EXPECT_LT(std::abs(found - expected), blur * std::abs(expected) + 1e-5)
                        << fc << ' ' << b << ' ' << w;
                }
        }
}

TEST(StateVariable, ANewQIsHeardAtOnceAndTheStateGoesOn)
{
    rig::Rig blk(EN_FILTER_MISCE_STATEVARIABLEQ, 2, 3);
    blk.set({2000});
    const auto* core = static_cast<const StateVariable_Core*>(blk->AlgoCore);
    EXPECT_EQ(core->Q, 1.0F);
    blk.run({Vector(64, 1.0F), rig::noise(64)});
    const float word = core->stateBuffer[0];
    EXPECT_NE(word, 0.0F);
    EXPECT_EQ(blk.run({Vector(64, 5.0F), Vector(64)})[0][0], word);  // b0 of the low-pass is 0
    EXPECT_EQ(core->coeffArray[1], 1.0F - core->w0 / 5.0F);
    blk.update();
    EXPECT_EQ(Vector(core->stateBuffer, core->stateBuffer + 6), Vector(6));
    EXPECT_EQ(core->Q, 5.0F);
    blk.set({0});  // a loop of no gain: nothing but the high-pass
    const auto bands = blk.run({Vector(64, 5.0F), rig::noise(64)});
    EXPECT_EQ(bands[0], Vector(64));
    EXPECT_EQ(bands[2], Vector(64));
}

TEST(StateVariable, OneRightCountOfPinsIsEnough)
{
    const auto x = rig::noise(192), other = rig::noise(192, 2);
    const auto whole = rig::Rig(EN_FILTER_MISCE_STATEVARIABLE, 1, 3).run({x});
    EXPECT_EQ(rig::Rig(EN_FILTER_MISCE_STATEVARIABLE, 1, 1).run({x})[0], whole[0]);
    EXPECT_EQ(rig::Rig(EN_FILTER_MISCE_STATEVARIABLE, 4, 3).run({x, other, other, other}), whole);
    EXPECT_EQ(rig::Rig(EN_FILTER_MISCE_STATEVARIABLEQ, 1, 3).run({x})[1], Vector(192));
}
