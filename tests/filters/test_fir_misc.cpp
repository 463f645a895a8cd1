// SPDX-License-Identifier: Apache-2.0
// FIR, DC blocking and the state-variable filters.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

#include "support/rig.h"

namespace {

using Vector = std::vector<float>;

Vector taps(int count)
{
    Vector vector = rig::noise(count + 1, 99);
    vector[0] = static_cast<float>(count);
    return vector;
}

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
    for (const int count : {1, 2, 7, 8, 9, 64, 100, 333})
        for (const int block : {1, 5, 48, 64, 257, 700}) {
            SCOPED_TRACE(testing::Message() << count << " taps, block " << block);
            rig::Rig blk(EN_FILTER_FIR, 2, 2, {.block = block});
            blk.alias(1, 1);
            const Vector c = taps(count);
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
    blk.fill(0, {1, 2, 3, 4});
    blk.process();
    EXPECT_EQ(blk.out(0)[3], 4.0F);  // an identity at first
    Vector delay(11);
    delay[0] = 10;
    delay[3] = 1;
    blk.set(delay);
    blk.process();
    EXPECT_EQ(Vector(blk.out(0).begin(), blk.out(0).end()), (Vector{3, 4, 1, 2}));
    blk->pParam[1] = 100;  // the taps lie in the vector
    EXPECT_EQ(blk.update(), RT_OK);
    EXPECT_EQ(FIR_param_set(blk.block(), nullptr), RT_OK);
    EXPECT_EQ(blk->pParam[1], 100.0F);
    blk.set({3, 0, 0, 1});  // another number of taps: silence
    blk.process();
    EXPECT_EQ(Vector(blk.out(0).begin(), blk.out(0).end()), (Vector{0, 0, 1, 2}));
    EXPECT_EQ(static_cast<FIR_Core*>(blk->AlgoCore)->databuffer[0]->bufferLength, 4);
}

TEST(Fir, WithoutMemoryTheOldTapsGoOn)
{
    for (long k = 0; k < 9; ++k) {
        rig::Rig blk(EN_FILTER_FIR, 2, 2);
        Vector vector = taps(20);
        rig::Allocator::fail_at(k);
        EXPECT_EQ(BlockAlgo_param_reset(blk.block(), vector.data()), RT_ERR_MALLOC) << k;
        rig::Allocator::fail_never();
        const auto signal = std::vector{rig::noise(64, 1), rig::noise(64, 2)};
        EXPECT_EQ(blk.run(signal), signal);
    }
}

TEST(Fir, ReportsInItsOwnWords)
{
    BlockPro pro = {48000, 16, 64, 0, 0};
    rig::Log log;
    EXPECT_EQ(FIR_init(1, 2, &pro, EN_FILTER_FIR), nullptr);
    rig::Rig blk(EN_FILTER_FIR, 1, 1);
    blk.set({2, 0.5F, -1});
    blk.invoke();
    EXPECT_EQ(log.messages(), (std::vector<std::string>{"wrong input pin number in FIR\n", "FIR numcoeff is 2\n",
                                                        "FIR coeff is 0.500000\n", "FIR coeff is -1.000000\n"}));
}

TEST(FirDeathTest, LinesWithoutLengthEndTheProcess)
{
    for (const float count : {0.0F, -4.0F, std::nanf("")})
        EXPECT_EXIT(rig::Rig(EN_FILTER_FIR, 1, 1).set({count}), testing::ExitedWithCode(255),
                    "ErrorXXX: bufferLength is at least greater than 0!");
}

TEST(DcBlocking, TakesTenThousandSamplesToForget)
{
    rig::Rig blk(EN_FILTER_MISCE_DCBLOCKING, 2, 2, {.block = 10000});
    blk.fill(0, 1.0F);
    blk.process();
    EXPECT_EQ(blk.out(0)[0], 1.0F);
    EXPECT_NEAR(blk.out(0)[9999], std::pow(0.9999, 9999), 1e-3);  // 10000 roundings of 2^-24
    EXPECT_EQ(blk.out(1)[9999], 0.0F);
    Vector signal(blk.in(0).begin(), blk.in(0).end()), twin = signal;
    auto* core = static_cast<DCBlocking_Core*>(blk->AlgoCore);
    core->stateBuffer[0] = 0;
    DCBlocking_Render(core, twin.data(), twin.data(), 10000, 0);
    EXPECT_EQ(rig::bits(twin), rig::bits(blk.out(0)));
}

TEST(StateVariable, AnswersAsItsSignalFlow)
{
    constexpr int kLength = 16384;
    for (const float fc : {73.0F, 1000.0F, 6000.0F})
        for (const float q : {0.707F, 4.0F}) {
            rig::Rig fixed(EN_FILTER_MISCE_STATEVARIABLE, 1, 3, {.block = kLength}),
                piloted(EN_FILTER_MISCE_STATEVARIABLEQ, 2, 3, {.block = kLength});
            fixed.set({fc, q});
            piloted.set({fc});
            fixed.fill(0, {1, 0});
            piloted.fill(0, {q, 17});  // only the first sample counts
            piloted.fill(1, {1, 0});
            fixed.process();
            piloted.process();
            const double f = 2.0 * std::sin(std::numbers::pi * static_cast<double>(fc) / 48000.0);
            for (int b = 0; b < 3; ++b) {
                EXPECT_EQ(rig::bits(fixed.out(b)), rig::bits(piloted.out(b)));
                for (const double w : {0.01, 0.1, 1.0, 3.0}) {
                    std::complex<double> found = 0.0;
                    for (std::size_t i = 0; i < kLength; ++i)
                        found += static_cast<double>(fixed.out(b)[i]) * std::polar(1.0, -w * static_cast<double>(i));
                    const auto expected = state_variable(b, f, static_cast<double>(q), w);
                    // a1, close to -2, is rounded to 2^-23; it stands against f^2 at resonance.
                    const double blur = 1e-4 + static_cast<double>(q) * std::exp2(-22.0) / (f * f);
                    EXPECT_LT(std::abs(found - expected), blur * std::abs(expected) + 1e-5)
                        << fc << ' ' << b << ' ' << w;
                }
            }
        }
}

TEST(StateVariable, ANewQIsHeardAtOnceAndTheStateGoesOn)
{
    rig::Rig blk(EN_FILTER_MISCE_STATEVARIABLEQ, 2, 3);
    blk.set({2000});
    std::ranges::copy(rig::noise(64), blk.in(1).begin());
    blk.fill(0, 1.0F);
    blk.process();
    const auto* core = static_cast<const StateVariable_Core*>(blk->AlgoCore);
    const float word = core->stateBuffer[0];
    EXPECT_NE(word, 0.0F);
    blk.fill(0, 5.0F);
    blk.fill(1, 0.0F);
    blk.process();
    EXPECT_EQ(core->Q, 5.0F);
    EXPECT_EQ(core->coeffArray[1], 1.0F - core->w0 / 5.0F);
    EXPECT_EQ(blk.out(0)[0], word);  // b0 of the low-pass is 0
    blk.update();
    EXPECT_EQ(Vector(core->stateBuffer, core->stateBuffer + 6), Vector(6));
    EXPECT_EQ(core->Q, 5.0F);
    blk.set({0});
    blk.run({Vector(64, 5.0F), rig::noise(64)});
    EXPECT_EQ(Vector(blk.out(0).begin(), blk.out(0).end()), Vector(64));
    EXPECT_EQ(Vector(blk.out(2).begin(), blk.out(2).end()), Vector(64));
}

TEST(StateVariable, OneRightCountOfPinsIsEnough)
{
    rig::Log log;
    BlockPro pro = {48000, 16, 64, 0, 0};
    EXPECT_EQ(StateVariable_init(2, 2, &pro, EN_FILTER_MISCE_STATEVARIABLE), nullptr);
    EXPECT_EQ(StateVariableQ_init(1, 2, &pro, EN_FILTER_MISCE_STATEVARIABLEQ), nullptr);
    EXPECT_EQ(DCBlocking_init(0, 0, &pro, EN_FILTER_MISCE_DCBLOCKING), nullptr);
    EXPECT_EQ(log.messages(), (std::vector<std::string>{"wrong input pin number in StateVariable\n",
                                                        "wrong input pin number in StateVariableQ\n",
                                                        "wrong input pin number in DCBlocking\n"}));
    log.clear();
    rig::Rig three(EN_FILTER_MISCE_STATEVARIABLE, 1, 3);
    const auto whole = three.run({rig::noise(192)});
    rig::Rig one(EN_FILTER_MISCE_STATEVARIABLE, 1, 1);
    EXPECT_EQ(one.run({rig::noise(192)})[0], whole[0]);
    rig::Rig many(EN_FILTER_MISCE_STATEVARIABLE, 4, 3);
    EXPECT_EQ(many.run({rig::noise(192), rig::noise(192, 2), rig::noise(192, 3), rig::noise(192, 4)}), whole);
    rig::Rig deaf(EN_FILTER_MISCE_STATEVARIABLEQ, 1, 3);
    EXPECT_EQ(deaf.run({Vector(192, 1.0F)})[1], Vector(192));
    EXPECT_TRUE(log.lines().empty());
}

TEST(StateVariable, ReportsInItsOwnWords)
{
    rig::Log log;
    rig::Rig dc(EN_FILTER_MISCE_DCBLOCKING, 1, 1), fixed(EN_FILTER_MISCE_STATEVARIABLE, 1, 3),
        piloted(EN_FILTER_MISCE_STATEVARIABLEQ, 2, 3);
    dc.set({1});
    dc.update();
    dc.invoke();
    fixed.invoke();
    piloted.invoke();
    EXPECT_EQ(log.messages(),
              (std::vector<std::string>{"DCBlocking doesn't need param set\n", "DCBlocking doesn't need param update\n",
                                        "DCBlocking doesn't need param invoke\n", "StateVariable param: \n\n",
                                        "Fc: 73.000000\n\n", "Q: 0.707000 \n\n", "StateVariableQ param: \n\n",
                                        "Fc: 73.000000\n\n"}));
}
