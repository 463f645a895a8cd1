// SPDX-License-Identifier: Apache-2.0
// What the blocks with a hot kernel do not show of the drivers below them: cascades and splits of every length, bands
// left out, fades, and a signal that is cut into blocks that fill the lanes or do not.
#include <gtest/gtest.h>

#include <cmath>

#include "kernels/section.h"
#include "support/rig.h"

namespace {

using Floats = std::vector<float>;
using Signals = std::vector<Floats>;

constexpr int kCuts[] = {1, 3, 4, 5, 8, 11, 12, 1, 48, 64, 257, 2};  // blocks, one after the other
constexpr int kMostChannels = 9;

std::size_t at(int i) { return static_cast<std::size_t>(i); }

// The rule, as written.
float section(const float* c, float* s, float x)
{
    const float y = std::fma(c[0], x, s[0]);
    s[0] = std::fma(-c[2], y, c[1] * x) + s[1];
    s[1] = std::fma(-c[4], y, c[3] * x);
    return y;
}

// Stable sections, all different.
Floats sections(int count)
{
    Floats coeff;
    for (int k = 0; k < count; ++k) {
        const auto r = 0.5F + 0.4F * std::sin(1.0F + static_cast<float>(k)), w = 0.2F + 0.19F * static_cast<float>(k);
        for (float v : {0.7F, -0.3F + 0.05F * r, -2.0F * r * std::cos(w), 0.2F, r * r})
            coeff.push_back(v);
    }
    return coeff;
}

// Cuts noise into blocks, for every number of channels. `fast(in, out, channels, n, state)` has the state of all of
// them; `plain(channel, x, state)` gives the outputs of one. Apart, and in place: in a channel's own buffers, or with
// `cross`, in those of another channel.
template <class Fast, class Plain>
void compare(int outputs, int words, bool cross, Fast fast, Plain plain)
{
    for (int channels = 1; channels <= kMostChannels; ++channels)
        for (bool in_place : {false, true}) {
            Floats state(at(words * channels)), model = state;
            for (int n : kCuts) {
                SCOPED_TRACE(testing::Message() << channels << " channels, block " << n << ", in place " << in_place);
                Signals in, out(at(outputs * channels), Floats(at(n), -9.0F)), expected;
                std::vector<float*> ip, op;
                for (int c = 0; c < channels; ++c) {
                    in.push_back(rig::noise(n, static_cast<unsigned>(16 * n + c)));
                    for (Floats& y : plain(c, in.back(), model))
                        expected.push_back(std::move(y));
                }
                for (Floats& x : in)
                    ip.push_back(x.data());
                for (int k = 0; k < outputs * channels; ++k)
                    op.push_back(in_place && k < channels ? ip[at(cross ? channels - 1 - k : k)] : out[at(k)].data());
                fast(ip.data(), op.data(), channels, n, state);
                for (std::size_t k = 0; k < op.size(); ++k)
                    ASSERT_EQ(rig::bits({op[k], at(n)}), rig::bits(expected[k])) << "output " << k;
                ASSERT_EQ(rig::bits(state), rig::bits(model));
            }
        }
}

TEST(Section, CascadeWithBandsLeftOut)
{
    const auto c = sections(18);
    for (int bands : {0, 1, 2, 3, 4, 5, 7, 10, 12, 13, 18})
        for (int left_out : {0, 2, 3}) {
            SCOPED_TRACE(testing::Message() << bands << " bands without every band of " << left_out);
            const auto active = [&](std::ptrdiff_t k) { return left_out == 0 || k % left_out != 1; };
            lbx::Cascade cascade = {};
            ASSERT_TRUE(reserve(cascade, bands));
            compare(
                1, 2 * bands, false,
                [&](auto** in, auto** out, int channels, int n, auto& s) {
                    arrange(cascade, c.data(), s.data(), 2 * bands, bands, active);
                    run_cascade(cascade, 0, in, out, channels, n);
                },
                [&](int ch, Floats x, auto& s) {
                    for (float& v : x)
                        for (int k = 0; k < bands; ++k)
                            v = active(k) ? section(&c[at(5 * k)], &s[at(2 * (ch * bands + k))], v) : v;
                    return Signals{x};
                });
            release(cascade);
        }
}

TEST(Section, SplitIntoBandsOfDifferentLength)
{
    const std::vector<lbx::SplitBand> layouts[] = {{{1, true}},
                                                   {{2, false}, {2, false}},
                                                   {{1, true}, {4, false}},
                                                   {{1, false}, {1, false}, {1, false}},
                                                   {{2, true}, {2, false}, {4, true}},
                                                   {{4, true}, {1, false}, {8, false}},
                                                   {{1, false}, {2, false}, {5, true}}};
    const auto c = sections(13);
    Floats scratch(kMostChannels * lbx::kSplitTile);
    for (const auto& bands : layouts) {
        const int width = static_cast<int>(bands.size());
        lbx::Split split = {};
        set_split(split, c.data(), bands.data(), width);
        SCOPED_TRACE(testing::Message() << width << " bands, " << split.sections << " sections");
        compare(
            width, 2 * split.sections, true,
            [&](auto** in, auto** out, int channels, int n, auto& s) {
                run_split(split, s.data(), in, out, channels, n, scratch.data());
            },
            [&](int ch, const Floats& x, auto& s) {
                Signals y;
                int k = 0;
                for (const auto& band : bands) {
                    y.push_back(x);
                    for (const int end = k + band.sections; k < end; ++k)
                        for (float& v : y.back())
                            v = section(&c[at(5 * k)], &s[at(2 * (ch * split.sections + k))], v);
                    for (float& v : y.back())
                        v = band.negate ? -v : v;
                }
                return y;
            });
    }
}

TEST(Section, FadeBetweenTwoCurves)
{
    const auto c = sections(2);
    compare(
        1, 4, false,
        [&](auto** in, auto** out, int channels, int n, auto& s) {
            lbx::run_fade({c.data(), s.data()}, {&c[5], s.data() + 2 * channels}, 0.8F, -0.001F, in, out, channels, n);
        },
        [&](int ch, Floats x, auto& s) {
            float g = 0.8F;
            for (float& v : x) {
                g += -0.001F;
                const float y = section(c.data(), &s[at(2 * ch)], v);
                v = g * y + (1.0F - g) * section(&c[5], &s[s.size() / 2 + at(2 * ch)], v);
            }
            return Signals{x};
        });
}

TEST(Section, BankSumsTheSquaresOfEveryBand)
{
    const auto c = sections(lbx::Bank::kMaxBands);
    for (int bands = 1; bands <= lbx::Bank::kMaxBands; ++bands) {
        Floats state(2 * lbx::Bank::kLanes), model = state, sums(lbx::Bank::kLanes, 7.0F);
        lbx::Bank bank = {};
        set_bank(bank, c.data(), bands);
        for (int n : kCuts) {
            const auto x = rig::noise(n);
            Floats expected(at(bands));
            for (std::size_t k = 0; k < expected.size(); ++k)
                for (float v : x) {
                    const float y = section(&c[5 * k], &model[2 * k], v);
                    expected[k] = std::fma(y, y, expected[k]);
                }
            run_bank(bank, state.data(), x.data(), n, sums.data());
            ASSERT_EQ(rig::bits(std::span(sums).first(expected.size())), rig::bits(expected)) << bands;
            ASSERT_EQ(rig::bits(state), rig::bits(model)) << bands << " bands, block " << n;
        }
    }
}

}  // namespace
