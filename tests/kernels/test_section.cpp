// SPDX-License-Identifier: Apache-2.0
// Every driver gives the bits of the plain loop, at block sizes that leave heads, tails and single samples, over enough
// channels for every packing, and leaves the state that the plain loop leaves (each case runs two blocks).
#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <vector>

#include "common/section.h"
#include "support/rig.h"

namespace {

constexpr int kBlocks[] = {1, 3, 4, 5, 8, 11, 12, 48, 64, 257};
constexpr int kMostChannels = 9;

// The rule, as written.
float section(const float* c, float* s, float x)
{
    const float y = std::fma(c[0], x, s[0]);
    s[0] = std::fma(-c[2], y, c[1] * x) + s[1];
    s[1] = std::fma(-c[4], y, c[3] * x);
    return y;
}

// Stable sections, all different.
std::vector<float> sections(int count)
{
    std::vector<float> coeff;
    for (int k = 0; k < count; ++k) {
        const auto r = 0.5F + 0.4F * std::sin(1.0F + static_cast<float>(k)), w = 0.2F + 0.19F * static_cast<float>(k);
        for (float v : {0.7F, -0.3F + 0.05F * r, -2.0F * r * std::cos(w), 0.2F, r * r})
            coeff.push_back(v);
    }
    return coeff;
}

// Pins of one size, each with noise of its own; outputs in place or apart.
struct Pins {
    std::vector<std::vector<float>> in, out;
    std::vector<float*> ip, op;

    Pins(int inputs, int outputs, int n, bool in_place, unsigned seed)
    {
        for (int c = 0; c < inputs; ++c)
            in.push_back(rig::noise(n, seed + static_cast<unsigned>(c)));
        out.assign(static_cast<std::size_t>(outputs), std::vector<float>(static_cast<std::size_t>(n), -9.0F));
        for (auto& pin : in)
            ip.push_back(pin.data());
        for (std::size_t c = 0; c < out.size(); ++c)
            op.push_back(in_place && c < in.size() ? in[c].data() : out[c].data());
    }
    // Output pins against `expected`, which came from the same inputs.
    void expect(const std::vector<std::vector<float>>& expected) const
    {
        for (std::size_t c = 0; c < op.size(); ++c)
            ASSERT_EQ(rig::bits({op[c], expected[c].size()}), rig::bits(expected[c])) << "output " << c;
    }
};

using Signals = std::vector<std::vector<float>>;

// Runs `fast(pins, n, state)` and `plain(inputs, state) -> outputs` over two blocks of every size and channel count.
template <class Fast, class Plain>
void compare(int outputs_per_channel, int words_per_channel, Fast fast, Plain plain)
{
    for (int n : kBlocks)
        for (int channels = 1; channels <= kMostChannels; ++channels)
            for (bool in_place : {false, true}) {
                SCOPED_TRACE(testing::Message()
                             << "block " << n << ", channels " << channels << ", in place " << in_place);
                std::vector<float> state(static_cast<std::size_t>(words_per_channel * channels)), model = state;
                for (unsigned block = 0; block < 2; ++block) {
                    Pins pins(channels, channels * outputs_per_channel, n, in_place, 100 * block + 1);
                    const Signals expected = plain(pins.in, model);
                    fast(pins, n, state);
                    pins.expect(expected);
                    ASSERT_EQ(rig::bits(state), rig::bits(model));
                }
                if (testing::Test::HasFatalFailure())
                    return;
            }
}

TEST(Section, EveryChannelCount)
{
    const auto c = sections(1);
    for (bool negate : {false, true})
        compare(
            1, 2,
            [&](Pins& p, int n, auto& s) {
                lbx::run_sections(c.data(), s.data(), p.ip.data(), p.op.data(), static_cast<int>(p.in.size()), n,
                                  negate);
            },
            [&](Signals x, auto& s) {
                for (std::size_t k = 0; k < x.size(); ++k)
                    for (float& v : x[k]) {
                        v = section(c.data(), &s[2 * k], v);
                        v = negate ? -v : v;
                    }
                return x;
            });
}

TEST(Section, FirstOrder)
{
    const float c[] = {0.3F, 0.2F, -0.9F};
    compare(
        1, 1,
        [&](Pins& p, int n, auto& s) {
            lbx::run_first_orders(c, s.data(), p.ip.data(), p.op.data(), static_cast<int>(p.in.size()), n, true);
        },
        [&](Signals x, auto& s) {
            for (std::size_t k = 0; k < x.size(); ++k)
                for (float& v : x[k]) {
                    const float y = std::fma(c[0], v, s[k]);
                    s[k] = std::fma(-c[2], y, c[1] * v);
                    v = -y;
                }
            return x;
        });
}

TEST(Section, CascadeWithBandsLeftOut)
{
    const auto c = sections(18);
    for (int bands : {0, 1, 2, 3, 4, 5, 7, 10, 12, 13, 18})
        for (int left_out : {0, 2, 3}) {
            SCOPED_TRACE(testing::Message() << bands << " bands without every band of " << left_out);
            const auto active = [&](int k) { return left_out == 0 || k % left_out != 1; };
            lbx::Cascade cascade = {};
            ASSERT_TRUE(reserve(cascade, bands));
            arrange(cascade, c.data(), bands, active);
            compare(
                1, 2 * bands,
                [&](Pins& p, int n, auto& s) {
                    run_cascade(cascade, s.data(), 2 * bands, p.ip.data(), p.op.data(), static_cast<int>(p.in.size()),
                                n);
                },
                [&](Signals x, auto& s) {
                    for (std::size_t ch = 0; ch < x.size(); ++ch)
                        for (float& v : x[ch])
                            for (int k = 0; k < bands; ++k)
                                if (active(k))
                                    v = section(&c[static_cast<std::size_t>(5 * k)],
                                                s.data() + 2 * (static_cast<int>(ch) * bands + k), v);
                    return x;
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
    for (const auto& bands : layouts) {
        const int total = std::accumulate(bands.begin(), bands.end(), 0, [](int n, auto& b) { return n + b.sections; });
        const int width = static_cast<int>(bands.size());
        SCOPED_TRACE(testing::Message() << width << " bands, " << total << " sections");
        const auto c = sections(total);
        lbx::Split split = {};
        set_split(split, c.data(), bands.data(), width);
        std::vector<float> scratch(kMostChannels * lbx::kSplitTile);
        compare(
            width, 2 * total,
            [&](Pins& p, int n, auto& s) {
                std::reverse(p.ip.begin(), p.ip.end());  // in place then crosses channels
                run_split(split, s.data(), p.ip.data(), p.op.data(), static_cast<int>(p.in.size()), n, scratch.data());
            },
            [&](Signals x, auto& state) {
                std::reverse(x.begin(), x.end());
                Signals y;
                float* s = state.data();
                for (const auto& channel : x) {
                    const float* coeff = c.data();
                    for (const auto& band : bands) {
                        y.push_back(channel);
                        for (float& v : y.back()) {
                            for (int k = 0; k < band.sections; ++k)
                                v = section(coeff + 5 * k, s + 2 * k, v);
                            v = band.negate ? -v : v;
                        }
                        coeff += 5 * band.sections;
                        s += 2 * band.sections;
                    }
                }
                return y;
            });
    }
}

TEST(Section, FadeBetweenTwoCurves)
{
    const auto c = sections(2);
    const auto fade = [&](auto& s, std::size_t k, float& g, float v) {
        g += -0.001F;
        const float y = section(c.data(), &s[4 * k], v), z = section(&c[5], &s[4 * k + 2], v);
        return g * y + (1.0F - g) * z;
    };
    compare(
        1, 4,
        [&](Pins& p, int n, auto& s) {
            std::vector<float> from(s.size() / 2), to(from);  // the kernel wants them apart
            for (std::size_t k = 0; k < s.size(); ++k)
                (k % 4 < 2 ? from : to)[k / 4 * 2 + k % 2] = s[k];
            lbx::run_fade({c.data(), from.data()}, {&c[5], to.data()}, 0.8F, -0.001F, p.ip.data(), p.op.data(),
                          static_cast<int>(p.in.size()), n);
            for (std::size_t k = 0; k < s.size(); ++k)
                s[k] = (k % 4 < 2 ? from : to)[k / 4 * 2 + k % 2];
        },
        [&](Signals x, auto& s) {
            for (std::size_t k = 0; k < x.size(); ++k) {
                float g = 0.8F;
                for (float& v : x[k])
                    v = fade(s, k, g, v);
            }
            return x;
        });
}

TEST(Section, BankSumsTheSquaresOfEveryBand)
{
    for (int bands = 1; bands <= lbx::Bank::kMaxBands; ++bands)
        for (int n : kBlocks) {
            SCOPED_TRACE(testing::Message() << bands << " bands, block " << n);
            const auto c = sections(bands), x = rig::noise(n);
            std::vector<float> state(2 * lbx::Bank::kLanes), model = state, sums(lbx::Bank::kLanes, 7.0F);
            lbx::Bank bank = {};
            set_bank(bank, c.data(), bands);
            for (int block = 0; block < 2; ++block) {
                std::vector<float> expected(static_cast<std::size_t>(bands));
                for (std::size_t k = 0; k < expected.size(); ++k)
                    for (float v : x) {
                        const float y = section(&c[5 * k], &model[2 * k], v);
                        expected[k] = std::fma(y, y, expected[k]);
                    }
                run_bank(bank, state.data(), x.data(), n, sums.data());
                ASSERT_EQ(rig::bits(std::span(sums).first(expected.size())), rig::bits(expected));
                ASSERT_EQ(rig::bits(state), rig::bits(model));
            }
        }
}

}  // namespace
