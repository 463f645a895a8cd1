// SPDX-License-Identifier: Apache-2.0
// The graph runtime: the bits of the blocks it runs, presets that are refused, changes while it runs.
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <memory>
#include <numeric>
#include <random>
#include <thread>
#include <utility>

#include "graph/preset_builder.h"
#include "support/rig.h"

namespace {

using graph_test::PresetRows;
using graph_test::Words;

struct Destroy {
    void operator()(VantoroGraph* graph) const { Vantoro_graph_destroy(graph); }
};
using Graph = std::unique_ptr<VantoroGraph, Destroy>;

Graph make(const Words& preset, int rate = 0)
{
    return Graph(Vantoro_graph_create(preset.data(), 4 * preset.size(), rate));
}

std::string refusal(const Words& preset, std::size_t bytes = 0)
{
    char why[200] = "";
    const int result = Vantoro_graph_check(preset.data(), bytes > 0 ? bytes : 4 * preset.size(), why, sizeof why);
    EXPECT_EQ(result == RT_OK, why[0] == 0) << why;
    return why;
}

std::vector<float> filter(float hz, int type = LP1st) { return {1, 0, static_cast<float>(type), 0, hz, 0}; }
const std::vector<float> kLimit = {200, 100, -20};

// input -> low -> limit -> output 0, and low -> output 1.
PresetRows chain(float hz = 500)
{
    return {.nodes = {{"low", EN_FILTER_1ST, 1, {1}, filter(hz)}, {"limit", EN_DP_LIMITER, 1, {2}, kLimit}},
            .outputs = {3, 2}};
}

std::vector<float> noise(int n)
{
    std::mt19937 random(3);
    std::vector<float> out(static_cast<std::size_t>(n));
    for (float& v : out)
        v = static_cast<float>(random()) / 4.3e9F - 0.5F;
    return out;
}

// Whole blocks through a graph of one input; channel 0 of the output.
std::vector<float> run(VantoroGraph* graph, const std::vector<float>& in)
{
    std::vector<float> out;
    const int block = Vantoro_graph_block_size(graph);
    for (std::size_t at = 0; at < in.size(); at += static_cast<std::size_t>(block)) {
        std::copy_n(in.data() + at, block, Vantoro_graph_input(graph, 0));
        EXPECT_EQ(Vantoro_graph_process(graph), RT_OK);
        out.insert(out.end(), Vantoro_graph_output(graph, 0), Vantoro_graph_output(graph, 0) + block);
    }
    return out;
}

std::vector<float> by_hand(const std::vector<float>& in, float hz)
{
    BlockPro pro{48000, 24, 64, 0, 0};
    BlockAlgo* low = BlockAlgo_init(&pro, 1, 1, EN_FILTER_1ST);
    BlockAlgo* limit = BlockAlgo_init(&pro, 1, 1, EN_DP_LIMITER);
    std::vector<float> vector = filter(hz), limits = kLimit, out = in;
    BlockAlgo_param_reset(low, vector.data());
    BlockAlgo_param_update(low);
    BlockAlgo_param_reset(limit, limits.data());
    BlockAlgo_param_update(limit);
    for (std::size_t at = 0; at < in.size(); at += 64) {
        float* pin = out.data() + at;
        BlockAlgo_process(low, &pin, &pin);
        BlockAlgo_process(limit, &pin, &pin);
    }
    BlockAlgo_destroy(low);
    BlockAlgo_destroy(limit);
    return out;
}

// ---- presets ----

TEST(Preset, EveryTruncationAndEveryFlippedBitIsRefused)
{
    Words preset = graph_test::preset_of(chain());
    EXPECT_EQ(refusal(preset), "");
    for (std::size_t bytes = 0; bytes < 4 * preset.size(); ++bytes)
        EXPECT_EQ(Vantoro_graph_check(preset.data(), bytes, nullptr, 0), RT_ERR_VALUE) << bytes;
    for (std::size_t bit = 0; bit < 32 * preset.size(); ++bit) {
        preset[bit / 32] ^= 1U << (bit % 32);
        EXPECT_EQ(Vantoro_graph_check(preset.data(), 4 * preset.size(), nullptr, 0), RT_ERR_VALUE) << bit;
        preset[bit / 32] ^= 1U << (bit % 32);
    }
}

TEST(Preset, ChecksumIsTheCrc32OfWhatFollowsIt)
{
    const std::string text = "magicverssizesum.123456789";
    constexpr std::size_t kBefore = 4 * VANTORO_PRESET_WORD_RATE;
    ASSERT_EQ(text.size() - 9, kBefore + 1);
    EXPECT_EQ(Vantoro_preset_crc(text.data() + 1, kBefore + 9), 0xCBF43926U);  // the standard's check value
}

// Under a checksum that is right, any word may hold anything: refused, or it runs.
TEST(Preset, AnyWordsUnderARightChecksumDoNoHarm)
{
    rig::Log quiet;
    std::mt19937 random(11);
    int runs = 0;
    for (int i = 0; i < 20000; ++i) {
        Words preset = graph_test::preset_of(chain());
        const auto any = [&] { return static_cast<std::uint32_t>(random()); };
        for (std::uint32_t change = any() % 3 + 1; change > 0; --change) {
            const std::size_t at = VANTORO_PRESET_WORD_RATE + any() % (preset.size() - VANTORO_PRESET_WORD_RATE);
            preset[at] = any() % 2 == 0 ? any() : preset[at] + any() % 5 - 2;
        }
        graph_test::seal(preset);
        const Graph graph = make(preset, preset[VANTORO_PRESET_WORD_RATE] == 0 ? 48000 : 0);
        if (graph && ++runs > 0)
            Vantoro_graph_process(graph.get());
    }
    EXPECT_GT(runs, 1000);
}

TEST(Preset, ARefusalNamesTheNodeAndWhatIsWrong)
{
    const auto with = [](auto change) {
        PresetRows rows = chain();
        change(rows);
        return refusal(graph_test::preset_of(rows));
    };
    EXPECT_EQ(with([](PresetRows& r) { r.nodes[0].vector[2] = 9; }), "low: type: 9 is none of its choices");
    EXPECT_EQ(with([](PresetRows& r) { r.nodes[0].vector.pop_back(); }), "low: 5 entries; FILTER_1ST takes 6");
    EXPECT_EQ(with([](PresetRows& r) { r.nodes[1].vector[0] = NAN; }), "limit: rmstc is not finite");
    EXPECT_EQ(with([](PresetRows& r) { r.nodes[0].type = 4711; }), "low: 4711 is no block type of this library");
    EXPECT_EQ(with([](PresetRows& r) { r.nodes[0].type = EN_IN_AUDIO_INPUT; }).substr(0, 10), "low: 2817 ");
    EXPECT_EQ(with([](PresetRows& r) { r.nodes[0].outputs = 2; }), "low: 1 -> 2 pins; FILTER_1ST takes n -> n");
    EXPECT_EQ(with([](PresetRows& r) { r.nodes[0].links = {2}; }), "low: input 0 hears a pin that is not there");
    EXPECT_EQ(with([](PresetRows& r) { r.outputs = {4}; }), "output: input 0 hears a pin that is not there");
    for (const char* name : {"a\nb", ""})
        EXPECT_EQ(with([=](PresetRows& r) { r.nodes[1].name = name; }), "node 1 has no name");
    EXPECT_EQ(with([](PresetRows& r) { r.nodes[0].links.resize(1025); }), "low: 1025 pins; at most 1024");
    EXPECT_EQ(with([](PresetRows& r) {
                  r.block = 65536;
                  r.nodes.assign(9, {"low", EN_FILTER_1ST, 1024, std::vector<std::uint32_t>(1024), filter(500)});
              }),
              "16384 pins and 2048 MiB of buffers; at most 1000000 and 2048");
    EXPECT_EQ(refusal(graph_test::preset_of({})), "") << "nothing to do";
    EXPECT_EQ(with([](PresetRows& r) { r.nodes[1].type |= VANTORO_PRESET_QUIET; }),
              "limit: DP_LIMITER has no quiet arithmetic");
    EXPECT_EQ(with([](PresetRows& r) { r.block = 0; }), "block size 0; 1 to 65536");
    EXPECT_EQ(make(graph_test::preset_of(chain()), 44100), nullptr);  // made for 48 kHz
}

// ---- running ----

TEST(Graph, GivesTheBitsOfItsBlocks)
{
    const std::vector<float> in = noise(6400);
    const Graph graph = make(graph_test::preset_of(chain()));
    ASSERT_TRUE(graph);
    EXPECT_EQ(run(graph.get(), in), by_hand(in, 500));
    EXPECT_EQ(Vantoro_graph_find(graph.get(), "limit"), 1);
    EXPECT_EQ(Vantoro_graph_find(graph.get(), "lim"), -1);
    EXPECT_STREQ(Vantoro_graph_node_name(graph.get(), 0), "low");
    EXPECT_EQ(Vantoro_graph_input(graph.get(), 1), nullptr);
    EXPECT_EQ(Vantoro_graph_output(graph.get(), 2), nullptr);
}

// The second arithmetic gives nearly the samples of the first, whatever happens to the node: not quite, or nobody ran
// it.
TEST(Graph, ANodeRunsInTheSecondArithmetic)
{
    if (Vantoro_graph_quiet(EN_FILTER_2ND_BESSEL_BUTTER) == 0)
        GTEST_SKIP() << "a build without it";
    constexpr float kNear = 1e-5F;
    const auto low = [](float hz) { return std::vector<float>{1, 0, ButterLP, 0, hz}; };
    PresetRows rows{.nodes = {{"low", EN_FILTER_2ND_BESSEL_BUTTER, 1, {1}, low(300)}}, .outputs = {2}};
    const Graph documented = make(graph_test::preset_of(rows));
    rows.nodes[0].type |= VANTORO_PRESET_QUIET;
    const Graph quiet = make(graph_test::preset_of(rows));
    ASSERT_TRUE(documented && quiet);
    const std::vector<float> in = noise(6400);
    for (const auto change : {Vantoro_graph_set, Vantoro_graph_post})
        for (const float hz : {80.0F, 4000.0F}) {
            const std::vector<float> wanted = run(documented.get(), in), got = run(quiet.get(), in);
            EXPECT_NE(wanted, got);
            for (std::size_t i = 0; i < in.size(); ++i)
                ASSERT_NEAR(wanted[i], got[i], kNear) << i;
            for (VantoroGraph* graph : {documented.get(), quiet.get()})
                EXPECT_EQ(change(graph, 0, low(hz).data(), 5), RT_OK);
        }
}

// Chains of one channel to thirteen, three with their nodes taking turns, and a node between that two hear; blocks of
// more than one tile, whose last samples fill no lanes. A graph whose pins are all outputs runs every node alone: one
// that nobody looks into and one that is metered give the same, name the same node when one of them overflows, and the
// metered one's inner pins, or one that is asked for or tapped, hold what they should.
TEST(Graph, FiltersInSeriesGiveWhatTheyGiveOneByOne)
{
    const std::vector<float> low = filter(900), high = {1, 1, HP1st, 0, 40, 0}, plain = {1, 0, 0.9F, 0.1F, 0, -0.5F, 0},
                             turned = {1, 1, 0.9F, 0.1F, 0.2F, -0.5F, 0.1F}, off = {0, 1, 1, 1, 0, 0, 0},
                             bands = {3, 100, 4, 1, 0, 0, 1000, -3, 2, 0, 0, 8000, 2, 1, 2, 0};
    constexpr std::size_t kBlock = 203;
    PresetRows rows = {.block = kBlock,
                       .inputs = 2,
                       .nodes = {{"a", EN_FILTER_1ST, 1, {1}, low},
                                 {"A", EN_FILTER_2ND_IIR, 1, {2}, plain},
                                 {"b", EN_FILTER_2ND_IIR, 1, {3}, turned},
                                 {"B", EN_FILTER_1ST, 1, {4}, high},
                                 {"c", EN_FILTER_2ND_IIR, 1, {5}, plain},
                                 {"C", EN_FILTER_2ND_IIR, 1, {6}, plain},
                                 {"d", EN_FILTER_1ST, 1, {7}, high},
                                 {"e", EN_FILTER_2ND_IIR, 2, {9, 8}, off},
                                 {"f", EN_FILTER_2ND_IIR, 2, {10, 11}, plain},
                                 {"g", EN_FILTER_2ND_IIR, 2, {12, 13}, off},
                                 {"h", EN_FILTER_GRAPHICAL_EQ, 2, {14, 15}, bands},
                                 {"i", EN_FILTER_2ND_IIR, 2, {16, 17}, turned},
                                 {"k", EN_FILTER_GRAPHICAL_EQ, 2, {18, 19}, bands},
                                 {"l", EN_FILTER_2ND_IIR, 2, {20, 21}, turned},
                                 {"m", EN_FILTER_GRAPHICAL_EQ, 2, {22, 23}, bands}},
                       .outputs = {24, 25, 8}};
    const auto signals = [&] {
        const auto add = [](std::uint32_t sum, const auto& node) { return sum + node.outputs; };
        return std::accumulate(rows.nodes.begin(), rows.nodes.end(), 1 + rows.inputs, add);
    };
    for (const auto& [channels, filters] : {std::pair{3U, 4U}, {3U, 6U}, {13U, 7U}}) {
        for (std::uint32_t k = 0; k < filters; ++k) {
            std::vector<std::uint32_t> links(channels);
            for (std::uint32_t pin = 0; pin < channels; ++pin)
                links[pin] = k == 0 ? 1 + pin % 2 : signals() - channels + pin;
            rows.nodes.push_back({"more", EN_FILTER_2ND_IIR, channels, links, k == 3 ? off : k % 2 ? turned : plain});
        }
        rows.outputs.push_back(signals() - 1);
    }
    PresetRows open = rows;
    for (std::uint32_t signal = 3; signal < signals(); ++signal)
        open.outputs.push_back(signal);
    const std::vector<float> in = noise(6400), loud = {1, 0, 3e38F, 0, 0, -9, 0};
    for (const int broken : {-1, 1, 4, 5, 8, 17, 27}) {
        const Graph graph = make(graph_test::preset_of(rows)), metered = make(graph_test::preset_of(rows)),
                    apart = make(graph_test::preset_of(open));
        ASSERT_TRUE(graph && metered && apart);
        VantoroGraphSpan span;
        EXPECT_EQ(Vantoro_graph_meters(metered.get(), nullptr, 0, &span), 0);
        std::vector<float> tapped(kBlock);
        for (std::size_t block = 0; block < 20; ++block) {
            for (VantoroGraph* each : {graph.get(), metered.get(), apart.get()}) {
                if (block == 3 || block == 4)
                    Vantoro_graph_post(each, broken, (block == 3 ? loud : plain).data(), 7);
                for (int ch = 0; ch < 2; ++ch)
                    std::copy_n(in.data() + kBlock * block + 1000 * ch, kBlock, Vantoro_graph_input(each, ch));
                EXPECT_EQ(Vantoro_graph_process(each), RT_OK);
            }
            const auto same = [&](const float* samples, int output) {
                return rig::bits({samples, kBlock}) == rig::bits({Vantoro_graph_output(apart.get(), output), kBlock});
            };
            const auto outputs = static_cast<int>(rows.outputs.size());
            for (int ch = 0; ch < outputs; ++ch)
                for (const VantoroGraph* each : {graph.get(), metered.get()})
                    ASSERT_TRUE(same(Vantoro_graph_output(each, ch), ch)) << "node " << broken << ", block " << block;
            for (int node = 0, output = outputs; node < Vantoro_graph_nodes(metered.get()); ++node)
                for (int pin = 0; const float* samples = Vantoro_graph_signal(metered.get(), node, pin); ++pin)
                    ASSERT_TRUE(same(samples, output++)) << node << ' ' << block;
            const float* asked = Vantoro_graph_signal(graph.get(), 1, 0);
            EXPECT_TRUE(block == 0 || same(asked, outputs + 1)) << block;
            if (block == 10) {
                EXPECT_EQ(Vantoro_graph_tap(graph.get(), 0, Vantoro_graph_signal_number(graph.get(), 8, 1)), RT_OK);
            }
            if (block > 11) {
                EXPECT_EQ(Vantoro_graph_tapped(graph.get(), 0, tapped.data(), kBlock), RT_OK);
                EXPECT_TRUE(same(tapped.data(), outputs + 10)) << block;
            }
        }
        VantoroGraphFaults wanted;
        Vantoro_graph_faults(apart.get(), &wanted);
        EXPECT_EQ(wanted.blocks, broken >= 0 ? 1U : 0U);
        for (const VantoroGraph* each : {graph.get(), metered.get()}) {
            VantoroGraphFaults faults;
            Vantoro_graph_faults(each, &faults);
            EXPECT_EQ(faults.node, wanted.node);
            EXPECT_EQ(faults.blocks, wanted.blocks);
        }
    }
}

TEST(Graph, TakesAnyNumberOfFramesWithItsLatencyAndNoOtherDifference)
{
    const std::vector<float> in = noise(6400);
    const Graph graph = make(graph_test::preset_of(chain()));
    std::vector<float> out = in, other(in.size());
    std::mt19937 random(5);
    for (std::size_t at = 0; at < in.size();) {
        const auto frames = std::min<std::size_t>(random() % 150, in.size() - at);
        const float* from[] = {out.data() + at};
        float* to[] = {out.data() + at, other.data() + at};  // in place
        EXPECT_EQ(Vantoro_graph_run(graph.get(), from, to, static_cast<int>(frames)), RT_OK);
        at += frames;
    }
    const std::vector<float> wanted = by_hand(in, 500);
    const auto latency = static_cast<std::size_t>(Vantoro_graph_latency(graph.get()));
    EXPECT_EQ(latency, 63U);
    for (std::size_t i = 0; i < in.size(); ++i)
        ASSERT_EQ(out[i], i < latency ? 0.0F : wanted[i - latency]) << i;
}

// ---- changes ----

TEST(Post, IsInForceFromTheNextBlockOnAndRefusesWhatMayNotBe)
{
    const std::vector<float> in = noise(640);
    const Graph graph = make(graph_test::preset_of(chain()));
    for (const auto& [node, vector] : std::vector<std::pair<int, std::vector<float>>>{
             {2, filter(100)}, {-1, filter(100)}, {0, filter(100, 9)}, {0, kLimit}, {0, {}}})
        EXPECT_EQ(Vantoro_graph_post(graph.get(), node, vector.data(), static_cast<int>(vector.size())), RT_ERR_VALUE);
    int posted = 0;
    const std::vector<float> other = filter(100);
    while (Vantoro_graph_post(graph.get(), 0, other.data(), 6) == RT_OK)
        ++posted;
    EXPECT_GT(posted, 100);
    EXPECT_EQ(Vantoro_graph_post(graph.get(), 0, other.data(), 6), RT_ERR_NO_BUFFER);
    EXPECT_EQ(run(graph.get(), in), by_hand(in, 100));  // a set starts the filter anew
    EXPECT_EQ(Vantoro_graph_post(graph.get(), 0, other.data(), 6), RT_OK);
}

TEST(Post, AnEntryChangesTheVectorAcceptedLastAndARefusalLeavesIt)
{
    PresetRows rows = chain();
    rows.nodes.push_back({"late", EN_BASIC_DSP_DELAY, 1, {1}, {10, 2, 0}});
    const Graph graph = make(graph_test::preset_of(rows));
    const float nan = NAN;
    for (const auto& [node, entry, value] :
         std::vector<std::tuple<int, int, float>>{{3, 0, 1}, {0, -1, 1}, {0, 6, 1}, {0, 2, 9}, {0, 4, nan}, {2, 0, 20}})
        EXPECT_EQ(Vantoro_graph_post_entry(graph.get(), node, entry, value), RT_ERR_VALUE) << node << ' ' << entry;
    const long before = rig::Allocator::touched();
    EXPECT_EQ(Vantoro_graph_post_entry(graph.get(), 2, 0, 10), RT_OK);  // its size as it is
    EXPECT_EQ(Vantoro_graph_post_entry(graph.get(), 0, 2, HP1st), RT_OK);
    EXPECT_EQ(Vantoro_graph_post_entry(graph.get(), 0, 4, 100), RT_OK);
    while (Vantoro_graph_post_entry(graph.get(), 1, 2, -20) == RT_OK)
        continue;
    EXPECT_EQ(Vantoro_graph_post_entry(graph.get(), 0, 4, 200), RT_ERR_NO_BUFFER);
    EXPECT_EQ(rig::Allocator::touched(), before);
    std::vector<float> vector(6);
    EXPECT_EQ(Vantoro_graph_vector(graph.get(), 0, vector.data(), 6), 6);
    EXPECT_EQ(vector, filter(100, HP1st));
    Vantoro_graph_process(graph.get());
    const float* in_force = Vantoro_graph_block(graph.get(), 0)->pParam;
    EXPECT_EQ(std::vector(in_force, in_force + 6), vector);
}

// Between two process calls of one thread a vector may have another length.
TEST(Set, IsInForceAtOnceWhateverItsLength)
{
    PresetRows rows = chain();
    const std::vector<float> flat = {1, 1000, 0, 1, 0, 1}, bands = {2, 1000, 6, 1, 0, 0, 300, -6, 1, 0, 0};
    rows.nodes[0] = {"low", EN_FILTER_GRAPHICAL_EQ, 1, {1}, flat};
    const Graph graph = make(graph_test::preset_of(rows));
    EXPECT_EQ(Vantoro_graph_post(graph.get(), 0, bands.data(), 11), RT_ERR_VALUE);
    EXPECT_EQ(Vantoro_graph_set(graph.get(), 0, bands.data(), 10), RT_ERR_VALUE);
    EXPECT_EQ(Vantoro_graph_set(graph.get(), 0, bands.data(), 11), RT_OK);
    EXPECT_EQ(Vantoro_graph_post(graph.get(), 0, bands.data(), 11), RT_OK);
    rows.nodes[0].vector = bands;
    const Graph other = make(graph_test::preset_of(rows));
    const std::vector<float> in = noise(640);
    EXPECT_EQ(run(graph.get(), in), run(other.get(), in));
    EXPECT_EQ(Vantoro_graph_failed(graph.get()), -1);

    // What was posted before a set comes before it; what is posted afterwards may be as long as the new vector.
    std::vector<float> many = {600};
    while (many.size() < 1 + 5 * 600)
        many.insert(many.end(), bands.begin() + 1, bands.begin() + 6);
    EXPECT_EQ(Vantoro_graph_post(graph.get(), 0, bands.data(), 11), RT_OK);
    for (VantoroGraph* each : {graph.get(), other.get()}) {
        EXPECT_EQ(Vantoro_graph_set(each, 0, many.data(), 3001), RT_OK);
        EXPECT_EQ(Vantoro_graph_post(each, 0, many.data(), 3001), RT_OK);
    }
    EXPECT_EQ(run(graph.get(), in), run(other.get(), in));
}

// What is no audio in the input is silence in its place, bit for bit; a node that overflows, and the limiter that hears
// it, begin anew, so that the next block is that of a new graph.
TEST(Faults, AreHeardForNoMoreThanTheirBlock)
{
    std::vector<float> in = noise(640), silent = in;
    for (const auto& [at, value] : {std::pair{70, NAN}, {75, -INFINITY}, {200, 1e20F}}) {
        in[static_cast<std::size_t>(at)] = value;
        silent[static_cast<std::size_t>(at)] = 0;
    }
    PresetRows rows = chain();
    rows.nodes[0] = {"gain", EN_BASIC_GAIN, 1, {1}, {1, 1}};
    const Graph graph = make(graph_test::preset_of(rows)), other = make(graph_test::preset_of(rows));
    EXPECT_EQ(run(graph.get(), in), run(other.get(), silent));
    VantoroGraphFaults faults;
    Vantoro_graph_faults(graph.get(), &faults);
    EXPECT_EQ(faults.inputs, 3U);
    EXPECT_EQ(faults.blocks, 0U);
    const Graph wire = make(graph_test::preset_of({.nodes = {}, .outputs = {1}}));
    EXPECT_EQ(run(wire.get(), in), silent);
    Vantoro_graph_faults(wire.get(), &faults);
    EXPECT_EQ(faults.blocks, 0U);

    const std::vector<float> loud = {1e38F, 1}, plain = {1, 1}, block(64, 1e3F);
    EXPECT_EQ(Vantoro_graph_post(graph.get(), 0, loud.data(), 2), RT_OK);
    EXPECT_EQ(run(graph.get(), block), std::vector<float>(64));
    Vantoro_graph_faults(graph.get(), &faults);
    EXPECT_EQ(faults.blocks, 1U);
    EXPECT_EQ(faults.node, 0);
    EXPECT_EQ(Vantoro_graph_post(graph.get(), 0, plain.data(), 2), RT_OK);
    const Graph fresh = make(graph_test::preset_of(rows));
    EXPECT_EQ(run(graph.get(), silent), run(fresh.get(), silent));

    // A graph that is faded out is at fault to its last block, and named when it is gone.
    EXPECT_EQ(Vantoro_graph_post(graph.get(), 0, loud.data(), 2), RT_OK);
    (void)run(graph.get(), block);
    rows.nodes[0].name = "another";
    Graph next = make(graph_test::preset_of(rows));
    EXPECT_EQ(Vantoro_graph_swap(graph.get(), next.release(), 5), RT_OK);
    const std::uint64_t before = (Vantoro_graph_faults(graph.get(), &faults), faults.blocks);
    for (int i = 0; i < 10; ++i)
        (void)run(graph.get(), block);
    Vantoro_graph_faults(graph.get(), &faults);
    EXPECT_EQ(faults.blocks, before + 4);  // 240 frames
    Vantoro_graph_collect(graph.get());
    EXPECT_STREQ(Vantoro_graph_blamed(graph.get()), "gain");
}

TEST(Swap, ToTheSamePresetIsNotHeardAndToAnotherOneEndsInItsBits)
{
    const std::vector<float> in = noise(64000);
    const Graph graph = make(graph_test::preset_of(chain()));
    const auto swap = [&](float hz, int heard) {
        Graph next = make(graph_test::preset_of(chain(hz)));
        const float* from[] = {in.data()};
        EXPECT_EQ(Vantoro_graph_replay(next.get(), from, heard), RT_OK);
        EXPECT_EQ(std::count(Vantoro_graph_output(next.get(), 0), Vantoro_graph_output(next.get(), 0) + 64, 0.0F), 64);
        EXPECT_EQ(Vantoro_graph_swap(graph.get(), next.get(), 20), RT_OK);
        EXPECT_EQ(Vantoro_graph_settled(graph.get()), 0);
        (void)next.release();
    };
    const std::vector<float> first(in.begin(), in.begin() + 6400), second(in.begin() + 6400, in.end());
    std::vector<float> out = run(graph.get(), first);
    swap(500, 6400);
    const std::vector<float> rest = run(graph.get(), second);
    out.insert(out.end(), rest.begin(), rest.end());
    EXPECT_EQ(out, by_hand(in, 500));

    swap(2000, 0);
    swap(100, 0);  // the newest wins
    const std::vector<float> faded = run(graph.get(), in), wanted = by_hand(in, 100);
    EXPECT_TRUE(std::equal(faded.begin() + 1024, faded.end(), wanted.begin() + 1024));  // 960 frames of fade
    EXPECT_FALSE(std::equal(faded.begin(), faded.begin() + 64, wanted.begin()));

    PresetRows wide = chain();
    wide.outputs = {2};
    const Graph other = make(graph_test::preset_of(wide));
    EXPECT_EQ(Vantoro_graph_swap(graph.get(), other.get(), 20), RT_ERR_VALUE);
    EXPECT_EQ(Vantoro_graph_swap(graph.get(), graph.get(), 20), RT_ERR_VALUE);
}

// The block of a node that remembers long plays on in the graph that follows, and its levels are read from there.
TEST(Follow, WhatRemembersLongGoesOn)
{
    PresetRows rows = {.nodes = {{"meter", EN_DETECTORS_SINGLE_BAND, 1, {1}, {1, 2000, 0, 100}},
                                 {"gain", EN_BASIC_GAIN, 1, {2}, {1, 1}},
                                 {"after", EN_DETECTORS_SINGLE_BAND, 1, {3}, {1, 2000, 0, 100}}},
                       .outputs = {3}};
    const Graph graph = make(graph_test::preset_of(rows)), alone = make(graph_test::preset_of(rows));
    ASSERT_EQ(Vantoro_graph_keep(graph.get(), 1), RT_OK);
    const std::vector<float> in = noise(64000), block = noise(64);
    EXPECT_EQ(run(graph.get(), in), run(alone.get(), in));
    rows.nodes[1].vector[0] = 0.5F;
    Graph next = make(graph_test::preset_of(rows));
    const Graph anew = make(graph_test::preset_of(rows));
    const float* last = in.data() + in.size() - 6400;
    EXPECT_EQ(Vantoro_graph_replay(anew.get(), &last, 6400), RT_OK);
    EXPECT_EQ(Vantoro_graph_follow(graph.get(), next.get(), 6400, 1000), 0);
    EXPECT_EQ(Vantoro_graph_swap(graph.get(), next.release(), 20), RT_OK);
    for (int i = 0; i < 30; ++i) {
        (void)run(graph.get(), block);
        (void)run(alone.get(), block);
        (void)run(anew.get(), block);
        float level[8] = {}, wanted[8] = {};
        EXPECT_EQ(Vantoro_graph_levels(graph.get(), 0, level, 8), Vantoro_graph_levels(alone.get(), 0, wanted, 8));
        EXPECT_TRUE(std::equal(level, level + 8, wanted)) << i;
        Vantoro_graph_levels(graph.get(), 2, level, 8);
        Vantoro_graph_levels(anew.get(), 2, wanted, 8);
        EXPECT_TRUE(std::equal(level, level + 8, wanted)) << "it hears something else now";
    }
    // One that waits is dropped for another that follows, even if that one is given up.
    EXPECT_EQ(Vantoro_graph_swap(graph.get(), make(graph_test::preset_of(rows)).release(), 20), RT_OK);
    rows.nodes[1].vector[0] = 0.25F;
    next = make(graph_test::preset_of(rows));
    EXPECT_EQ(Vantoro_graph_follow(graph.get(), next.get(), 640, 0), 10);
    next.reset();
    float gain[2];
    EXPECT_EQ(Vantoro_graph_vector(graph.get(), 1, gain, 2), 2);
    EXPECT_EQ(gain[0], 0.5F);
}

// Pins that a type wants in one run of memory come from wherever they are.
TEST(Graph, GathersPins)
{
    const Graph graph =
        make(graph_test::preset_of({.inputs = 4,
                                    .nodes = {{"gates", EN_MUXES_STATE_MACHINE, 3, {1, 4, 2, 3}, {0, 2, 0, 2, 0, 2}}},
                                    .outputs = {5, 6, 7}}));
    ASSERT_TRUE(graph);
    const std::vector<float> in = noise(256);
    for (int ch = 0; ch < 4; ++ch)
        std::copy_n(in.data() + 64 * ch, 64, Vantoro_graph_input(graph.get(), ch));
    Vantoro_graph_input(graph.get(), 0)[0] = 1;
    EXPECT_EQ(Vantoro_graph_process(graph.get()), RT_OK);
    for (const auto& [output, input] : {std::pair{0, 3}, {1, 1}, {2, 2}})
        EXPECT_EQ(rig::bits({Vantoro_graph_output(graph.get(), output), 64}), rig::bits({in.data() + 64 * input, 64}));
}

TEST(Graph, ABlockThatFailsIsNamedAndSilent)
{
    PresetRows rows = chain();
    rows.nodes[1] = {"gain", EN_BASIC_GAIN, 1, {2}, {1, 1}};
    const Graph graph = make(graph_test::preset_of(rows));
    EXPECT_NE(run(graph.get(), noise(64)), std::vector<float>(64));
    auto* block = const_cast<BlockAlgo*>(Vantoro_graph_block(graph.get(), 1));
    float* own = std::exchange(block->pParam, nullptr);
    EXPECT_EQ(Vantoro_graph_process(graph.get()), RT_ERR_NULL_PTR);
    EXPECT_EQ(Vantoro_graph_failed(graph.get()), 1);
    EXPECT_STREQ(Vantoro_graph_blamed(graph.get()), "gain");
    for (int ch = 0; ch < 2; ++ch)
        EXPECT_EQ(rig::rms({Vantoro_graph_output(graph.get(), ch), 64}), 0.0);
    block->pParam = own;
    EXPECT_NE(run(graph.get(), noise(64)), std::vector<float>(64));
    EXPECT_EQ(Vantoro_graph_failed(graph.get()), -1);
}

TEST(Graph, AnyAllocationMayFail)
{
    const Words preset = graph_test::preset_of(chain());
    long calls = 0;
    for (bool failed = true; failed; ++calls) {
        const long before = rig::Allocator::calls();
        rig::Allocator::fail_at(calls);
        const Graph graph = make(preset);
        rig::Allocator::fail_never();
        failed = !graph;
        EXPECT_EQ(failed, rig::Allocator::calls() - before > calls);
    }
    EXPECT_GT(calls, 30);
    const Graph graph = make(preset);
    VantoroGraphSpan span;
    for (calls = 0; calls < 3; ++calls) {
        rig::Allocator::fail_at(calls);
        EXPECT_EQ(Vantoro_graph_meters(graph.get(), nullptr, 0, &span), 0);
    }
    rig::Allocator::fail_never();
    Vantoro_graph_process(graph.get());
    EXPECT_EQ(rig::bits({Vantoro_graph_output(graph.get(), 0), 64}), rig::bits(std::vector<float>(64)));
}

// Blocks that fill no lanes, and such that fill their lines of memory.
TEST(Meters, PeakAndMeanSquareOfEverySignal)
{
    const std::vector<float> in = noise(480);
    for (const int size : {20, 48}) {
        PresetRows rows = chain();
        rows.block = static_cast<std::uint32_t>(size);
        const Graph graph = make(graph_test::preset_of(rows));
        VantoroGraphSpan span;
        VantoroGraphMeter meters[6];
        EXPECT_EQ(Vantoro_graph_meters(graph.get(), meters, 6, &span), 0);
        EXPECT_EQ(Vantoro_graph_signal_number(graph.get(), VANTORO_GRAPH_INPUT, 1), 0);
        EXPECT_EQ(Vantoro_graph_signal_number(graph.get(), VANTORO_GRAPH_OUTPUT, 2), 0);
        EXPECT_EQ(Vantoro_graph_signal_number(graph.get(), VANTORO_GRAPH_OUTPUT, 1), 5);
        std::vector<float> heard[6];
        for (int block = 0; block < 10; ++block) {
            (void)run(graph.get(), {in.begin() + size * block, in.begin() + size * block + size});
            const float* signals[] = {Vantoro_graph_input(graph.get(), 0), Vantoro_graph_signal(graph.get(), 0, 0),
                                      Vantoro_graph_signal(graph.get(), 1, 0), Vantoro_graph_output(graph.get(), 0),
                                      Vantoro_graph_output(graph.get(), 1)};
            for (std::size_t s = 1; s < 6; ++s)
                heard[s].insert(heard[s].end(), signals[s - 1], signals[s - 1] + size);
        }
        EXPECT_EQ(Vantoro_graph_meters(graph.get(), meters, 6, &span), 0) << "asked for";
        (void)run(graph.get(), std::vector<float>(static_cast<std::size_t>(size), 2.0F));
        ASSERT_EQ(Vantoro_graph_meters(graph.get(), meters, 6, &span), 6);
        EXPECT_EQ(span.blocks, 10);
        for (std::size_t s = 1; s < 6; ++s) {
            float peak = 0;
            double sum = 0;
            for (const float v : heard[s]) {
                peak = std::max(peak, std::fabs(v));
                sum += static_cast<double>(v) * static_cast<double>(v);
            }
            EXPECT_EQ(meters[s].peak, peak) << s;
            EXPECT_NEAR(meters[s].mean_square, sum / (10 * size), 1e-6 * sum) << s;
        }
    }
}

// One thread posts and swaps while the other runs: nothing is lost, and the audio thread leaves the heap alone.
TEST(Threads, PostAndSwapWhileTheGraphRuns)
{
#if defined(__SANITIZE_THREAD__)
    constexpr int kPosts = 1000000;
#else
    constexpr int kPosts = 100000;
#endif
    constexpr int kSwaps = 50;
    const Graph graph = make(graph_test::preset_of(chain()));
    std::atomic<bool> done{false};
    std::thread control([&] {
        std::vector<float> vector = filter(100);
        for (int i = 0; i < kPosts; ++i) {
            vector[4] = static_cast<float>(100 + i);
            while (Vantoro_graph_post(graph.get(), 0, vector.data(), 6) == RT_ERR_NO_BUFFER)
                std::this_thread::yield();
            if (i % (kPosts / kSwaps) == 0)
                Vantoro_graph_swap(graph.get(), make(graph_test::preset_of(chain())).release(), 1);
        }
        done = true;
    });
    while (!done)
        Vantoro_graph_process(graph.get());
    control.join();
    for (int i = 0; i < 100; ++i)  // the last fade
        Vantoro_graph_process(graph.get());
    EXPECT_EQ(Vantoro_graph_block(graph.get(), 0)->pParam[4], static_cast<float>(100 + kPosts - 1));
}

TEST(Threads, TheAudioThreadDoesNotTouchTheHeap)
{
    const Graph graph = make(graph_test::preset_of(chain()));
    const std::vector<float> vector = filter(300);
    VantoroGraph* next = make(graph_test::preset_of(chain(900))).release();
    Vantoro_graph_process(graph.get());
    Vantoro_graph_post(graph.get(), 0, vector.data(), 6);
    Vantoro_graph_swap(graph.get(), next, 2);
    Vantoro_graph_post(graph.get(), 0, vector.data(), 6);
    const long before = rig::Allocator::touched();
    for (int i = 0; i < 10; ++i)
        Vantoro_graph_process(graph.get());
    EXPECT_EQ(rig::Allocator::touched(), before);
}

}  // namespace
