// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

#include "support/rig.h"

namespace {

constexpr double kFrequencies[] = {40, 1000, 12000};

// Bass, treble and dry part at `hz`, half their sum.
double response(double hz, double bass_hz, double bass, double treble_hz, double treble)
{
    using Complex = std::complex<double>;
    const auto angle = [](double f) { return 2 * std::numbers::pi * f / 48000; };
    const Complex delay = std::polar(1.0, -angle(hz));
    const double low = std::pow(2.72, -angle(bass_hz)), high = std::pow(2.72, -angle(treble_hz));
    const Complex bass_part = bass * (1 - low) / 2 * (1.0 + delay) / (1.0 - low * delay);
    const Complex treble_part = treble * (1 + high) / 2 * (1.0 - delay) / (1.0 - high * delay);
    return std::abs(bass_part + treble_part + 1.0) / 2;
}

// The gain on a sine, once volume and filters have settled.
double measured(rig::Rig& blk, double hz, float volume = 0)
{
    std::vector<std::vector<float>> signal = {rig::sine(96000, hz, 48000, 0.5)};
    if (blk->nInputs > 1)
        signal.insert(signal.begin(), std::vector<float>(96000, volume));
    const std::vector<float> out = blk.run(signal)[0];
    return rig::rms(std::span(out).last(48000)) / std::sqrt(0.125);
}

}  // namespace

TEST(Loudness, FreshAndSetBlocksFollowTheirOwnLaws)
{
    for (const double hz : kFrequencies) {
        rig::Rig blk(EN_LOUDNESS_LH, 1, 1);
        // Fresh: a fixed -8.1 dB of bass and a treble gain of 0.9 that is no percentage.
        const double fresh = response(hz, 60, rig::from_db(-8.1), 7000, rig::from_db(0.7 * -30 + 9.5 * 0.9));
        EXPECT_NEAR(measured(blk, hz) / (fresh * rig::from_db(-30)), 1.0, 1e-3) << hz;
        blk.set({120, 60, 5000, 40, 0, -20});
        const double bass = 0.6 * -20 + 10 * 0.6, treble = 0.7 * -20 + 8 * 0.4;
        const double set = response(hz, 120, rig::from_db(bass + 20), 5000, rig::from_db(treble + 20));
        EXPECT_NEAR(measured(blk, hz) / (set * rig::from_db(-20)), 1.0, 1e-3) << hz;
    }
}

TEST(Loudness, VolumePinSteersBothPartsPerBlock)
{
    rig::Rig blk(EN_LOUDNESS_LH_EXT, 2, 1);
    EXPECT_EQ(blk->pParam[kLoudnessSlewRate], 12.0F);
    // The coarse exponential is up to 2.98 % off. With gains from 0 up both parts stay at their cap of -1 dB.
    for (const auto& [bass_gain, treble_gain] : {std::pair{60.0F, 40.0F}, std::pair{-300.0F, -200.0F}})
        for (const auto& [volume, heard] : {std::pair{0.1F, 0.1}, {0.5F, 0.5}, {1e-4F, 0.001}})
            for (const double hz : kFrequencies) {
                blk.set({120, bass_gain, 5000, treble_gain, 0, 8});
                const double db = 20 * std::log10(heard);
                const double bass = -0.4 * db + (8 - 0.1 * db) * static_cast<double>(bass_gain) / 100;
                const double treble = -0.3 * db + (5 - 0.15 * db) * static_cast<double>(treble_gain) / 100;
                const double expected = heard * response(hz, 120, rig::from_db(std::min(bass, -1.0)), 5000,
                                                         rig::from_db(std::min(treble, -1.0)));
                EXPECT_NEAR(measured(blk, hz, volume) / expected, 1.0, 0.03) << bass << " dB, " << treble << " dB";
            }
}

TEST(Loudness, VolumePinIsLimited)
{
    rig::Rig blk(EN_LOUDNESS_LH_EXT, 2, 1);
    for (const auto& [volume, limited] : {std::pair{1.0F, 1.0F}, {50.0F, 1.0F}, {-1.0F, 0.001F}, {NAN, 0.001F}}) {
        blk.fill(0, volume);
        blk.process();
        EXPECT_EQ(blk.core<Loudness_Core>().post_gain, limited) << volume;
    }
}

// One volume for all channels, moved on by each: the second channel goes on where the first stopped.
TEST(Loudness, FadesInFromSilenceChannelAfterChannel)
{
    rig::Rig one(EN_LOUDNESS_LH, 1, 1), two(EN_LOUDNESS_LH, 2, 2);
    EXPECT_EQ(one.process(), 1);
    two.process();
    const double volume = rig::from_db(-30);
    EXPECT_NEAR(one.core<Loudness_Core>().pre_gain, volume * 64 / 65, 1e-7);
    EXPECT_NEAR(two.core<Loudness_Core>().pre_gain, volume * (1 - 1.0 / 65 / 65), 1e-7);
    one.process(8);
    EXPECT_NEAR(one.core<Loudness_Core>().pre_gain, volume, 64 * 2e-9);  // half a digit of rounding per step
    // A small volume has digits below a step of 1e-10, where the glide snaps.
    one.set({60, 0.9F, 7000, 0.9F, 0, -80});
    one.process(20);
    EXPECT_NEAR(one.core<Loudness_Core>().post_gain, rig::from_db(-80), 1e-10);
    EXPECT_EQ(one.core<Loudness_Core>().pre_gain, one.core<Loudness_Core>().post_gain);
}

TEST(Loudness, ChannelAfterChannelByDirectCallsIsTheWholeBlock)
{
    for (const bool pin : {false, true}) {
        const int type = pin ? EN_LOUDNESS_LH_EXT : EN_LOUDNESS_LH, first = pin ? 1 : 0;
        rig::Rig whole(type, 3 + first, 3), single(type, 3 + first, 3);
        for (rig::Rig* blk : {&whole, &single}) {
            blk->set({80, 30, 6000, 20, -9, 12});
            blk->fill_noise();
            if (pin)
                std::ranges::fill(blk->in(0), 0.3F);
        }
        whole.process();
        auto& core = single.core<Loudness_Core>();
        for (int ch = 0; ch < 3; ++ch) {
            float *x = single.in(ch + first).data(), *y = single.out(ch).data();
            if (pin)
                Loudness_Ext_Render(single.block(), &core, x, single.in(0).data(), y, 64, ch);
            else
                Loudness_Render(&core, x, y, 64, ch);
        }
        for (int ch = 0; ch < 3; ++ch)
            EXPECT_EQ(rig::bits(single.out(ch)), rig::bits(whole.out(ch))) << pin << " " << ch;
    }
}
