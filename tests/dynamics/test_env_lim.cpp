// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>

#include "support/rig.h"

TEST(Envelope, PeakWithAHoldTimeNeverFallsUntilItIsSetAgain)
{
    rig::Rig blk(EN_DP_ENV, 1, 1);
    blk.set({10, 50});
    blk.fill(0, {0.5F, 0.0F});
    blk.process();
    blk.fill(0, 0.0F);
    blk.process(100);
    EXPECT_EQ(blk.out(0)[63], 0.5F);
    blk.set({10, 50});
    blk.process();
    EXPECT_LT(blk.out(0)[63], 0.5F);
}

TEST(Envelope, HoldsEndOneSampleLaterInTheMeanSquareThanInTheSteeredPeak)
{
    rig::Rig peak(EN_DP_ENV_EXT_DECAY, 3, 1), rms(EN_DP_ENV_RMS, 1, 1);
    peak.set({3 / 48.0F});
    rms.set({3 / 48.0F, 200, 200});
    peak.fill(0, {0.0F, 0.0F, 0.0F, -900.0F, 900.0F, 0.0F});
    peak.fill(1, {0.5F, 0.0F});
    peak.fill(2, 9.0F);  // no part in it
    rms.fill(0, {1.0F, 0.0F});
    EXPECT_EQ(peak.process(), 1);
    EXPECT_EQ(rms.process(), 1);
    EXPECT_EQ(peak.out(0)[2], 0.5F);
    const double decay = std::pow(10.0, -1800.0 / 480000.0);  // the sign of the time does not matter
    EXPECT_NEAR(peak.out(0)[3], 0.5 * decay, 1e-7);
    EXPECT_NEAR(peak.out(0)[4], 0.5 * decay * decay, 1e-7);
    EXPECT_EQ(peak.out(0)[5], peak.out(0)[4]);
    EXPECT_EQ(rms.out(0)[3], rms.out(0)[0]);
    // The decay coefficient, near 1, weighs the new value: the envelope drops onto the mean square almost at once.
    EXPECT_NEAR(rms.out(0)[4] / rms.out(0)[0], std::pow(1 - 0.00095987, 4), 1e-5);
}

TEST(Limiter, HoldsTheMeanSquareOfASineAndTellsSo)
{
    rig::Rig blk(EN_DP_LIMITER, 1, 1);
    EXPECT_NEAR(blk.core<Limiter_Core>().threshold, 0.50119, 5e-6);
    blk.set({200, 200, -9});
    EXPECT_EQ(blk.process(), 0);
    const std::vector<float> out = blk.run({rig::sine(48000, 1000, 48000)})[0];
    // The level's own ripple at twice the frequency is 0.00096 / 0.26 of it, half that of its root.
    EXPECT_NEAR(rig::rms(std::span(out).last(4800)) / rig::from_db(-9), 1.0, 0.005);
    blk.fill(0, 0.9F);
    EXPECT_EQ(blk.process(), 1);
    float none = 0, *pin = &none;
    Limiter_Render(blk.block(), &blk.core<Limiter_Core>(), &pin, &pin, 0);
    EXPECT_EQ(blk.core<Limiter_Core>().process_state, 0.0F) << "no sample is limited";
    blk.run({std::vector<float>(9600)});
    EXPECT_EQ(blk.process(), 0);
}

TEST(Limiter, TheLastChannelAnswers)
{
    rig::Rig blk(EN_DP_LIMITER, 5, 5);
    blk.set({200, 200, -12});
    for (const auto& [last, limiting] : {std::pair{0.05F, 0}, std::pair{1.0F, 1}}) {
        blk.fill(0, 1.0F - last);
        blk.fill(4, last);
        blk.process(100);
        EXPECT_EQ(blk.process(), limiting);
    }
}
