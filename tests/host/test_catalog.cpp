// SPDX-License-Identifier: Apache-2.0
// The catalog against the library that it describes, and the vectors it builds.
#include "catalog/catalog.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <set>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/rig.h"

namespace {

using namespace vantoro;
using nlohmann::json;

std::vector<const BlockType*> every_type()
{
    std::vector<const BlockType*> types;
    for (const Category& category : categories())
        for (const BlockType& type : category.types)
            types.push_back(&type);
    return types;
}

const BlockType& type_of(int code)
{
    const BlockType* type = find_type(code);
    EXPECT_NE(type, nullptr) << code;
    return *type;
}

bool is_terminal(int code) { return (code & 0xff00) == EN_IN || (code & 0xff00) == EN_OUT; }

BlockPro context{48000, 16, 64, 0, 0};

struct Destroy {
    void operator()(BlockAlgo* block) const { BlockAlgo_destroy(block); }
};
using Block = std::unique_ptr<BlockAlgo, Destroy>;

Block make(int code, Pins pins) { return Block(BlockAlgo_init(&context, pins.inputs, pins.outputs, code)); }

// How much of its vector a block keeps in pParam: the polynomial its count, the breakpoint tone no table; one-shots
// keep a power of two in its place.
std::size_t kept(int code, std::size_t size)
{
    if (code >= EN_BASIC_LOGIC_ONESHOT_FALL && code <= EN_BASIC_LOGIC_ONESHOT_RISERST)
        return 0;
    if (code == EN_SOURCE_CLIME)
        return kClimeModuleSize;
    return code == EN_BASIC_POLY ? 1 : size;
}

std::vector<float> build(int code, Pins pins, const json& params, std::vector<Problem>* problems = nullptr)
{
    std::vector<Problem> found;
    std::vector<float> vector = build_vector(type_of(code), pins, params, found);
    if (problems)
        *problems = found;
    else
        for (const Problem& p : found)
            ADD_FAILURE() << p.where << ": " << p.value << ": " << p.wanted;
    return vector;
}

// ---- the catalog is what the library serves ----

TEST(Catalog, OffersExactlyTheTypesAndPinsThatTheLibraryServes)
{
    rig::Log quiet;
    for (int code = 0; code <= 0x0FFF; ++code)
        for (int inputs = 0; inputs < 8; ++inputs)
            for (int outputs = 0; outputs < 8; ++outputs) {
                const BlockType* type = find_type(code);
                const bool served = type ? type->pins.fits({inputs, outputs}) : is_terminal(code);  // any code there
                if (served || (!type && inputs < 4 && outputs < 4)) {
                    EXPECT_EQ(static_cast<bool>(make(code, {inputs, outputs})), served)
                        << code << ": " << inputs << " -> " << outputs;
                }
            }
}

TEST(Catalog, DefaultsAreThoseOfAFreshBlockAndAreTakenUnchanged)
{
    rig::Log log;
    for (const BlockType* type : every_type()) {
        const Pins more = type->pins.fits({4, 4}) ? Pins{4, 4} : type->pins.usual;
        for (const Pins pins : {type->pins.usual, more}) {
            const std::vector<float> vector = default_vector(*type, pins);
            const Block block = make(type->code, pins);
            ASSERT_TRUE(block) << type->name;
            if (vector.empty())
                continue;
            ASSERT_TRUE(block->pParam) << type->name;
            const std::span<const float> own(block->pParam, kept(type->code, vector.size()));
            EXPECT_TRUE(std::ranges::equal(own, std::span(vector).first(own.size()))) << type->name;
            log.clear();
            EXPECT_EQ(apply_vector(*type, *block, vector), 0) << type->name;
            EXPECT_EQ(log.all(), "") << type->name;                       // nothing was out of range
            const std::span<const float> set(block->pParam, own.size());  // the array may have moved
            EXPECT_TRUE(std::ranges::equal(set, std::span(vector).first(set.size()))) << type->name;
        }
    }
}

// A value far outside comes back limited to the catalog's range, and unchanged where the catalog says any value.
TEST(Catalog, RangesAreTheLibrarysClamps)
{
    // The reverb limits nothing, but is unstable beyond; a delay is limited by maxDelay.
    const std::set<std::pair<int, std::string_view>> ours{
        {EN_QVALGO_REVERB, "roomSize"}, {EN_QVALGO_REVERB, "damp"}, {EN_BASIC_DSP_DELAY, "delay"}};
    rig::Log quiet;
    int checked = 0;
    for (const BlockType* type : every_type()) {
        const std::vector<float> usual = default_vector(*type, type->pins.usual);
        for (std::size_t i = 0; i < type->layout.size() && type->layout[i].kind == Slot::Kind::value; ++i) {
            const Param& param = type->layout[i].param;
            if (param.kind != Param::Kind::real || ours.contains({type->code, param.name}))
                continue;
            for (const float far : {1e6F, -1e6F}) {
                const Block block = make(type->code, type->pins.usual);
                std::vector<float> vector = usual;
                vector[i] = far;
                if (!block || apply_vector(*type, *block, vector) < 0)
                    continue;
                EXPECT_EQ(block->pParam[i], std::clamp(far, param.min, param.max)) << type->name << " " << param.name;
                ++checked;
            }
        }
    }
    EXPECT_GT(checked, 200);
}

TEST(Catalog, EveryChoiceIsServedWithoutAReport)
{
    rig::Log log;
    for (const BlockType* type : every_type())
        for (std::size_t i = 0; i < type->layout.size(); ++i)
            for (const Choice& choice : type->layout[i].param.choices) {
                std::vector<float> vector = default_vector(*type, type->pins.usual);
                vector[i] = static_cast<float>(choice.value);
                const Block block = make(type->code, type->pins.usual);
                log.clear();
                if (block)
                    apply_vector(*type, *block, vector);
                EXPECT_EQ(log.all(), "") << type->name << " " << choice.name;
            }
}

// ---- vectors ----

TEST(Vector, FollowsEachKindOfLayout)
{
    using V = std::vector<float>;
    EXPECT_EQ(build(EN_FILTER_2ND_GENERAL, {1, 1}, {{"type", "gen_peaking"}, {"fc", 500}, {"polarity", true}}),
              (V{1, 1, 8, 0, 500, 1.41F, 3}));
    // Rows one after the other, behind their count.
    EXPECT_EQ(build(EN_FILTER_GRAPHICAL_EQ, {1, 1}, {{"bands", {{{"fc", 60}}, {80, -3, 2, "GraphicalEQ_LS", 1}}}}),
              (V{2, 60, 5, 1.41F, 0, 0, 80, -3, 2, 1, 1}));
    // Columns one after the other.
    EXPECT_EQ(build(EN_DP_COMPRESSOR_PEAK, {1, 1}, {{"curve", {{-60, -50}, {{"out", -9}, {"in", -20}}}}}),
              (V{200, 0, 200, 0, 0, 2, -60, -20, -50, -9}));
    EXPECT_EQ(build(EN_VC_GAINENVELOPE, {2, 1}, {{"points", {{0, -6}, {10, 0}, {20, -12}}}}),
              (V{0, 3, 0, 10, 20, -6, 0, -12}));
    // Columns found by index.
    EXPECT_EQ(build(EN_SOURCE_CLIME, {0, 1}, {{"points", {{0, 100, -6}, {50, 200, 0}}}}),
              (V{2, 1004, 6, 8, 10, 1, 0, 50, 100, 200, -6, 0}));
    // Lengths from pins; a matrix, row by row or flat.
    EXPECT_EQ(build(EN_MIXERS_CROSS_SLEW, {2, 3}, {{"gains", {{1, 2, 3}, {4, 5, 6}}}}), (V{15, 1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(build(EN_MIXERS_CROSS, {2, 2}, {{"gains", {1, 2, 3, 4}}}), (V{1, 2, 3, 4}));
    EXPECT_EQ(build(EN_MIXERS_STEREO, {6, 2}, {}), (V{0, 0, 0}));
    EXPECT_EQ(build(EN_VC_MULTI_CONTROL_SLEW, {2, 2}, {{"volumes", {-3, -6}}}), (V{12, -3, -6}));
    // Length from two parameters.
    EXPECT_EQ(build(EN_DETECTORS_LOOKUP_2D, {2, 1}, {{"columns", 2}, {"rows", 1}, {"table", {{-6, 6}}}}),
              (V{0, 2, 1, -6, 6}));
}

TEST(Vector, ReadsBackAsTheValuesItWasBuiltFrom)
{
    for (const BlockType* type : every_type()) {
        const Pins pins = type->pins.fits({3, 3}) ? Pins{3, 3} : type->pins.usual;
        // Every number different, so that no two can change places unnoticed.
        json values = named_values(*type, pins, default_vector(*type, pins)).flatten();
        double next = 1.5;
        for (auto& [where, value] : values.items())
            if (value.is_number_float())
                value = next += 0.25;
        if (!values.empty() && !values.is_null())
            values = values.unflatten();
        std::vector<Problem> problems;
        const std::vector<float> vector = build_vector(*type, pins, values, problems);
        if (problems.empty()) {  // some of the numbers are out of a range
            EXPECT_EQ(named_values(*type, pins, vector), values.is_null() ? json::object() : values) << type->name;
        }
        EXPECT_EQ(build_vector(*type, pins, named_values(*type, pins, vector), problems), vector) << type->name;
    }
}

// ---- faults ----

TEST(Faults, EachSaysWhereWhatAndWhatWouldBeRight)
{
    struct Case {
        int code;
        Pins pins;
        json params;
        std::string where, value, wanted;
    };
    const Case cases[] = {
        {EN_FILTER_2ND_COMMON, {1, 1}, {{"gainDB", 3}}, "/gainDB", "3", "did you mean gainDb?"},
        {EN_FILTER_2ND_COMMON, {1, 1}, {{"type", "Peeking"}}, "/type", "\"Peeking\"", "did you mean Peaking?"},
        {EN_FILTER_2ND_COMMON, {1, 1}, {{"type", 9}}, "/type", "9", "one of GeneralLP,"},
        {EN_FILTER_2ND_COMMON, {1, 1}, {{"type", 0.5}}, "/type", "0.5", "one of GeneralLP,"},
        {EN_FILTER_2ND_COMMON, {1, 1}, {{"q", 17}}, "/q", "17", "a number from 0.01 to 16"},
        {EN_FILTER_2ND_COMMON, {1, 1}, {{"fc", "1k"}}, "/fc", "\"1k\"", "any number"},
        {EN_FILTER_2ND_COMMON, {1, 1}, {{"fc", 1e39}}, "/fc", "1e+39", "single precision"},
        {EN_FILTER_2ND_COMMON, {1, 1}, {{"enable", 2}}, "/enable", "2", "0 or 1"},
        {EN_FILTER_2ND_COMMON, {1, 1}, json::array(), "", "[]", "an object"},
        {EN_BASIC_LOGIC_BUFFER_GATE, {1, 1}, {{"bit", 1.5}}, "/bit", "1.5", "a whole number from 0 to 31"},
        {EN_BASIC_ARITH_ABS, {1, 1}, {{"gain", 1}}, "/gain", "1", "it has none"},
        {EN_FILTER_TEXTEQ, {1, 1}, {{"bands", {json::object(), {{"qq", 1}}}}}, "/bands/1/qq", "1", "did you mean q?"},
        {EN_FILTER_TEXTEQ, {1, 1}, {{"bands", {{{"q", 0}}}}}, "/bands/0/q", "0", "a number from 0.01 to 16"},
        {EN_FILTER_TEXTEQ, {1, 1}, {{"bands", {7}}}, "/bands/0", "7", "an array of 7"},
        {EN_FILTER_TEXTEQ, {1, 1}, {{"bands", 7}}, "/bands", "7", "an array"},
        {EN_FILTER_FIR, {1, 1}, {{"taps", json::array()}}, "/taps", "0 rows", "1 to 65536 rows"},
        {EN_DP_COMPRESSOR_RMS, {1, 1}, {{"curve", {{-60, 1, 2}}}}, "/curve/0", "[-60,1,2]", "2 numbers"},
        {EN_MIXERS_MULTI, {3, 1}, {{"gains", {0, 0}}}, "/gains", "2 rows", "3 rows"},
        {EN_MIXERS_CROSS, {2, 2}, {{"gains", {{1, 2}, {3}}}}, "/gains/1", "[3]", "2 numbers"},
        {EN_MUXES_DEMUXES_SWITCH, {2, 6}, {{"index", 3}}, "/index", "3", "0 to 2"},
    };
    for (const Case& c : cases) {
        std::vector<Problem> problems;
        build(c.code, c.pins, c.params, &problems);
        ASSERT_EQ(problems.size(), 1U) << c.code << " " << c.params;
        EXPECT_EQ(problems[0].where, c.where) << c.params;
        EXPECT_EQ(problems[0].value, c.value) << c.params;
        EXPECT_NE(problems[0].wanted.find(c.wanted), std::string::npos) << problems[0].wanted;
    }
    std::vector<Problem> all;
    build(EN_FILTER_2ND_COMMON, {1, 1}, {{"q", 0}, {"gainDb", 99}, {"colour", "red"}}, &all);
    EXPECT_EQ(all.size(), 3U);  // not only the first
}

TEST(SetValue, ReachesEveryValueAndLeavesTheRestAlone)
{
    std::vector<Problem> problems;
    json params = {{"bands", {{{"fc", 60}}, {{"fc", 100}}}}};
    const BlockType& eq = type_of(EN_FILTER_GRAPHICAL_EQ);
    EXPECT_TRUE(set_value(eq, {1, 1}, params, "bands[1].boostDb", "-4.5", problems));
    EXPECT_TRUE(set_value(eq, {1, 1}, params, "bands[0].type", "GraphicalEQ_HS", problems));
    EXPECT_EQ(build(eq.code, {1, 1}, params), (std::vector<float>{2, 60, 5, 1.41F, 2, 0, 100, -4.5F, 1.41F, 0, 0}));

    json mix;  // from the defaults
    const BlockType& cross = type_of(EN_MIXERS_CROSS);
    EXPECT_TRUE(set_value(cross, {2, 2}, mix, "gains[1][0]", "-3", problems));
    EXPECT_EQ(build(cross.code, {2, 2}, mix), (std::vector<float>{0, 0, -3, 0}));
    EXPECT_TRUE(set_value(cross, {2, 2}, mix, "gains", "[1, 2, 3, 4]", problems));
    EXPECT_EQ(build(cross.code, {2, 2}, mix), (std::vector<float>{1, 2, 3, 4}));
    EXPECT_TRUE(problems.empty());

    const json before = params;
    for (const auto& [path, wanted] : std::map<std::string, std::string>{{"bands[2].fc", "an index from 0 to 1"},
                                                                         {"bands[0].boost", "did you mean boostDb?"},
                                                                         {"bands[0].q", "a number from 0.01 to 16"},
                                                                         {"bands[0].q.x", "no parts"},
                                                                         {"bnds", "did you mean bands?"},
                                                                         {"bands[]", "an index"},
                                                                         {"", "no parameter"}}) {
        problems.clear();
        EXPECT_FALSE(set_value(eq, {1, 1}, params, path, "1e3", problems)) << path;
        ASSERT_EQ(problems.size(), 1U) << path;
        EXPECT_NE(problems[0].wanted.find(wanted), std::string::npos) << path << ": " << problems[0].wanted;
    }
    EXPECT_EQ(params, before);
}

// ---- names and pins ----

TEST(Types, AreFoundByNameAndCodeAndByWhatComesNear)
{
    for (const char* name : {"BASIC_GAIN", "EN_BASIC_GAIN", "en_basic_gain", "289", "0x121"})
        EXPECT_EQ(find_type(name), find_type(EN_BASIC_GAIN)) << name;
    for (const char* name : {"", "EN_", "BASIC", "289x", "-1", "99999999999"})
        EXPECT_EQ(find_type(name), nullptr) << name;
    EXPECT_EQ(nearest_types("BASIC_GIN"), (std::vector<std::string>{"BASIC_GAIN", "BASIC_GAIN_SLEW"}));
    EXPECT_EQ(nearest_types("gain").front(), "BASIC_GAIN");  // a word of the name
    EXPECT_EQ(nearest_types("comprssor").front(), "DP_COMPRESSOR_RMS");
    EXPECT_EQ(nearest_types("gian").front(), "BASIC_GAIN");  // exchanged letters
    EXPECT_EQ(nearest_types("peaking"),                      // choices, also in tables
              (std::vector<std::string>{"FILTER_2ND_GENERAL", "FILTER_2ND_COMMON", "FILTER_TEXTEQ"}));
    EXPECT_EQ(nearest_types("volume").front(), "LOUDNESS_LH");                    // before what is spelt alike
    EXPECT_EQ(nearest_types("Butterworth").front(), "FILTER_2ND_BESSEL_BUTTER");  // a summary
    EXPECT_TRUE(nearest_types("xyzzy").empty());
    std::set<std::string_view> names;
    for (const BlockType* type : every_type())
        EXPECT_TRUE(names.insert(type->name).second) << type->name;
}

TEST(Pins, AreCompletedByTheRule)
{
    const auto complete = [](int code, std::optional<int> in, std::optional<int> out) {
        return complete_pins(type_of(code), in, out).value_or(Pins{-1, -1});
    };
    EXPECT_EQ(complete(EN_BASIC_GAIN, {}, {}), (Pins{1, 1}));
    EXPECT_EQ(complete(EN_BASIC_GAIN, 6, {}), (Pins{6, 6}));
    EXPECT_EQ(complete(EN_FILTER_CROSSOVER_3WAY, {}, 6), (Pins{2, 6}));
    EXPECT_EQ(complete(EN_MUXES_CROSSFADE, {}, 2), (Pins{5, 2}));
    EXPECT_EQ(complete(EN_SPLIT_MULTI, 1, {}), (Pins{1, 2}));
    EXPECT_EQ(complete(EN_BASIC_GAIN, 2, 1), (Pins{-1, -1}));
    EXPECT_EQ(complete(EN_FILTER_CROSSOVER_2WAY, {}, 3), (Pins{-1, -1}));

    const BlockType& taps = type_of(EN_BASIC_DSP_VOL_DELAY);
    EXPECT_EQ(note_of(taps, PinNote::Side::input, 1, {3, 2})->name, "tap");
    EXPECT_EQ(note_of(taps, PinNote::Side::input, 2, {3, 2})->name, "signal");
    const BlockType& crossover = type_of(EN_FILTER_CROSSOVER_3WAY);
    EXPECT_EQ(note_of(crossover, PinNote::Side::output, 4, {2, 6})->name, "high");
}

}  // namespace
