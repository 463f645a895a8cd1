// SPDX-License-Identifier: Apache-2.0
// The second arithmetic beside the documented one and beside double precision.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "bench/noise.h"
#include "support/every_block.h"
#include "support/rig.h"

namespace {

using Signal = std::vector<std::vector<float>>;

// Control pins come first.
int controls(const rig::BlockCase& row)
{
    return row.type >= EN_FILTER_LOOKUP_TONE_PEAK && row.type <= EN_FILTER_LOOKUP_BUTTER_BESSEL ? 1 : 0;
}
int channels_of(const rig::BlockCase& row) { return row.inputs - controls(row); }

// A block of any number of channels, run in one arithmetic or the other from block to block.
class Filter {
public:
    Filter(const rig::BlockCase& row, int channels, int block, std::vector<float> vector)
        : pro_{48000, 32, block, 0, 0},
          blk_(BlockAlgo_init(&pro_, controls(row) + channels, channels * row.outputs / channels_of(row), row.type))
    {
        set(std::move(vector));
        quiet_ = Vantoro_quiet_create(blk_);
    }
    Filter(const rig::BlockCase& row, int block) : Filter(row, channels_of(row), block, row.vector) {}
    ~Filter()
    {
        Vantoro_quiet_destroy(quiet_);
        BlockAlgo_destroy(blk_);
    }
    Filter(const Filter&) = delete;
    Filter& operator=(const Filter&) = delete;

    BlockAlgo* operator->() { return blk_; }
    VantoroQuiet* quiet() { return quiet_; }
    void set(std::vector<float> vector) { BlockAlgo_param_reset(blk_, vector.data()); }

    // `is_quiet(k)` says how block k is run.
    template <class Quiet>
    Signal run(Signal in, Quiet is_quiet)
    {
        const auto n = static_cast<std::size_t>(pro_.nBlockSize);
        Signal out(static_cast<std::size_t>(blk_->nOutputs), std::vector<float>(in[0].size()));
        for (std::size_t start = 0; start + n <= in[0].size(); start += n) {
            std::vector<float*> ip, op;
            for (auto& pin : in)
                ip.push_back(pin.data() + start);
            for (auto& pin : out)
                op.push_back(pin.data() + start);
            const long touched = rig::Allocator::touched();
            if (is_quiet(static_cast<int>(start / n)))
                EXPECT_EQ(Vantoro_quiet_process(quiet_, ip.data(), op.data()), RT_OK);
            else
                BlockAlgo_process(blk_, ip.data(), op.data());
            EXPECT_EQ(rig::Allocator::touched(), touched);
        }
        return out;
    }
    Signal run(const Signal& in)
    {
        return run(in, [](int) { return true; });
    }
    Signal run_documented(const Signal& in)
    {
        return run(in, [](int) { return false; });
    }

private:
    BlockPro pro_;
    BlockAlgo* blk_;
    VantoroQuiet* quiet_;
};

Signal noise_pins(int pins, int samples)
{
    Signal signal;
    for (int pin = 0; pin < pins; ++pin)
        signal.push_back(rig::noise(samples, static_cast<std::uint32_t>(pin + 1)));
    return signal;
}
// Channels `first` and on, after controls that choose another curve in mid-run.
Signal pins_of(const rig::BlockCase& row, int first, int channels, int samples)
{
    Signal signal = noise_pins(first + channels, samples);
    signal.erase(signal.begin(), signal.begin() + first);
    std::vector<float> curve(static_cast<std::size_t>(samples), 2);
    std::fill(curve.begin(), curve.begin() + samples / 3, 1.0F);
    signal.insert(signal.begin(), static_cast<std::size_t>(controls(row)), curve);
    return signal;
}
Signal pins_of(const rig::BlockCase& row, int samples) { return pins_of(row, 0, channels_of(row), samples); }

// Of all pins together, over what is to be heard.
double error_db(const Signal& y, const Signal& exact)
{
    noise::Error error;
    for (std::size_t pin = 0; pin < exact.size(); ++pin)
        for (std::size_t i = 0; i < exact[pin].size(); ++i)
            error.add(static_cast<double>(y[pin][i]), static_cast<double>(exact[pin][i]));
    return error.db();
}

std::vector<std::vector<std::uint32_t>> bits(const Signal& signal)
{
    std::vector<std::vector<std::uint32_t>> all;
    for (const auto& pin : signal)
        all.push_back(rig::bits(pin));
    return all;
}

std::vector<rig::BlockCase> taken()
{
    // Poles at both ends of the band and in the middle of it.
    std::vector<rig::BlockCase> rows = {
        {EN_FILTER_GRAPHICAL_EQ, 1, 1, {3, 500, 4, 1, 0, 0, 12000, 4, 1, 0, 0, 23000, 4, 1, 0, 0}}};
    for (const rig::BlockCase& row : rig::every_block())
        if (Vantoro_quiet_takes(row.type) == 1)
            rows.push_back(row);
    return rows;
}

const rig::BlockCase kIir = {EN_FILTER_2ND_IIR, 1, 1, {}};

}  // namespace

TEST(Quiet, TakesEveryBlockOfSecondOrderSections)
{
    for (int type = EN_FILTER_2ND_GENERAL; type <= EN_FILTER_NONBARE; ++type)
        EXPECT_EQ(Vantoro_quiet_takes(type), 1) << type;
    for (const int type : {EN_FILTER_GRAPHICAL_EQ, EN_FILTER_CROSSOVER_2WAY, EN_FILTER_CROSSOVER_3WAY,
                           EN_FILTER_LOOKUP_TONE_PEAK, EN_FILTER_LOOKUP_COMMON, EN_FILTER_LOOKUP_BUTTER_BESSEL})
        EXPECT_EQ(Vantoro_quiet_takes(type), 1) << type;
    rig::Rig gain(EN_BASIC_GAIN, 1, 1);
    EXPECT_EQ(Vantoro_quiet_takes(EN_BASIC_GAIN), 0);
    EXPECT_EQ(Vantoro_quiet_create(gain.block()), nullptr);
    EXPECT_EQ(Vantoro_quiet_create(nullptr), nullptr);
}

// docs/noise.md says so of a finer grid.
TEST(Quiet, IsNeverMuchNoisierThanDocumentedAndNeverLoud)
{
    constexpr int kRates[] = {48000};
    noise::each(kRates, 1, 1 << 14, [](const noise::Response& response, int, float fourth, float fc, const auto& db) {
        SCOPED_TRACE(testing::Message() << response.name << " of " << fourth << " at " << fc << " Hz");
        EXPECT_LT(db.section, -126);
        EXPECT_LT(db.section, db.documented + 3);
        EXPECT_LT(db.cascade, -105);
        EXPECT_LT(db.cascade, db.documented + 3);
    });
}

// And where the two take turns, nothing is heard of it: states mean the same in both. What is left is the documented
// blocks' own noise.
TEST(Quiet, FollowsTheDocumentedLawAndTakesTurnsWithIt)
{
    for (const rig::BlockCase& row : taken())
        for (const int block : {64, 57, 5}) {
            SCOPED_TRACE(testing::Message() << "type " << row.type << ", block " << block);
            const Signal in = pins_of(row, block * 60);
            Filter documented(row, block), quiet(row, block), turns(row, block), begun(row, block);
            const Signal expected = documented.run_documented(in);
            EXPECT_LT(error_db(quiet.run(in), expected), -90);
            EXPECT_LT(error_db(turns.run(in, [](int k) { return k % 3 == 1; }), expected), -90);
            // A handle that was made in mid-run goes on from there.
            EXPECT_LT(error_db(begun.run(in, [](int k) { return k >= 30; }), expected), -90);
        }
}

TEST(Quiet, GivesTheSameBitsForAnyNumberOfChannels)
{
    for (const rig::BlockCase& row : taken())
        for (const int block : {64, 29}) {
            const int most = 17, outputs = row.outputs / channels_of(row);
            const auto expected = bits(Filter(row, most, block, row.vector).run(pins_of(row, 0, most, block * 6)));
            for (int channels = 1; channels < most; ++channels) {
                const int first = channels % 2;  // each channel in other lanes
                const Signal some = pins_of(row, first, channels, block * 6);
                const auto out = bits(Filter(row, channels, block, row.vector).run(some));
                EXPECT_TRUE(std::equal(out.begin(), out.end(), expected.begin() + first * outputs))
                    << "type " << row.type << ", block " << block << ", " << channels << " channels";
            }
        }
}

TEST(Quiet, GivesTheSameBitsInBlocksOfAnyMultipleOfEight)
{
    for (const rig::BlockCase& row : taken()) {
        Signal in = pins_of(row, 960);
        std::fill_n(in.begin(), controls(row), std::vector<float>(960));  // fades move from block to block
        const auto expected = bits(Filter(row, 64).run(in));
        for (const int block : {8, 24, 480})
            EXPECT_TRUE(row.type == EN_FILTER_FIR || bits(Filter(row, block).run(in)) == expected)
                << "type " << row.type << ", block " << block;
    }
}

TEST(Quiet, ClearAndParameterSetsBeginFromSilence)
{
    for (const rig::BlockCase& row : taken()) {
        SCOPED_TRACE(row.type);
        const Signal in = pins_of(row, 640);
        Filter quiet(row, 64);
        const auto expected = bits(quiet.run(in));
        EXPECT_EQ(Vantoro_quiet_clear(quiet.quiet()), RT_OK);
        EXPECT_EQ(bits(quiet.run(in)), expected);
        EXPECT_EQ(BlockAlgo_clear(quiet.operator->()), RT_OK);
        EXPECT_EQ(bits(quiet.run(in)), expected);
        if (row.type != EN_FILTER_CROSSOVER_2WAY && row.type != EN_FILTER_CROSSOVER_3WAY && row.type != EN_FILTER_FIR &&
            controls(row) == 0) {  // those go on
            quiet.set(row.vector);
            EXPECT_EQ(bits(quiet.run(in)), expected);
        }
    }
}

// A host writes into the record, or sets other numbers of bands, while the block runs.
TEST(Quiet, HearsWhatChangesInMidRun)
{
    const rig::BlockCase eq = {EN_FILTER_GRAPHICAL_EQ, 2, 2, {3, 100, 4, 1, 0, 0, 1000, -3, 2, 0, 1, 8000, 2, 1, 2, 0}};
    const Signal in = noise_pins(2, 640);
    Filter documented(eq, 64), quiet(eq, 64);
    const auto both = [&](auto change) {
        change(documented);
        change(quiet);
        EXPECT_LT(error_db(quiet.run(in), documented.run_documented(in)), -80);
    };
    both([](Filter&) {});
    both([](Filter& f) { f->pState[5] *= 2; });                                  // a coefficient of the bypassed band
    both([](Filter& f) { f->pStateC[1] = 0; });                                  // that band on
    both([](Filter& f) { std::fill_n(f->pStateB, 2, 0.5F); });                   // words of state
    both([](Filter& f) { std::fill_n(f->pState + 5, 5, 0.25F); });               // coefficients in mid-run
    both([](Filter& f) { f->pStateC[0] = f->pStateC[1] = f->pStateC[2] = 1; });  // a copy
    const std::vector<float> one = {1, 500, 6, 1, 0, 0};
    both([&](Filter& f) { f.set(one); });
    EXPECT_EQ(bits(quiet.run(in)), bits(documented.run_documented(in)));  // documented until prepared
    EXPECT_EQ(Vantoro_quiet_prepare(quiet.quiet()), RT_OK);
    both([](Filter&) {});
    EXPECT_NE(bits(quiet.run(in)), bits(documented.run_documented(in)));

    Filter inverted({EN_FILTER_2ND_GENERAL, 1, 1, {}}, 1, 64, {1, 1, Gen_LP, 0, 900, 0.7F, 0});
    Filter plain({EN_FILTER_2ND_GENERAL, 1, 1, {}}, 1, 64, {1, 0, Gen_LP, 0, 900, 0.7F, 0});
    Signal expected = plain.run({in[0]});
    std::transform(expected[0].begin(), expected[0].end(), expected[0].begin(), std::negate<>());
    EXPECT_EQ(bits(inverted.run({in[0]})), bits(expected));
    static_cast<SecondOrder_Core*>(inverted->AlgoCore)->enable = 0;
    EXPECT_EQ(bits(inverted.run({in[0]})), bits({in[0]}));
}

// b0, b1, b2, a1, a2: no kind of poles is special.
TEST(Quiet, TakesPolesOfEveryKind)
{
    const std::vector<std::vector<float>> sections = {
        {1, 0, 0.5F, 0, 0, 0, 0},                  // none
        {1, 0, 1, 0.3F, -0.2F, -1.2F, 0.36F},      // a double one
        {1, 0, 1, 0, 0, -1.5F, 0.5625F},           // likewise, exact
        {1, 0, 1, -1, 0.2F, -0.3F, -0.4F},         // real ones far apart
        {1, 0, 0.001F, 0, 0, -1.99F, 0.9900001F},  // real ones, close to 1 and to each other
        {1, 0, 0.01F, 0, -0.01F, 0, 1},            // on the circle
        {1, 0, 0.01F, 0, 0, -1.01F, 0},            // growing
    };
    for (std::size_t k = 0; k < sections.size(); ++k) {
        SCOPED_TRACE(k);
        Filter quiet(kIir, 1, 64, sections[k]);
        const Signal in = noise_pins(1, 1024);
        const auto& v = sections[k];
        Signal exact = {in[0]};
        double s1 = 0, s2 = 0;
        for (float& x : exact[0]) {
            const double in_now = x, y = v[2] * in_now + s1;
            s1 = v[3] * in_now - v[5] * y + s2;
            s2 = v[4] * in_now - v[6] * y;
            x = static_cast<float>(y);
        }
        EXPECT_LT(error_db(quiet.run(in), exact), -130);
    }
}

// What is not finite is so in both, from the block on where it began, until it is cleared.
TEST(Quiet, WhatIsNotFiniteStays)
{
    const float huge = std::numeric_limits<float>::max(), inf = std::numeric_limits<float>::infinity();
    const auto finite = [](const Signal& out) { return std::isfinite(out.back().back()); };
    for (const std::vector<float>& vector : std::vector<std::vector<float>>{
             {1, 0, 1, 0, 0, inf, 0}, {1, 0, std::nanf(""), 0, 0, 0, 0}, {1, 0, 1, 0, 0, huge, huge}}) {
        Filter quiet(kIir, 1, 64, vector);
        EXPECT_FALSE(finite(quiet.run(noise_pins(1, 64))));
    }
    for (const rig::BlockCase& row : taken()) {
        if (row.type == EN_FILTER_FIR)
            continue;  // whose memory ends
        SCOPED_TRACE(row.type);
        Filter quiet(row, 64);
        Signal in = pins_of(row, 128);
        const auto expected = bits(quiet.run(in));
        Signal bad = in;
        bad.back()[40] = inf;
        EXPECT_FALSE(finite(quiet.run(bad)));
        EXPECT_FALSE(finite(quiet.run(in)));
        Vantoro_quiet_clear(quiet.quiet());
        EXPECT_EQ(bits(quiet.run(in)), expected);
    }
}

TEST(Quiet, ShortMemoryLeavesTheBlock)
{
    for (const rig::BlockCase& row : taken()) {
        rig::Rig blk(row.type, row.inputs, row.outputs);
        blk.set(row.vector);
        VantoroQuiet* quiet = nullptr;
        for (int k = 0; k < 40 && !quiet; ++k) {
            rig::Allocator::fail_at(k);
            quiet = Vantoro_quiet_create(blk.block());
            rig::Allocator::fail_never();
        }
        EXPECT_NE(quiet, nullptr) << row.type;
        Vantoro_quiet_destroy(quiet);
    }
    Vantoro_quiet_destroy(nullptr);
}
