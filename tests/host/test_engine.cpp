// SPDX-License-Identifier: Apache-2.0
// The engine: what arrives where, in which buffers, when changes take place, and what processing costs the thread.
#include "engine/engine.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <set>

#include <gtest/gtest.h>

#include "schematic/reader.h"
#include "support/rig.h"

namespace {

long g_news = 0;

}  // namespace

// The linker sends every `new` of the host here.
extern "C" void* __real__Znwm(std::size_t size);
extern "C" void* __wrap__Znwm(std::size_t size)
{
    ++g_news;
    return __real__Znwm(size);
}

namespace {

using namespace vantoro;

// Runs `signal[channel]` through and returns the outputs; what is left over of a block is dropped.
std::vector<std::vector<float>> run(Engine& engine, const std::vector<std::vector<float>>& signal)
{
    const auto size = static_cast<std::size_t>(engine.block_size());
    std::vector<std::vector<float>> out(static_cast<std::size_t>(engine.outputs()));
    for (std::size_t at = 0; at + size <= signal.at(0).size(); at += size) {
        for (std::size_t ch = 0; ch < signal.size(); ++ch)
            std::copy_n(signal[ch].begin() + static_cast<std::ptrdiff_t>(at), size, engine.input()[ch]);
        engine.change();
        EXPECT_TRUE(engine.process()) << engine.failure();
        for (std::size_t ch = 0; ch < out.size(); ++ch)
            out[ch].insert(out[ch].end(), engine.output()[ch], engine.output()[ch] + size);
    }
    return out;
}

std::vector<float> scaled(std::vector<float> x, float gain)
{
    for (float& v : x)
        v *= gain;
    return x;
}

}  // namespace

TEST(Engine, WiresCarryTheRightPins)
{
    // A fork, a join, crossed channels, an output fed by the input itself and one by nothing.
    Engine engine(parse_schematic(R"({"blockSize": 20, "outputs": 5, "blocks": {
        "sub": {"type": "BASIC_ARITH_SUB"},
        "twice": {"type": "BASIC_GAIN", "params": {"gain": 2, "type": "Linear"}},
        "late": {"type": "BASIC_DSP_DELAY", "params": {"maxDelay": 3, "delay": 3}}},
        "wires": [["input.0", "twice.1"], ["input.1", "twice.0"], ["twice.0", "sub.0"], ["input.0", "sub.1"],
                  ["twice.1", "late"], ["sub", "output.0"], ["late", "output.1"], ["twice.1", "output.2"], ["input.1", "output.3"]]})"),
                  48000);
    const auto left = rig::noise(200, 1);
    const auto right = rig::noise(200, 2);
    const auto out = run(engine, {left, right});
    for (std::size_t i = 0; i < 200; ++i) {
        EXPECT_EQ(out[0][i], 2 * right[i] - left[i]);
        EXPECT_EQ(out[1][i], i < 3 ? 0.0F : 2 * left[i - 3]);
        EXPECT_EQ(out[2][i], 2 * left[i]);
        EXPECT_EQ(out[3][i], right[i]);
        EXPECT_EQ(out[4][i], 0.0F);
    }
}

TEST(Engine, BuffersAreAlignedAndSpreadOverTheCache)
{
    for (const int size : {1, 48, 64, 257, 1024, 4096}) {
        Engine engine(parse_schematic(R"({"blockSize": )" + std::to_string(size) +
                                      R"(, "blocks": {"a": {"type": 289, "inputs": 30},
            "b": {"type": 289}}, "wires": [["input", "a"], ["a", "b"], ["a", "output.0-29"], ["b", "output.30-59"]]})"),
                      48000);
        std::vector<std::uintptr_t> starts;
        std::set<std::uintptr_t> places;
        for (int ch = 0; ch < 60; ++ch) {
            starts.push_back(reinterpret_cast<std::uintptr_t>(engine.signal({ch / 30, ch % 30})));
            EXPECT_EQ(starts.back() % 64, 0U);
            places.insert(starts.back() % 4096);
        }
        EXPECT_EQ(places.size(), starts.size()) << size;  // no two of them a multiple of 4 KiB apart
        EXPECT_EQ(starts[1] - starts[0], starts[59] - starts[58]);
        EXPECT_GE(starts[1] - starts[0], static_cast<std::uintptr_t>(size) * sizeof(float));
    }
}

// Its data pins come from three places and block sizes do not fill lines: the run without gaps is the engine's to make.
TEST(Engine, StateMachineSeesOneRun)
{
    for (const int size : {1, 20, 64}) {
        Engine engine(parse_schematic(R"({"blockSize": )" + std::to_string(size) + R"(, "blocks": {
            "state": {"type": "SOURCE_DC", "params": {"value": 2}},
            "half": {"type": "BASIC_GAIN", "params": {"gain": 0.5, "type": "Linear"}},
            "machine": {"type": "MUXES_STATE_MACHINE", "params": {"ranges": [[1, 2], [3, 4], [2, 2]]}},
            "after": {"type": "BASIC_ARITH_INVERT"}},
            "wires": [["state", "machine.0"], ["input.0", "machine.1"], ["half", "machine.2"], ["input.0", "half"],
                      ["half", "machine.3"], ["machine", "after"], ["after", "output"]]})"),
                      48000);
        const auto in = rig::noise(size * 5, 3);
        const auto out = run(engine, {in});
        EXPECT_EQ(out[0], scaled(in, -1));
        EXPECT_EQ(out[1], scaled(in, 0));
        EXPECT_EQ(out[2], scaled(in, -0.5F));
    }
}

// What a block does not write must not repeat the block before.
TEST(Engine, UnselectedOutputsFallSilent)
{
    Engine engine(parse_schematic(R"({"inputs": 1, "blocks": {"to": {"type": "MUXES_DEMUXES_SWITCH", "outputs": 2}},
        "wires": [["input", "to"], ["to", "output"]], "changes": [{"at": 0.004, "set": {"to.index": 1}}]})"),
                  48000);
    const auto out = run(engine, {std::vector<float>(96000, 1.0F)});
    EXPECT_EQ(out[0].back(), 0.0F);
    EXPECT_EQ(out[1].back(), 1.0F);
    EXPECT_EQ(out[0].front(), 1.0F);
}

TEST(Engine, ChangesTakePlaceAtTheNextBlock)
{
    // Asked for inside the second block, exactly at the fourth, and after the end.
    Engine engine(
        parse_schematic(
            R"({"blockSize": 48, "inputs": 1, "blocks": {"g": {"type": 289, "params": {"type": "Linear", "gain": 1}}},
        "wires": [["input", "g"], ["g", "output"]], "changes": [{"at": 0.0011, "set": {"g.gain": 2}}, {"at": 0.003, "set": {"g.gain": 3}},
        {"at": 5, "set": {"g.gain": 4}}]})"),
        48000);
    const auto out = run(engine, {std::vector<float>(48 * 6, 1.0F)});
    for (std::size_t i = 0; i < out[0].size(); ++i)
        EXPECT_EQ(out[0][i], i < 96 ? 1.0F : i < 144 ? 2.0F : 3.0F) << i;
    EXPECT_EQ(engine.changes_left(), 1U);
}

TEST(Engine, ProcessAllocatesNothing)
{
    Engine engine(parse_schematic(R"({"blocks": {"to": {"type": "MUXES_DEMUXES_SWITCH", "outputs": 4},
        "m": {"type": "MUXES_STATE_MACHINE"}, "eq": {"type": 770}, "env": {"type": 513}},
        "wires": [["input", "to"], ["to.0-3", "m.0-3"], ["m.0", "eq"], ["eq.0", "env"], ["env", "output"]]})"),
                  48000);
    EXPECT_GT(g_news, 0);
    const long news = g_news;
    const long calls = rig::Allocator::calls();
    for (int i = 0; i < 100; ++i) {
        engine.change();
        engine.process();
    }
    EXPECT_EQ(g_news, news);
    EXPECT_EQ(rig::Allocator::calls(), calls);
}

// Copies keep every bit, the smallest numbers too; a graph with a filter computes without them, and the thread gets its
// own mode back.
TEST(Engine, FlushesToZeroOnlyWhereStateDecays)
{
    const float tiny = std::numeric_limits<float>::denorm_min();
    const std::string tail = R"("wires": [["input", "g"], ["g", "output"]]})";
    Engine plain(parse_schematic(R"({"blocks": {"g": {"type": 289, "params": {"gain": 1, "type": "Linear"}}}, )" + tail,
                                 {.channels = 1}),
                 48000);
    const std::vector<float> odd = {tiny, -tiny, -0.0F, 9e9F, 1e-40F};
    std::vector<float> in = rig::noise(640, 4);
    std::ranges::copy(odd, in.begin() + 100);
    EXPECT_EQ(rig::bits(run(plain, {in})[0]), rig::bits(in));

    Engine filter(
        parse_schematic(R"({"blocks": {"g": {"type": "FILTER_2ND_GENERAL", "params": {"type": "Gen_LP"}}}, )" + tail,
                        {.channels = 1}),
        48000);
    std::vector<float> impulse(48000);
    impulse[0] = 1e-30F;
    const auto out = run(filter, {impulse})[0];
    EXPECT_TRUE(std::ranges::any_of(out, [](float v) { return v != 0.0F; }));
    EXPECT_TRUE(std::ranges::none_of(out, [](float v) { return std::fpclassify(v) == FP_SUBNORMAL; }));
    // What comes in that small is nothing, however much it is turned up.
    Engine loud(
        parse_schematic(
            R"({"blocks": {"g": {"type": 770, "params": {"type": "Gen_LP", "gainDb": 50, "fc": 12000}}}, )" + tail,
            {.channels = 1}),
        48000);
    EXPECT_EQ(run(loud, {std::vector<float>(640, 1e-39F)})[0], std::vector<float>(640));
    volatile float smallest = std::numeric_limits<float>::min();
    EXPECT_GT(smallest * 0.5F, 0.0F);
}
