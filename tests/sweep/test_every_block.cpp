// SPDX-License-Identifier: Apache-2.0
// What must hold for every block type, checked on all of them at once.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <random>

#include "support/every_block.h"
#include "support/exit_trap.h"
#include "support/rig.h"

namespace {

using rig::BlockCase;
using Signals = std::vector<std::vector<float>>;

std::vector<std::uint32_t> all_bits(const Signals& signals)
{
    std::vector<std::uint32_t> result;
    for (const auto& pin : signals)
        for (const std::uint32_t word : rig::bits(pin))
            result.push_back(word);
    return result;
}

bool is_terminal(int type) { return (type & 0xff00) == EN_IN || (type & 0xff00) == EN_OUT; }

bool hands_out_records(int type) { return (type & 0xff00) == EN_BASIC_DSP || (type & 0xff00) == EN_MIXERS; }

// Both white-noise blocks of a comparison draw from the C library's sequence: start it again for each.
void restart_noise() { std::srand(7); }

std::vector<std::uint32_t> run_after(const BlockCase& row, int block, int updates)
{
    restart_noise();
    rig::Rig blk(row.type, row.inputs, row.outputs, {.block = block});
    if (!blk) {
        ADD_FAILURE() << "refused";
        return {};
    }
    if (!row.vector.empty())
        blk.set(row.vector);
    if (row.type == EN_MUXES_STATE_MACHINE)  // its ranges are written where they are
        std::ranges::copy(row.vector, blk->pParam);
    for (int i = 0; i < updates; ++i)
        blk.update();
    return all_bits(blk.run(rig::stimulus(row.inputs, 8 * block)));
}

std::string refusal(int type)
{
    static const std::map<int, std::string> kMessages = {
        {EN_LOUDNESS, "wrong input type in LD\n"},
        {EN_BASIC_DSP, "Wrong input type in basic, type = " + std::to_string(type) + "\n\n"},
        {EN_DP, "wrong input type in DP\n"},
        {EN_FILTER, "wrong input type in FILTER\n"},
        {EN_DETECTORS, "wrong input type in DETECTOR\n"},
        {EN_MUXES, "wrong input type in MUXES\n"},
        {EN_NLP, "wrong method type or pin number in NLP\n"},
        {EN_SOURCE, "This case is not supported. Please check your spelling\n"},
        {EN_VC, "wrong input type in VC\n"},
        {EN_QVALGO, "wrong input type in QVALGO\n"},
    };
    const int category = type & 0xff00;
    if (category == EN_BASIC_DSP || category == EN_MIXERS)
        return "Wrong input type in basic, type = " + std::to_string(type) + "\n\n";
    const auto found = kMessages.find(category);
    return found == kMessages.end() ? "wrong input type\n" : found->second;
}

}  // namespace

TEST(EveryCode, IsServedOrRefusedWithItsMessage)
{
    for (int type = 0; type <= 0x0FFF; ++type) {
        const auto rows = rig::every_block();
        const auto row = std::ranges::find(rows, type, &BlockCase::type);
        rig::Log log;
        if (row != rows.end()) {
            EXPECT_TRUE(rig::Rig(type, row->inputs, row->outputs)) << type;
            EXPECT_TRUE(log.lines().empty()) << type << ": " << log.all();
        } else if (!is_terminal(type)) {
            EXPECT_FALSE(rig::Rig(type, 2, 2)) << type;
            EXPECT_EQ(log.messages(), std::vector{refusal(type)}) << type;
        }
    }
}

TEST(EveryBlock, RunsAtEveryBlockSizeInsideItsBuffers)
{
    for (const BlockCase& row : rig::every_block()) {
        if (is_terminal(row.type))
            continue;
        for (const int block : {1, 3, 48, 64, 257}) {
            SCOPED_TRACE(testing::Message() << "type " << row.type << " block " << block);
            rig::Log log;
            const std::vector<std::uint32_t> fresh = run_after({row.type, row.inputs, row.outputs, {}, {}}, block, 0);
            const std::vector<std::uint32_t> set = run_after(row, block, row.vector.empty() ? 0 : 1);
            EXPECT_TRUE(log.lines().empty()) << log.all();
            const auto is_silent = [](std::uint32_t word) { return word << 1U == 0; };
            EXPECT_FALSE(block >= 48 && std::ranges::all_of(set, is_silent));
            const auto is_finite = [](std::uint32_t word) { return (word & 0x7f800000U) != 0x7f800000U; };
            if (row.type != EN_BASIC_ARITH_LOG2 && row.type != EN_BASIC_ARITH_LOG10 &&
                row.type != EN_BASIC_ARITH_SQRT && row.type != EN_FILTER_MISCE_STATEVARIABLEQ) {
                EXPECT_TRUE(std::ranges::all_of(set, is_finite));  // these meet negative inputs, or a Q of 0
            }
        }
    }
}

TEST(EveryBlock, TouchesNoPinWhenTheBlockSizeIsZero)
{
    BlockPro pro = {48000, 16, 0, 0, 0};
    std::vector<float*> nowhere(64, nullptr);
    for (const BlockCase& row : rig::every_block()) {
        BlockAlgo* blk = BlockAlgo_init(&pro, row.inputs, row.outputs, row.type);
        ASSERT_TRUE(blk) << row.type;
        EXPECT_EQ(BlockAlgo_process(blk, nowhere.data(), nowhere.data()), RT_OK) << row.type;
        BlockAlgo_destroy(blk);
    }
}

TEST(EveryCode, IsReportedAtAnyBlockSize)
{
    BlockPro pro = {48000, 16, 64, 0, 0};
    for (int type = 0; type <= 0x10FFF; type = type == 0x0FFF ? 0x10000 : type + 1) {
        const auto rows = rig::every_block();
        const bool served = std::ranges::find(rows, type, &BlockCase::type) != rows.end();
        if (served && !hands_out_records(type))
            continue;  // these read their arrays
        BlockAlgo stray = {};
        stray.method_type = type;
        stray.block_pro = &pro;
        const auto reported = [&](int block) {
            rig::Log log;
            pro.nBlockSize = block;
            const int result = BlockAlgo_process(&stray, nullptr, nullptr);
            return std::to_string(result) + log.all();
        };
        EXPECT_EQ(reported(0), reported(64)) << type;
    }
}

TEST(EveryBlock, UpdatingTwiceIsUpdatingOnce)
{
    for (const BlockCase& row : rig::every_block())
        if (!is_terminal(row.type)) {
            rig::Log log;
            EXPECT_EQ(run_after(row, 64, 1), run_after(row, 64, 2)) << row.type;
        }
}

// Init gives up cleanly at whichever allocation fails. The basic and the mixer category hand out the record although
// its state is missing; such a block must still be safe to run, to clear and to destroy.
TEST(EveryBlock, SurvivesAnyFailedAllocationOfInit)
{
    for (const BlockCase& row : rig::every_block()) {
        rig::Log log;
        for (long k = 0;; ++k) {
            ASSERT_LT(k, 1000) << row.type;
            const long before = rig::Allocator::calls();
            rig::Allocator::fail_at(k);
            rig::Rig blk(row.type, row.inputs, row.outputs);
            rig::Allocator::fail_never();
            const bool failed = rig::Allocator::calls() > before + k;
            EXPECT_TRUE(failed ? !blk || hands_out_records(row.type) : static_cast<bool>(blk))
                << row.type << " at " << k;
            if (blk) {
                blk.fill_noise();
                if (!is_terminal(row.type))
                    blk.process();
                EXPECT_EQ(BlockAlgo_clear(blk.block()), RT_OK);
            }
            if (!failed)
                break;
        }
    }
}

// A parameter set that cannot have its memory leaves the block as it was, to the bit: created, or at work with `old`.
// Returns how many allocations the set makes; with all of them it is taken.
static int fail_each_allocation(const BlockCase& row, const std::vector<float>& old, std::vector<float> vector)
{
    const Signals signal = rig::stimulus(row.inputs, 256);
    for (int k = 0;; ++k) {
        rig::Rig blk(row.type, row.inputs, row.outputs), twin(row.type, row.inputs, row.outputs);
        for (rig::Rig* one : {&blk, &twin}) {
            if (!old.empty()) {
                EXPECT_EQ(one->set(old), RT_OK);
            }
            restart_noise();
            one->run(signal);
        }
        const long before = rig::Allocator::calls();
        rig::Allocator::fail_at(k);
        const int result = BlockAlgo_param_reset(blk.block(), vector.data());
        rig::Allocator::fail_never();
        const bool failed = rig::Allocator::calls() > before + k;
        EXPECT_EQ(result, failed ? RT_ERR_MALLOC : RT_OK) << row.type << " allocation " << k;
        if (!failed)
            return k;
        for (int update = 0; update < 2; ++update) {
            restart_noise();
            const auto kept = all_bits(blk.run(signal));
            restart_noise();
            EXPECT_EQ(kept, all_bits(twin.run(signal))) << row.type << " allocation " << k;
            blk.update();  // applies the stored parameters again: they are the old ones too
            twin.update();
        }
    }
}

TEST(EveryBlock, KeepsItsStateWhenAParameterSetGetsNoMemory)
{
    rig::Log log;
    for (const BlockCase& row : rig::every_block())
        if (!is_terminal(row.type) && !row.vector.empty())
            fail_each_allocation(row, {}, row.vector);

    // What resizes: other sizes than those of the list, after it.
    const struct {
        int type;
        std::vector<float> vector;
    } kOther[] = {
        {EN_BASIC_DSP_DELAY, {700, 300, 0}},
        {EN_BASIC_DSP_VOL_DELAY, {700}},
        {EN_BASIC_POLY, {2, 0.5F, 0.25F}},
        {EN_FILTER_TEXTEQ, {3, 1, 0, 0, 6, 500, 1, -2, 1, 0, 11, 4, 4000, 1, 0, 1, 0, 0, 3, 90, 1, 2}},
        {EN_FILTER_FIR, {7, 1, 2, 3, 4, 3, 2, 1}},
        {EN_FILTER_CROSSOVER_2WAY, {10, 900, 1, 10, 900, -1, 1}},
        {EN_FILTER_CROSSOVER_3WAY, {10, 300, 0, 10, 4000, 0, 10, 4000, 10, 300, 2, 1, 0}},
        {EN_FILTER_LOOKUP_TONE_PEAK, {2, 9, 9, -9, -1, 1, 700, 8}},
        {EN_FILTER_LOOKUP_COMMON, {0, 9, 0, 0.7F, 2000, 100, 8}},
        {EN_FILTER_LOOKUP_BUTTER_BESSEL, {1, 9, 0, 2000, 100, 8}},
        {EN_FILTER_GRAPHICAL_EQ, {4, 100, 4, 1, 0, 0, 1000, -3, 2, 0, 0, 8000, 2, 1, 2, 0, 50, 1, 1, 0, 0}},
        {EN_DETECTORS_LOOKUP_INDEX, {5, 0.1F, 0.25F, 0.5F, 0.75F, 0.8F}},
        {EN_DETECTORS_LOOKUP_RMS, {100, 0, 100, 5, 0.1F, 0.2F, 0.3F, 0.4F, 0.5F}},
        {EN_DETECTORS_LOOKUP_2D, {0, 3, 2, 0, -6, -12, -18, -24, -30}},
        {EN_VC_GAINENVELOPE, {1, 4, 0, 4, 8, 12, -60, 0, -30, -10}},
    };
    for (const auto& [type, vector] : kOther) {
        const auto row = std::ranges::find(rig::every_block(), type, &BlockCase::type);
        EXPECT_GT(fail_each_allocation(*row, row->vector, vector), 0) << type;
    }
}

TEST(Context, IsTheGivenOneOrTheExportedOne)
{
    rig::Log log;
    Vantoro_version_invoke();
    EXPECT_EQ(log.lines().size(), 1U);
    char version[32];
    std::snprintf(version, sizeof version, "%d.%d.%d", VANTORO_VERSION_MAJOR, VANTORO_VERSION_MINOR,
                  VANTORO_VERSION_PATCH);
    EXPECT_STREQ(Vantoro_version(), version);
    auto* pro = static_cast<BlockPro*>(BlockAlgo_BlockPro_init(44100, 24, 32));
    ASSERT_TRUE(pro);
    EXPECT_EQ(pro->nSamplingRate, 44100);
    EXPECT_EQ(pro->bitRate, 24);
    EXPECT_EQ(pro->nBlockSize, 32);
    BlockAlgo* blk = BlockAlgo_init(pro, 1, 1, EN_BASIC_GAIN);
    BlockAlgo* other = BlockAlgo_init(nullptr, 1, 1, EN_BASIC_GAIN);
    EXPECT_EQ(blk->block_pro, pro);
    EXPECT_EQ(other->block_pro, &g_block_pro);
    BlockAlgo_destroy(blk);
    BlockAlgo_destroy(other);
    BlockAlgo_BlockPro_destroy(pro);
}

TEST(Context, IsNullWithoutMemory)
{
    rig::Allocator::fail_at(0);
    EXPECT_EQ(BlockAlgo_BlockPro_init(48000, 16, 64), nullptr);
    rig::Allocator::fail_never();
}

// Any bits in a vector of the right length, on NaN, infinite, denormal and huge samples, in any order of calls. The
// documented ends of the process are caught.
TEST(EveryBlock, SurvivesHostileParametersAndSamples)
{
    std::mt19937 engine(20240314);
    const auto random = [&engine] { return static_cast<std::uint32_t>(engine()); };
    const auto any_float = [&random] {
        static const float kNasty[] = {0.0F,   -0.0F,   1.0F,     -1.0F,         NAN,  INFINITY, -INFINITY,
                                       1e-40F, 3.4e38F, -3.4e38F, 2147483648.0F, 0.5F, 31.0F,    1e10F};
        const std::uint32_t word = random();
        if (word % 3 == 0)
            return kNasty[(word >> 8U) % std::size(kNasty)];
        float value = 0;
        const std::uint32_t fresh = random();
        std::memcpy(&value, &fresh, sizeof value);
        return value;
    };
    for (const BlockCase& row : rig::every_block()) {
        if (is_terminal(row.type))
            continue;
        SCOPED_TRACE(row.type);
        rig::Log log;
        for (int round = 0; round < 60; ++round) {
            log.clear();
            rig::Rig blk(row.type, row.inputs, row.outputs,
                         {.rate = round % 5 == 4 ? 8000 : 48000, .block = 1 + round});
            ASSERT_TRUE(blk);
            std::vector<float> vector = row.vector;
            for (std::size_t i = 0; i < vector.size(); ++i)
                if (std::ranges::find(row.counts, static_cast<int>(i)) == row.counts.end() && random() % 2 == 0)
                    vector[i] = any_float();
            rig::until_exit([&] {
                if (!vector.empty())
                    BlockAlgo_param_reset(blk.block(), vector.data());
                blk.update();
                blk.invoke();
            });
            for (int call = 0; call < 4; ++call) {
                for (int pin = 0; pin < row.inputs; ++pin)
                    std::ranges::generate(blk.in(pin), any_float);
                rig::until_exit([&] { blk.process(); });
            }
        }
    }
}
