// SPDX-License-Identifier: Apache-2.0
// The catalog: vectors from named values and back, what it reports and warns of, and how it shows a type.
#include "catalog/catalog.h"

#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <utility>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using namespace vantoro;
using nlohmann::json;

const BlockType& type_of(int code)
{
    const BlockType* type = find_type(code);
    EXPECT_NE(type, nullptr) << code;
    return *type;
}

std::vector<float> build(int code, PinCounts pins, const json& params)
{
    std::vector<Problem> found;
    std::vector<float> vector = build_vector(type_of(code), pins, params, found);
    for (const Problem& p : found)
        ADD_FAILURE() << text_of(p);
    return vector;
}

// What is said of these parameters: "/q: 20: is limited to 16", warnings after a question mark.
std::vector<std::string> said(int code, PinCounts pins, const json& params, std::optional<int> rate = {})
{
    std::vector<Problem> found;
    build_vector(type_of(code), pins, params, found, rate);
    std::vector<std::string> lines;
    for (const Problem& p : found)
        lines.push_back((p.warning ? "? " : "") + text_of(p));
    return lines;
}
using Lines = std::vector<std::string>;

// ---- vectors ----

TEST(Vector, FollowsEachKindOfLayout)
{
    using V = std::vector<float>;
    EXPECT_EQ(build(EN_FILTER_2ND_GENERAL, {1, 1}, {{"type", "gen_peaking"}, {"fc", 500}, {"polarity", true}}),
              (V{1, 1, 8, 0, 500, 1.41F, 3}));
    // Rows one after the other, after their count.
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

TEST(Vector, TakesUnitsOfTheSameKind)
{
    const struct {
        int code;
        json params, plain;
    } cases[] = {
        {EN_FILTER_2ND_COMMON, {{"fc", "1.2 kHz"}, {"gainDb", "-6dB"}}, {{"fc", 1200}, {"gainDb", -6}}},
        {EN_SOURCE_SWEEP, {{"sweepTime", "500 ms"}, {"repeatTime", "2 S"}}, {{"sweepTime", 0.5}, {"repeatTime", 2}}},
        {EN_BASIC_DSP_DELAY,
         {{"type", "Milliseconds"}, {"maxDelay", "1 s"}, {"delay", "5 us"}},
         {{"type", 1}, {"maxDelay", 1000}, {"delay", 0.005}}},
        {EN_FILTER_TEXTEQ, {{"bands", {{{"fc", "1e2hz"}}}}}, {{"bands", {{{"fc", 100}}}}}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(build(c.code, {1, 1}, c.params), build(c.code, {1, 1}, c.plain)) << c.params;
}

TEST(Vector, ReadsBackAsTheValuesItWasBuiltFrom)
{
    for (const BlockType* type : every_type()) {
        const PinCounts pins = pins_fit(*type, {3, 3}) ? PinCounts{3, 3} : initial_pins(*type);
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

// ---- problems ----

TEST(Errors, EachSaysWhereWhatAndWhatWouldBeRight)
{
    struct Case {
        int code;
        PinCounts pins;
        json params;
        std::string begin, end;
    };
    const Case cases[] = {
        {EN_FILTER_2ND_COMMON, {1, 1}, {{"gainDB", 3}}, "/gainDB: 3: ", "did you mean gainDb?"},
        {EN_FILTER_2ND_COMMON, {1, 1}, {{"type", "Peeking"}}, "/type: \"Peeking\": ", "did you mean Peaking?"},
        {EN_FILTER_2ND_COMMON, {1, 1}, {{"type", 9}}, "/type: 9: one of GeneralLP,", "ChebyshevHP"},
        {EN_FILTER_2ND_COMMON, {1, 1}, {{"type", 0.5}}, "/type: 0.5: one of GeneralLP,", "ChebyshevHP"},
        {EN_FILTER_2ND_COMMON, {1, 1}, {{"fc", "1k"}}, "/fc: \"1k\": ", "a number above 0, in Hz or kHz"},
        {EN_FILTER_2ND_COMMON, {1, 1}, {{"fc", "1 ms"}}, "/fc: \"1 ms\": ", ", in Hz or kHz"},
        {EN_FILTER_2ND_COMMON, {1, 1}, {{"fc", "-1 kHz"}}, "? warning: /fc: \"-1 kHz\": ", "range: fc above 0"},
        {EN_BASIC_GAIN, {1, 1}, {{"type", "Linear"}, {"gain", "6 dB"}}, "/gain: \"6 dB\": ", ", without a unit"},
        {EN_BASIC_DSP_DELAY, {1, 1}, {{"type", "Samples"}, {"delay", "1 ms"}}, "/delay: ", "in samples or sample"},
        {EN_FILTER_2ND_COMMON, {1, 1}, {{"q", true}}, "/q: true: ", "a number from 0.01 to 16"},
        {EN_FILTER_2ND_COMMON, {1, 1}, {{"fc", 1e39}}, "/fc: 1e+39: ", "single precision, to 3.4e38"},
        {EN_FILTER_2ND_COMMON, {1, 1}, {{"enable", 2}}, "/enable: 2: ", "0 or 1"},
        {EN_FILTER_2ND_COMMON, {1, 1}, json::array(), "[]: ", "an object of named values"},
        {EN_BASIC_LOGIC_BUFFER_GATE, {1, 1}, {{"bit", 1.5}}, "/bit: 1.5: ", "a whole number from 0 to 31"},
        {EN_BASIC_ARITH_ABS, {1, 1}, {{"gain", 1}}, "/gain: 1: ", "it has none"},
        {EN_FILTER_TEXTEQ, {1, 1}, {{"bands", {json::object(), {{"qq", 1}}}}}, "/bands/1/qq: 1: ", "did you mean q?"},
        {EN_FILTER_TEXTEQ, {1, 1}, {{"bands", {7}}}, "/bands/0: 7: ", "an array of 7"},
        {EN_FILTER_TEXTEQ, {1, 1}, {{"bands", 7}}, "/bands: 7: ", "an array"},
        {EN_FILTER_FIR, {1, 1}, {{"taps", json::array()}}, "/taps: 0 rows: ", "1 to 65536 rows"},
        {EN_DP_COMPRESSOR_RMS, {1, 1}, {{"curve", {{-60, 1, 2}, {0, 0}}}}, "/curve/0: [-60,1,2]: ", "2 numbers"},
        {EN_MIXERS_MULTI, {3, 1}, {{"gains", {0, 0}}}, "/gains: 2 rows: ", "3 rows"},
        {EN_MIXERS_CROSS, {2, 2}, {{"gains", {{1, 2}, {3}}}}, "/gains/1: [3]: ", "2 numbers"},
        {EN_MUXES_DEMUXES_SWITCH, {2, 6}, {{"index", 3}}, "/index: 3: ", "from 0 to 2"},
        {EN_MUXES_DEMUXES_SWITCH, {2, 6}, {{"index", 1e300}}, "/index: 1e+300: ", "from 0 to 2"},
        {EN_DETECTORS_LOOKUP_2D, {2, 1}, {{"rows", 0}}, "/rows: 0: ", "a whole number from 1 to 256"},
    };
    for (const Case& c : cases) {
        const Lines lines = said(c.code, c.pins, c.params);
        ASSERT_EQ(lines.size(), 1U) << c.code << " " << c.params;
        EXPECT_TRUE(lines[0].starts_with(c.begin) && lines[0].ends_with(c.end)) << lines[0];
    }
    EXPECT_EQ(said(EN_FILTER_2ND_COMMON, {1, 1}, {{"q", "x"}, {"gainDb", "y"}, {"colour", "red"}}).size(), 3U);
}

// The block takes these numbers, but does not do what they say.
TEST(Warnings, EachSaysWhatTheNumberDoesInstead)
{
    struct Case {
        int code;
        PinCounts pins;
        json params;
        std::string line;
    };
    const Case cases[] = {
        {EN_FILTER_2ND_COMMON, {1, 1}, {{"q", 17}}, "/q: 17: is limited to 16: q 0.01 to 16"},
        {EN_FILTER_2ND_GENERAL,
         {1, 1},
         {{"type", "Gen_LS"}, {"q", 3}},
         "/q: 3: is limited to 2: slope 0.01 to 2 for Gen_LS"},
        {EN_FILTER_2ND_GENERAL,
         {1, 1},
         {{"type", "Gen_Peaking"}, {"boostDb", 6}},
         "/boostDb: 6: is not read by Gen_Peaking"},
        {EN_FILTER_TEXTEQ, {1, 1}, {{"bands", {{{"q", 0}}}}}, "/bands/0/q: 0: is limited to 0.01: q 0.01 to 16"},
        {EN_FILTER_TEXTEQ,
         {1, 1},
         {{"bands", {{1, 0, 0, 60, 100, 1, 0}}}},
         "/bands/0/3: 60: is limited to 50: boostDb -50 to 50"},
        {EN_FILTER_NONBARE, {1, 1}, {{"k", 1}}, "/k: 1: is never read by FILTER_NONBARE"},
        {EN_FILTER_1ST, {1, 1}, {{"fc", 0}}, "/fc: 0: is out of range: fc above 0"},
        {EN_FILTER_2ND_IIR, {1, 1}, {{"a2", -1.5}}, "/a2: -1.5: is out of range: a2 -1 to 1"},
        {EN_DP_LIMITER, {1, 1}, {{"thresholdDb", 61}}, "/thresholdDb: 61: is out of range: thresholdDb up to 60"},
        {EN_BASIC_DSP_DELAY,
         {1, 1},
         {{"maxDelay", 9}, {"delay", 2.5}},
         "/delay: 2.5: is truncated to 2: whole numbers for Samples"},
        {EN_QVALGO_REVERB, {2, 2}, {}, "/enable: left out: QVALGO_REVERB is silent unless it is 1"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(said(c.code, c.pins, c.params), Lines{"? warning: " + c.line});
    // What is meant to be so.
    EXPECT_EQ(said(EN_QVALGO_REVERB, {2, 2}, {{"enable", false}}), Lines{});
    EXPECT_EQ(said(EN_FILTER_TEXTEQ, {1, 1}, {{"bands", {{1, 0, "Text_Peaking", 6, 100, 1, 0}}}}), Lines{});
}

TEST(Warnings, ComeWithTheRateForFrequencies)
{
    const json params{{"fc", 24000}};
    EXPECT_EQ(said(EN_FILTER_1ST, {1, 1}, params), Lines{});
    EXPECT_EQ(said(EN_FILTER_1ST, {1, 1}, params, 48000),
              Lines{"? warning: /fc: 24000: is out of range: fc below 24000, half the sampling rate"});
    EXPECT_EQ(said(EN_FILTER_1ST, {1, 1}, params, 96000), Lines{});
    EXPECT_EQ(said(EN_FILTER_GRAPHICAL_EQ, {1, 1}, {{"bands", {json::object(), {{"fc", 9000}}}}}, 16000),
              Lines{"? warning: /bands/1/fc: 9000: is out of range: fc below 8000, half the sampling rate"});
    EXPECT_EQ(said(EN_FILTER_2ND_TONE, {1, 1}, {}, 16000).size(), 1U);  // a default that does not suit the rate
}

TEST(Warnings, KnowTheOtherValues)
{
    const json most{{"maxDelay", 500}, {"delay", 900}};
    EXPECT_EQ(said(EN_BASIC_DSP_DELAY, {1, 1}, most, 48000),
              Lines{"? warning: /delay: 900: is limited to 500, which is maxDelay"});
    json in_ms{{"type", "Milliseconds"}, {"maxDelay", 5}, {"delay", 0.45}};
    EXPECT_EQ(said(EN_BASIC_DSP_DELAY, {1, 1}, in_ms, 48000),
              Lines{"? warning: /delay: 0.45: is truncated to whole samples: 21 at 48000 Hz, 0.4375 ms"});
    in_ms["delay"] = 1;  // 44.1 samples: near enough
    EXPECT_EQ(said(EN_BASIC_DSP_DELAY, {1, 1}, in_ms, 44100), Lines{});
    EXPECT_EQ(said(EN_DP_COMPRESSOR_RMS, {1, 1}, {{"curve", {{-20, -20}, {-60, -60}, {0, -10}}}}, 48000),
              Lines{"? warning: /curve/1/in: -60: is below -20 in the row before; in ascends"});
    EXPECT_EQ(said(EN_VC_GAINENVELOPE, {2, 1}, {{"points", {{500, 0}, {100, -20}}}}, 48000),
              Lines{"? warning: /points/1/time: 100: is below 500 in the row before; time ascends"});
}

TEST(Warnings, SayWhatWouldBeStable)
{
    const json high{{"fc", 9000}, {"q", 0.5}};
    const std::string grows = "makes the output grow without end";
    const std::string fc = "warning: /fc: 9000: " + grows + ": stable up to 6525 Hz with the other values";
    EXPECT_EQ(said(EN_FILTER_MISCE_STATEVARIABLE, {1, 3}, high, 48000), Lines{"? " + fc});
    EXPECT_EQ(said(EN_FILTER_MISCE_STATEVARIABLE, {1, 3}, high, 96000), Lines{});
    EXPECT_EQ(said(EN_FILTER_2ND_IIR, {1, 1}, {{"a1", -1.9}, {"a2", 0.5}}, 48000),
              Lines{"? warning: /a1: -1.9: " + grows + ": stable from -1.5 with the other values"});
    EXPECT_EQ(said(EN_FILTER_2ND_IIR, {1, 1}, {{"a1", -1.9}, {"a2", 0.5}, {"enable", 0}}, 48000), Lines{});
    EXPECT_EQ(said(EN_FILTER_2ND_IIR, {1, 1}, {{"a1", 2}, {"a2", -0.9}}, 48000).size(), 1U);
    // A value that makes another one wrong.
    std::vector<Problem> problems;
    json params{{"fc", 9000}, {"q", 4}};
    EXPECT_TRUE(set_value(type_of(EN_FILTER_MISCE_STATEVARIABLE), {1, 3}, params, "q", "0.5", problems, Pace(48000)));
    ASSERT_EQ(problems.size(), 1U);
    EXPECT_EQ(text_of(problems[0]), fc);
}

TEST(SetValue, ReachesEveryValueAndLeavesTheRestAlone)
{
    std::vector<Problem> problems;
    json params = {{"bands", {{{"fc", 60}}, {{"fc", 100}}}}};
    const BlockType& eq = type_of(EN_FILTER_GRAPHICAL_EQ);
    EXPECT_TRUE(set_value(eq, {1, 1}, params, "bands[1].boostDb", "-4.5", problems));
    EXPECT_TRUE(set_value(eq, {1, 1}, params, "bands[0].type", "GraphicalEQ_HS", problems));
    EXPECT_EQ(build(eq.type, {1, 1}, params), (std::vector<float>{2, 60, 5, 1.41F, 2, 0, 100, -4.5F, 1.41F, 0, 0}));

    json mix;  // from the defaults
    const BlockType& cross = type_of(EN_MIXERS_CROSS);
    EXPECT_TRUE(set_value(cross, {2, 2}, mix, "gains[1][0]", "-3", problems));
    EXPECT_EQ(build(cross.type, {2, 2}, mix), (std::vector<float>{0, 0, -3, 0}));
    EXPECT_TRUE(set_value(cross, {2, 2}, mix, "gains", "[1, 2, 3, 4]", problems));
    EXPECT_EQ(build(cross.type, {2, 2}, mix), (std::vector<float>{1, 2, 3, 4}));
    EXPECT_TRUE(problems.empty());

    const json before = params;
    for (const auto& [path, wanted] : std::map<std::string, std::string>{{"bands[2].fc", "an index from 0 to 1"},
                                                                         {"bands[0].boost", "did you mean boostDb?"},
                                                                         {"bands[0].type", "one of"},
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

    // It warns of the value that it changes, and of no other.
    problems.clear();
    json unread = {{"bands", {{{"type", "GraphicalEQ_BUTTER_LP"}, {"boostDb", 3}}}}};
    EXPECT_TRUE(set_value(eq, {1, 1}, unread, "bands[0].fc", "30000", problems, 48000));
    ASSERT_EQ(problems.size(), 1U);
    EXPECT_EQ(problems[0].where, "/bands/0/fc");
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
        return complete_pins(type_of(code), in, out).value_or(PinCounts{-1, -1});
    };
    EXPECT_EQ(complete(EN_BASIC_GAIN, {}, {}), (PinCounts{1, 1}));
    EXPECT_EQ(complete(EN_BASIC_GAIN, 6, {}), (PinCounts{6, 6}));
    EXPECT_EQ(complete(EN_FILTER_CROSSOVER_3WAY, {}, 6), (PinCounts{2, 6}));
    EXPECT_EQ(complete(EN_MUXES_CROSSFADE, {}, 2), (PinCounts{5, 2}));
    EXPECT_EQ(complete(EN_SPLIT_MULTI, 1, {}), (PinCounts{1, 2}));
    EXPECT_EQ(complete(EN_BASIC_GAIN, 2, 1), (PinCounts{-1, -1}));
    EXPECT_EQ(complete(EN_FILTER_CROSSOVER_2WAY, {}, 3), (PinCounts{-1, -1}));

    const BlockType& taps = type_of(EN_BASIC_DSP_VOL_DELAY);
    EXPECT_EQ(note_of(taps, PinSide::input, 1, {3, 2})->name, std::string_view("tap"));
    EXPECT_EQ(note_of(taps, PinSide::input, 2, {3, 2})->name, std::string_view("signal"));
    const BlockType& crossover = type_of(EN_FILTER_CROSSOVER_3WAY);
    EXPECT_EQ(note_of(crossover, PinSide::output, 4, {2, 6})->name, std::string_view("high"));
}

// ---- as text ----

TEST(Sheets, NameEveryParameterAndKeepToTheWidth)
{
    std::istringstream all(overview());
    const auto check_width = [](std::istream& lines) {
        for (std::string line; std::getline(lines, line);)
            EXPECT_LE(line.size(), 100U) << line;
    };
    check_width(all);
    for (const BlockType* type : every_type()) {
        const std::string text = sheet(*type);
        std::istringstream lines(text);
        check_width(lines);
        const PinCounts pins = initial_pins(*type);
        const json values = named_values(*type, pins, default_vector(*type, pins));
        for (const auto& [name, value] : values.items())
            EXPECT_NE(text.find("\n  " + name), std::string::npos) << type->name << " " << name;
    }
    const std::string general = sheet(type_of(EN_FILTER_2ND_GENERAL));
    for (const char* part : {"1 Gen_LS ", "reads q as slope, boostDb\n", "reads neither\n", "\n    slope "})
        EXPECT_NE(general.find(part), std::string::npos) << general;
}

// What the schema allows is taken without a word; a step beyond it is warned of.
TEST(Schema, HasTheBoundsOfTheWarnings)
{
    const auto schema = params_schema(type_of(EN_FILTER_2ND_GENERAL));
    int bounds = 0;
    for (const auto& condition : schema["allOf"]) {
        const auto& q = condition["then"]["properties"]["q"];
        for (const auto& choice : condition["if"]["properties"]["type"]["enum"]) {
            json params{{"type", choice}, {"q", 1}};
            if (q == false) {
                EXPECT_EQ(said(EN_FILTER_2ND_GENERAL, {1, 1}, params).size(), 1U) << params;
                continue;
            }
            for (const auto& [bound, step] : {std::pair("minimum", 0.99), std::pair("maximum", 1.01)}) {
                params["q"] = q[bound];
                EXPECT_EQ(said(EN_FILTER_2ND_GENERAL, {1, 1}, params), Lines{});
                params["q"] = q[bound].get<double>() * step;
                EXPECT_EQ(said(EN_FILTER_2ND_GENERAL, {1, 1}, params).size(), 1U) << params;
                ++bounds;
            }
        }
    }
    const auto& number = schema["properties"]["type"]["anyOf"][1];
    EXPECT_EQ(number["minimum"], 0);
    EXPECT_EQ(number["maximum"], 15);
    EXPECT_EQ(bounds, 12 * 2 * 2);  // by name and by number, all but Bessel's and Butterworth's
}

}  // namespace
